#include <cstdlib>
#include <ctime>
#include <string>
#include <vector>

#include <gtest/gtest.h>

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
      {SornError::emptyExtraKey(""), "[SORN] Key '' is empty"},
      {SornError::invalidExtraValue("k"), "[SORN] The value for key 'k' is invalid"},
      {SornError::invalidCategory("+A"), "[SORN] Category '+A' is invalid"},
      {SornError::invalidAction("+B"), "[SORN] Action '+B' is invalid"},
      {SornError::plain(SornError::Code::invalidConfigurationArguments),
       "[SORN] The arguments you have supplied for Sorn's configuration (`start`) via a configuration plist "
       "file are "
       "invalid"},
      {SornError::plain(SornError::Code::invalidInAppCampaignData), "[SORN] Invalid In-App Campaign data"},
  };
  for (const auto& [error, text] : cases) EXPECT_STREQ(error.what(), text);
  EXPECT_EQ(SornError::maxTagsReached(31, 30).supplied(), "31");
  EXPECT_EQ(SornError::maxTagsReached(31, 30).max(), 30u);
  EXPECT_FALSE(SornError::maxTagLengthReached("x").max());
  EXPECT_STREQ(ForwardedError("HTTP", -1001).what(),
               "The operation couldn't be completed. (HTTP error -1001.)");
}

TEST(NotificationCenter, CallsTheObserversOfExactlyThatNameInOrder) {
  NotificationCenter center;
  std::vector<std::string> calls;
  center.addObserver("a", [&](std::string_view name, const Dictionary& info) {
    calls.push_back("1" + std::string(name) + *info.at("k").as<std::string>());
  });
  center.addObserver("b", [&](std::string_view, const Dictionary&) { calls.push_back("b"); });
  center.addObserver("a", [&](std::string_view, const Dictionary&) { calls.push_back("2"); });
  center.post("a", {{"k", "v"}});
  center.post("A", {});
  EXPECT_EQ(calls, (std::vector<std::string>{"1av", "2"}));
}

TEST(NotificationCenter, ObserversMayComeAndGoDuringAPost) {
  NotificationCenter center;
  std::vector<int> calls;
  NotificationCenter::Token second = 0;
  NotificationCenter::Token first = 0;
  first = center.addObserver("n", [&](std::string_view, const Dictionary&) {
    calls.push_back(1);
    center.removeObserver(second);
    center.removeObserver(first);
    center.addObserver("n", [&](std::string_view, const Dictionary&) { calls.push_back(3); });
  });
  second = center.addObserver("n", [&](std::string_view, const Dictionary&) { calls.push_back(2); });
  center.post("n");
  EXPECT_EQ(calls, std::vector<int>{1});
  center.post("n");
  EXPECT_EQ(calls, (std::vector<int>{1, 3}));
}

TEST(FaultDeathTest, SaysWhatWasExpectedAndAborts) {
  EXPECT_EXIT(support::fault("an identifier"), testing::KilledBySignal(SIGABRT),
              "^Fatal error: an identifier\n");
}

// Moments by: TZ=Europe/Berlin date -d '2024-03-30 12:00' +%s
TEST(Calendar, DaysFollowTheClockOnTheWall) {
  setenv("TZ", "Europe/Berlin", 1);
  tzset();
  constexpr double hour = 3600;
  constexpr double summer = 1711796400;  // 2024-03-30 12:00, the day before the clocks go forward
  constexpr double winter = 1729936800;  // 2024-10-26 12:00, the day before they go back
  constexpr double plain = 1718445600;   // 2024-06-15 12:00
  struct Case {
    double from;
    double elapsed;
    std::int64_t days;
  };
  const Case cases[] = {
      {plain, 0, 0},
      {plain, 24 * hour - 1, 0},
      {plain, 24 * hour, 1},
      {plain, 48 * hour - 1, 1},
      {plain, 400 * 24 * hour, 400},
      {summer, 23 * hour - 1, 0},
      {summer, 23 * hour, 1},
      {winter, 24 * hour, 0},
      {winter, 25 * hour - 0.5, 0},
      {winter, 25 * hour, 1},
      {plain, -1, 0},
      {plain, -25 * hour, -1},
      {plain, 1e300, 0},
  };
  for (const Case& one : cases) {
    EXPECT_EQ(support::wholeDaysBetween(dateSince1970(one.from), dateSince1970(one.from + one.elapsed)),
              one.days)
        << one.from << " + " << one.elapsed;
  }
  unsetenv("TZ");
  tzset();
}

}  // namespace
}  // namespace sorn
