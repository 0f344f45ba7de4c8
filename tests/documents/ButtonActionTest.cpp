#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <tuple>
#include <utility>

#include <gtest/gtest.h>

#include "documents/SornView.h"
#include "fakes/FakeDevice.h"
#include "support/Logger.h"

namespace sorn::documents {
namespace {

using Type = ButtonAction::Type;

class ButtonActionTest : public testing::Test {
 protected:
  ButtonActionTest() { setenv("SNSORN_FORCE_LOGGING", "1", 1); }
  ~ButtonActionTest() override { unsetenv("SNSORN_FORCE_LOGGING"); }

  // What an action comes to, and the lines that are logged about it.
  static auto qualify(Type type, const std::optional<std::string>& ios) {
    const auto log = std::make_shared<tests::RecordingLog>();
    support::Logger logger(log);
    const auto qualified = ButtonAction{type, "EVENT", {std::nullopt, ios}}.qualifiedAction(logger);
    logger.flush();
    return std::pair(qualified, log->lines());
  }
  static support::Url url(const char* text) { return support::Url::parse(text).value(); }
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
    const auto [action, lines] = qualify(type, ios);
    EXPECT_TRUE(action == expected) << static_cast<int>(type);
    EXPECT_TRUE(lines.empty());
  }
}

TEST_F(ButtonActionTest, AnArgumentWithoutSenseGivesNoActionAndALine) {
  const std::string noUrl = "Could not extract URL from string: ";
  const std::string noObject = "Could not deserialize JSON from string: ";
  const std::tuple<Type, std::optional<std::string>, std::string> cases[] = {
      {Type::url, std::nullopt, noUrl + "-"},
      {Type::url, "", noUrl},
      {Type::url, "two words", noUrl + "two words"},
      {Type::deeplink, "caf\u00e9://", noUrl + "caf\u00e9://"},
      {Type::custom, std::nullopt, noObject + "-"},
      {Type::custom, "[1]", noObject + "[1]"},
      {Type::custom, "{\"a\":", noObject + "{\"a\":"},
  };
  for (const auto& [type, ios, message] : cases) {
    const auto [action, lines] = qualify(type, ios);
    EXPECT_FALSE(action) << message;
    ASSERT_EQ(lines.size(), 1u) << message;
    EXPECT_TRUE(lines[0].ends_with(message)) << lines[0];
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
