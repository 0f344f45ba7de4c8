#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/DataFile.h"
#include "sorn/NotificationCenter.h"
#include "sorn/SornError.h"
#include "support/Calendar.h"
#include "support/Fault.h"

namespace sorn {
namespace {

TEST(SornError, TellsWhatWasRefused) {
  const std::pair<SornError, const char*> cases[] = {
      {SornError::maxUserIDReached(501, 500),
       "[SORN] The length of the user id you have supplied (501) exceeds the maximum allowed length (500)"},
      {SornError::maxTagsReached(31, 30),
       "[SORN] The number of tags you have supplied (31) exceeds the maximum allowed tags (30)"},
      {SornError::maxTagLengthReached("x"), "[SORN] Tag 'x' exceeds maximum tag length"},
      {SornError::invalidScreenName("a..b"),
       "[SORN] Screen name 'a..b' is invalid (doesn't match a domain pattern)"},
      {SornError::invalidExtraKey("a-b"), "[SORN] Key 'a-b' is invalid"},
      {SornError::invalidExtraValue("k"), "[SORN] The value for key 'k' is invalid"},
      {SornError::invalidCategory("+A"), "[SORN] Category '+A' is invalid"},
      {SornError::plain(SornError::Code::invalidInAppCampaignData), "[SORN] Invalid In-App Campaign data"},
  };
  for (const auto& [error, text] : cases) EXPECT_STREQ(error.what(), text);
  EXPECT_STREQ(ForwardedError("HTTP", -1001).what(),
               "The operation couldn't be completed. (HTTP error -1001.)");
}

TEST(NotificationCenter, CallsTheObserversOfThatNameInOrderWhichMayComeAndGoDuringAPost) {
  NotificationCenter center;
  std::vector<std::string> calls;
  NotificationCenter::Token second = 0;
  NotificationCenter::Token first = 0;
  first = center.addObserver("n", [&](std::string_view name, const Dictionary& info) {
    calls.push_back("1" + std::string(name) + *info.at("k").as<std::string>());
    center.removeObserver(second);
    center.removeObserver(first);
    center.addObserver("n", [&](std::string_view, const Dictionary&) { calls.emplace_back("3"); });
  });
  second = center.addObserver("n", [&](std::string_view, const Dictionary&) { calls.emplace_back("2"); });
  center.addObserver("n", [&](std::string_view, const Dictionary&) { calls.emplace_back("4"); });
  center.post("N");
  center.post("n", {{"k", "v"}});
  EXPECT_EQ(calls, (std::vector<std::string>{"1nv", "4"}));
  center.post("n");
  EXPECT_EQ(calls, (std::vector<std::string>{"1nv", "4", "4", "3"}));
}

TEST(FaultDeathTest, SaysWhatWasExpectedAndAborts) {
  EXPECT_EXIT(support::fault("an identifier"), testing::KilledBySignal(SIGABRT),
              "^Fatal error: an identifier\n");
}

TEST(Calendar, DaysFollowTheClockOnTheWall) {
  setenv("TZ", "Europe/Berlin", 1);
  tzset();
  for (const auto& row : tests::dataFile("days.json")) {
    const double from = row[0];
    const double elapsed = row[1];
    EXPECT_EQ(support::wholeDaysBetween(dateSince1970(from), dateSince1970(from + elapsed)), row[2]) << row;
  }
  unsetenv("TZ");
  tzset();
}

}  // namespace
}  // namespace sorn
