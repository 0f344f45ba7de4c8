#pragma once

// The table that the benchmarks print, a line a figure: name | measured | reach | ok.

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <string_view>
#include <vector>

namespace sorn::bench {

using Clock = std::chrono::steady_clock;

inline double microsecondsSince(Clock::time_point begin) {
  return std::chrono::duration<double, std::micro>(Clock::now() - begin).count();
}

// Prints the lines. The library writes to standard output as well, so from here on that leads nowhere and the
// table has a copy of its own.
class Figures {
 public:
  explicit Figures(std::string_view title);
  ~Figures();
  Figures(const Figures&) = delete;
  Figures& operator=(const Figures&) = delete;

  // Measured values with a bound; a missed one says so and changes nothing else.
  void atMost(std::string_view name, double measured, double bound, std::string_view unit);
  void atLeast(std::string_view name, double measured, double bound, std::string_view unit);
  // A value for orientation.
  void plain(std::string_view name, double measured, std::string_view unit);
  void note(std::string_view text);

 private:
  void line(std::string_view name, const std::string& measured, const std::string& bound,
            std::string_view ok);

  std::FILE* table_;
};

// Times of many repetitions.
class Samples {
 public:
  void add(double value) { values_.push_back(value); }
  std::size_t count() const { return values_.size(); }
  double sum() const {
    double sum = 0;
    for (const double value : values_) sum += value;
    return sum;
  }
  // The value that this share of all does not exceed; 0.5 gives the median, 1 the worst.
  double quantile(double share) const {
    std::vector<double> sorted = values_;
    const auto last = static_cast<double>(sorted.size() - 1);
    const auto place = sorted.begin() + static_cast<std::ptrdiff_t>(last * share);
    std::nth_element(sorted.begin(), place, sorted.end());
    return *place;
  }
  double median() const { return quantile(0.5); }

 private:
  std::vector<double> values_;
};

// Kilobytes of a line of /proc/self/status, such as "VmRSS".
std::int64_t statusOfProcess(std::string_view name);
// Makes "VmHWM", the peak, begin again from the present size.
void resetPeakMemory();

}  // namespace sorn::bench
