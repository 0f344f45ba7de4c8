#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "documents/SornView.h"
#include "support/Logger.h"

namespace sorn::documents {
namespace {

using Type = ButtonAction::Type;

class Lines : public platform::SystemLog {
 public:
  void write(platform::SystemLogType, std::string_view line) override { lines.emplace_back(line); }
  std::vector<std::string> lines;
};

class ButtonActionTest : public testing::Test {
 protected:
  ButtonActionTest() { setenv("SNSORN_FORCE_LOGGING", "1", 1); }
  ~ButtonActionTest() override { unsetenv("SNSORN_FORCE_LOGGING"); }

  std::optional<ButtonAction::QualifiedAction> qualify(Type type, std::optional<std::string> ios) {
    log_->lines.clear();
    const ButtonAction action{type, "EVENT", {std::nullopt, std::move(ios)}};
    auto qualified = action.qualifiedAction(logger_);
    logger_.flush();
    return qualified;
  }
  static support::Url url(const char* text) { return support::Url::parse(text).value(); }

  std::shared_ptr<Lines> log_ = std::make_shared<Lines>();
  support::Logger logger_{log_};
};

TEST_F(ButtonActionTest, ArgumentsAreUnderstoodByTheKindOfAction) {
  const std::tuple<Type, std::optional<std::string>, ButtonAction::QualifiedAction> cases[] = {
      {Type::url, "https://a.invalid/x?y=1", ButtonAction::OpenUrl{url("https://a.invalid/x?y=1")}},
      {Type::deeplink, "app://x", ButtonAction::OpenDeeplink{url("app://x")}},
      {Type::custom, R"( {"a":[1,true]} )", ButtonAction::Custom{Dictionary{{"a", List{1, true}}}}},
      {Type::no_action, "no address at all", ButtonAction::NoAction{}},
      {Type::app_review, std::nullopt, ButtonAction::AppReview{}},
      {Type::push_prompt, std::nullopt, ButtonAction::PushPrompt{}},
  };
  for (const auto& [type, ios, expected] : cases) {
    EXPECT_TRUE(qualify(type, ios) == expected) << static_cast<int>(type);
    EXPECT_TRUE(log_->lines.empty());
  }
}

TEST_F(ButtonActionTest, AnArgumentWithoutSenseGivesNoActionAndALine) {
  struct Case {
    Type type;
    std::optional<std::string> ios;
    std::string message;
  };
  const std::string noUrl = "Could not extract URL from string: ";
  const std::string noObject = "Could not deserialize JSON from string: ";
  const Case cases[] = {
      {Type::url, std::nullopt, noUrl + "-"},
      {Type::url, "", noUrl},
      {Type::url, "two words", noUrl + "two words"},
      {Type::deeplink, "caf\u00e9://", noUrl + "caf\u00e9://"},
      {Type::custom, std::nullopt, noObject + "-"},
      {Type::custom, "[1]", noObject + "[1]"},
      {Type::custom, "{\"a\":", noObject + "{\"a\":"},
  };
  for (const Case& each : cases) {
    EXPECT_FALSE(qualify(each.type, each.ios)) << each.message;
    ASSERT_EQ(log_->lines.size(), 1u) << each.message;
    EXPECT_TRUE(log_->lines[0].ends_with(each.message)) << log_->lines[0];
  }
}

TEST_F(ButtonActionTest, DescriptionTellsTypeNameAndValue) {
  EXPECT_EQ((ButtonAction{Type::push_prompt, "ASK", {"x", std::nullopt}}).description(),
            "Type: push_prompt\nName: ASK\nValue: n/a");
  EXPECT_EQ((ButtonAction{Type::url, "OPEN", {std::nullopt, "https://a.invalid"}}).description(),
            "Type: url\nName: OPEN\nValue: https://a.invalid");
}

}  // namespace
}  // namespace sorn::documents
