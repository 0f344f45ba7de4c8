#include "support/Calendar.h"

#include <cmath>
#include <ctime>

namespace sorn::support {

namespace {

constexpr double secondsADay = 86400;
// Dates further away than this (about 31,000 years) are counted in days of 24 hours.
constexpr double furthest = 1e12;

// The moment `days` calendar days away, at the same time of day.
double movedByDays(double seconds, std::int64_t days) {
  if (days == 0) return seconds;
  const double whole = std::floor(seconds);
  const auto time = static_cast<std::time_t>(whole);
  std::tm local{};
  localtime_r(&time, &local);
  local.tm_mday += static_cast<int>(days);
  local.tm_isdst = -1;
  return static_cast<double>(std::mktime(&local)) + (seconds - whole);
}

}  // namespace

std::int64_t wholeDaysBetween(Date from, Date to) {
  const double begin = secondsSince1970(from);
  const double end = secondsSince1970(to);
  if (!(std::abs(begin) < furthest && std::abs(end) < furthest)) {
    const double days = std::trunc((end - begin) / secondsADay);
    return std::abs(days) < furthest ? static_cast<std::int64_t>(days) : 0;
  }
  const std::int64_t direction = end < begin ? -1 : 1;
  // The clocks shift by less than a day in all, so the count is at most one off.
  auto days = static_cast<std::int64_t>(std::abs(end - begin) / secondsADay) + 1;
  const auto passes = [&](std::int64_t count) {
    const double moved = movedByDays(begin, direction * count);
    return direction > 0 ? moved > end : moved < end;
  };
  while (days > 0 && passes(days)) --days;
  return direction * days;
}

}  // namespace sorn::support
