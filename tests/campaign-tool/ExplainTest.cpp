#include <string>
#include <utility>
#include <vector>

#include "campaigns/Samples.h"
#include "fakes/ToolTest.h"

namespace sorn::tool {
namespace {

using campaigns::campaignText;
using campaigns::onAppOpen;
using campaigns::onEvent;

constexpr auto onTrigger = R"("trigger":{"type":"on_in_app_trigger","attributes":[)"
                           R"({"type":"string","key":"tier","operator":"=","value":"gold"}]})";

class Explain : public tests::ToolTest {
 protected:
  Outcome explain(const std::string& options) const { return tool("explain campaigns.json " + options); }
  // The outcomes in the order of the document, joined by blanks.
  std::string outcomes(const std::string& options) const {
    const Outcome explained = explain(options);
    EXPECT_EQ(explained.status, 0) << explained.errors;
    constexpr std::string_view key = R"("outcome":")";
    std::string joined;
    for (std::size_t at = 0; (at = explained.output.find(key, at)) != std::string::npos;) {
      at += key.size();
      joined.append(joined.empty() ? "" : " ");
      joined.append(explained.output, at, explained.output.find('"', at) - at);
    }
    return joined;
  }
  void write(const std::vector<std::string>& list) const {
    folder_.write("campaigns.json", campaigns::listOf(list));
  }
};

TEST_F(Explain, EachOutcomeIsTold) {
  write({campaignText("p", onEvent("e") + R"(,"paused":true)"),
         campaignText("a", onEvent("e") + R"(,"audience":"android")"),
         campaignText("v", onEvent("e") + R"(,"version":{"android":1,"ios":2})"),
         campaignText(R"(t\"1)", onEvent("f")), campaignText("t2", ""), campaignText("late", onEvent("e")),
         campaignText("d", onEvent("e") + R"(,"priority":4,"trigger_metadata":{"last_in_app_delay":11})"),
         campaignText("f", onEvent("e") + R"(,"priority":3,"frequency":{"type":"once"})"),
         campaignText("pp", onEvent("e") + R"(,"priority":2,"trigger_metadata":{"push_prompt":true})"),
         campaignText("c", onEvent("e") + R"(,"priority":1)"),
         // It would fall out, but nobody asks any more.
         campaignText("n", onEvent("e") + R"(,"frequency":{"type":"multiple_times"})")});
  const Outcome explained = explain(
      "--event e --now 1000 --settings 2 --state "
      R"('{"last":990,"campaigns":{"f":{"last":0,"count":1},"unknown":{"last":1,"count":2}}}')");
  EXPECT_EQ(explained.status, 0) << explained.errors;
  EXPECT_EQ(explained.output, R"({"id":"p","outcome":"paused"}
{"id":"a","outcome":"audience"}
{"id":"v","outcome":"version"}
{"id":"t\"1","outcome":"trigger"}
{"id":"t2","outcome":"trigger"}
{"id":"late","outcome":"after_chosen"}
{"id":"d","outcome":"delay"}
{"id":"f","outcome":"frequency"}
{"id":"pp","outcome":"push_prompt"}
{"id":"c","outcome":"chosen"}
{"id":"n","outcome":"after_chosen"}
)");
}

TEST_F(Explain, OccasionIsAnEventOrACallOfTheHost) {
  write({campaignText("o", onAppOpen), campaignText("e", onEvent("+SCREEN_OPENED")),
         campaignText("s", R"("trigger":{"type":"on_visited_screen","target":"home"})"),
         campaignText("i", onTrigger)});
  const std::pair<const char*, const char*> cases[] = {
      {"--event +APP_OPENED", "chosen trigger trigger trigger"},
      {"--event +SCREEN_OPENED", "trigger chosen trigger trigger"},
      {R"(--event +SCREEN_OPENED --info '{"screen_name":7}')", "trigger chosen trigger trigger"},
      {R"(--info '{"screen_name":"home"}' --event +SCREEN_OPENED)", "trigger trigger chosen trigger"},
      {R"(--trigger '{"tier":"gold"}')", "trigger trigger trigger chosen"},
      {R"(--trigger '{"tier":"silver"}')", "trigger trigger trigger attributes"},
  };
  for (const auto& [options, expected] : cases) EXPECT_EQ(outcomes(options), expected) << options;
}

TEST_F(Explain, StateClockAndSettingsDecide) {
  write({campaignText("m", onEvent("e") + R"(,"trigger_metadata":{"last_in_app_delay":60,"push_prompt":true},
             "frequency":{"type":"multiple_times","details":{"times":2,"gap":100}})")});
  const std::pair<const char*, const char*> cases[] = {
      {"", "chosen"},
      {"--settings 2", "push_prompt"},
      {"--state {}", "chosen"},
      {R"(--state '{"last":1000.5}' --now 1060)", "delay"},
      {R"(--state '{"last":1000.5}' --now 1060.5)", "chosen"},
      {R"(--state '{"campaigns":{"m":{"last":1000,"count":1}}}' --now 1099)", "frequency"},
      {R"(--state '{"campaigns":{"m":{"count":2}}}')", "frequency"},
      {"--now 99", "frequency"},
  };
  for (const auto& [options, expected] : cases) {
    EXPECT_EQ(outcomes(std::string("--event e ") + options), expected) << options;
  }
}

TEST_F(Explain, FileThatTheLibraryWouldRefuseIsAFailure) {
  const Outcome absent = explain("--event e");
  EXPECT_EQ(absent.status, 1);
  EXPECT_EQ(absent.errors, "sorn-campaign: campaigns.json: No such file or directory\n");
  write({campaignText("a", ""), R"({"id":"b"})"});
  const Outcome faulty = explain("--event e");
  EXPECT_EQ(faulty.status, 1);
  EXPECT_EQ(faulty.output, "");
  EXPECT_TRUE(faulty.errors.starts_with("sorn-campaign: campaigns.json: [1]")) << faulty.errors;
}

}  // namespace
}  // namespace sorn::tool
