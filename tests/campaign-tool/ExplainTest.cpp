#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "campaigns/Samples.h"
#include "linux/TemporaryFolder.h"
#include "sorn-campaign/Subcommand.h"

namespace sorn::campaign {
namespace {

using campaigns::campaignText;
using campaigns::onAppOpen;
using campaigns::onEvent;

constexpr auto onTrigger = R"("trigger":{"type":"on_in_app_trigger","attributes":[)"
                           R"({"type":"string","key":"tier","operator":"=","value":"gold"}]})";

class Explain : public ::testing::Test {
 protected:
  struct Run {
    int status = -1;
    std::string output;
    std::string errors;
  };

  Run run(std::vector<std::string> arguments) {
    std::vector<char*> pointers;
    pointers.reserve(arguments.size());
    for (std::string& argument : arguments) pointers.push_back(argument.data());
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    Run run{.status = runExplain({pointers.data(), pointers.size()}), .output = {}, .errors = {}};
    std::fflush(stdout);
    run.output = ::testing::internal::GetCapturedStdout();
    run.errors = ::testing::internal::GetCapturedStderr();
    return run;
  }
  // The outcomes in the order of the document, joined by blanks.
  std::string outcomes(std::vector<std::string> options) {
    options.insert(options.begin(), file_);
    const Run explained = run(options);
    EXPECT_EQ(explained.status, 0) << explained.errors;
    std::string joined;
    for (std::size_t at = 0; (at = explained.output.find("\"outcome\":\"", at)) != std::string::npos;) {
      at += 11;
      const std::string outcome = explained.output.substr(at, explained.output.find('"', at) - at);
      joined.append(joined.empty() ? "" : " ").append(outcome);
    }
    return joined;
  }
  void write(const std::vector<std::string>& campaigns) {
    std::string text = "[";
    for (const std::string& campaign : campaigns) text += (text.size() > 1 ? "," : "") + campaign;
    file_ = folder_.write("campaigns.json", text + "]").string();
  }

  const testing::TemporaryFolder folder_;
  std::string file_;
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
  const Run explained =
      run({file_, "--event", "e", "--now", "1000", "--settings", "2", "--state",
           R"({"last":990,"campaigns":{"f":{"last":0,"count":1},"unknown":{"last":1,"count":2}}})"});
  EXPECT_EQ(explained.status, 0);
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
  EXPECT_EQ(explained.errors, "");
}

TEST_F(Explain, OccasionIsAnEventOrACallOfTheHost) {
  write({campaignText("o", onAppOpen), campaignText("e", onEvent("+SCREEN_OPENED")),
         campaignText("s", R"("trigger":{"type":"on_visited_screen","target":"home"})"),
         campaignText("i", onTrigger)});
  const std::pair<std::vector<std::string>, const char*> cases[] = {
      {{"--event", "+APP_OPENED"}, "chosen trigger trigger trigger"},
      {{"--event", "+SCREEN_OPENED"}, "trigger chosen trigger trigger"},
      {{"--event", "+SCREEN_OPENED", "--info", R"({"screen_name":7})"}, "trigger chosen trigger trigger"},
      {{"--info", R"({"screen_name":"home"})", "--event", "+SCREEN_OPENED"},
       "trigger trigger chosen trigger"},
      {{"--event", "other", "--info", R"({"tier":"gold"})"}, "trigger trigger trigger trigger"},
      {{"--trigger", R"({"tier":"gold"})"}, "trigger trigger trigger chosen"},
      {{"--trigger", R"({"tier":"silver"})"}, "trigger trigger trigger attributes"},
      {{"--trigger", "{}"}, "trigger trigger trigger attributes"},
  };
  for (const auto& [options, expected] : cases) {
    EXPECT_EQ(outcomes(options), expected) << ::testing::PrintToString(options);
  }
}

TEST_F(Explain, StateClockAndSettingsDecide) {
  write({campaignText("m", onEvent("e") + R"(,"trigger_metadata":{"last_in_app_delay":60,"push_prompt":true},
             "frequency":{"type":"multiple_times","details":{"times":2,"gap":100}})")});
  const std::pair<std::vector<std::string>, const char*> cases[] = {
      {{}, "chosen"},
      {{"--settings", "2"}, "push_prompt"},
      {{"--settings", "0"}, "chosen"},
      {{"--settings", "-1"}, "chosen"},
      {{"--state", "{}"}, "chosen"},
      {{"--state", R"({"last":1000.5})", "--now", "1060"}, "delay"},
      {{"--state", R"({"last":1000.5})", "--now", "1060.5"}, "chosen"},
      {{"--state", R"({"campaigns":{"m":{"count":1}}})"}, "chosen"},
      {{"--state", R"({"campaigns":{"m":{"count":2}}})"}, "frequency"},
      {{"--state", R"({"campaigns":{"m":{"last":1000,"count":1}}})", "--now", "1099"}, "frequency"},
      {{"--state", R"({"campaigns":{"m":{"last":1000,"count":1}}})", "--now", "1100"}, "chosen"},
      {{"--now", "99"}, "frequency"},
  };
  for (auto [options, expected] : cases) {
    options.insert(options.begin(), {"--event", "e"});
    EXPECT_EQ(outcomes(options), expected) << ::testing::PrintToString(options);
  }
}

TEST_F(Explain, BadUsageIsRefusedWithoutAnAnswer) {
  write({campaignText("a", "")});
  const std::pair<std::vector<std::string>, const char*> cases[] = {
      {{"--event", "e"}, "no file is named"},
      {{file_}, "either --event or --trigger is wanted"},
      {{file_, "--event", "e", "--trigger", "{}"}, "either --event or --trigger is wanted"},
      {{file_, "--trigger", "{}", "--info", "{}"}, "--info goes with --event"},
      {{file_, file_, "--event", "e"}, "one file, please"},
      {{file_, "--event"}, "--event needs a value"},
      {{file_, "--event", "e", "--colour", "red"}, "unknown option --colour"},
      {{file_, "--event", "e", "--now", "noon"}, "no value for --now: noon"},
      {{file_, "--event", "e", "--now", "1x"}, "no value for --now: 1x"},
      {{file_, "--event", "e", "--settings", "1.5"}, "no value for --settings: 1.5"},
      {{file_, "--event", "e", "--state", "[]"}, "no value for --state: []"},
      {{file_, "--event", "e", "--info", "{"}, "no value for --info: {"},
      {{file_, "--trigger", "\"gold\""}, "no value for --trigger: \"gold\""},
  };
  for (const auto& [arguments, reason] : cases) {
    const Run refused = run(arguments);
    EXPECT_EQ(refused.status, 2) << reason;
    EXPECT_EQ(refused.output, "") << reason;
    EXPECT_EQ(refused.errors, "sorn-campaign: " + std::string(reason) + "\n");
  }
}

TEST_F(Explain, FileThatTheLibraryWouldRefuseIsAFailure) {
  write({campaignText("a", ""), R"({"id":"b"})"});
  const Run faulty = run({file_, "--event", "e"});
  EXPECT_EQ(faulty.status, 1);
  EXPECT_EQ(faulty.output, "");
  EXPECT_TRUE(faulty.errors.starts_with("sorn-campaign: " + file_ + ": ")) << faulty.errors;
  EXPECT_NE(faulty.errors.find("[1]"), std::string::npos) << faulty.errors;
  const Run absent = run({file_ + "x", "--event", "e"});
  EXPECT_EQ(absent.status, 1);
  EXPECT_EQ(absent.errors, "sorn-campaign: " + file_ + "x: No such file or directory\n");
}

}  // namespace
}  // namespace sorn::campaign
