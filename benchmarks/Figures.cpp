#include "Figures.h"

#include <cstdlib>
#include <fstream>
#include <thread>

#include <fcntl.h>
#include <unistd.h>

namespace sorn::bench {

namespace {

std::string textOf(double value, std::string_view unit) {
  char text[64];
  const int decimals = value >= 1000 ? 0 : value >= 10 ? 1 : 3;
  std::snprintf(text, sizeof text, "%.*f %.*s", decimals, value, static_cast<int>(unit.size()), unit.data());
  return text;
}

}  // namespace

Figures::Figures(std::string_view title) : table_(fdopen(dup(STDOUT_FILENO), "w")) {
  const int nowhere = open("/dev/null", O_WRONLY | O_CLOEXEC);
  dup2(nowhere, STDOUT_FILENO);
  close(nowhere);
  std::fprintf(table_, "\n%.*s\n", static_cast<int>(title.size()), title.data());
  double load = 0;
  getloadavg(&load, 1);
  // Percentiles and the slowest calls say little on a machine with other work than this.
  note("Load of the machine before: " + textOf(load, "on ") +
       std::to_string(std::thread::hardware_concurrency()) + " processors");
  line("name", "measured", "reach", "ok?");
}

Figures::~Figures() { std::fclose(table_); }

void Figures::atMost(std::string_view name, double measured, double bound, std::string_view unit) {
  line(name, textOf(measured, unit), "<= " + textOf(bound, unit), measured <= bound ? "ok" : "MISSED");
}

void Figures::atLeast(std::string_view name, double measured, double bound, std::string_view unit) {
  line(name, textOf(measured, unit), ">= " + textOf(bound, unit), measured >= bound ? "ok" : "MISSED");
}

void Figures::plain(std::string_view name, double measured, std::string_view unit) {
  line(name, textOf(measured, unit), "", "");
}

void Figures::note(std::string_view text) {
  std::fprintf(table_, "  %.*s\n", static_cast<int>(text.size()), text.data());
  std::fflush(table_);
}

void Figures::line(std::string_view name, const std::string& measured, const std::string& bound,
                   std::string_view ok) {
  std::fprintf(table_, "%-66.*s | %18s | %18s | %.*s\n", static_cast<int>(name.size()), name.data(),
               measured.c_str(), bound.c_str(), static_cast<int>(ok.size()), ok.data());
  std::fflush(table_);
}

std::int64_t statusOfProcess(std::string_view name) {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with(name) && line[name.size()] == ':') return std::stoll(line.substr(name.size() + 1));
  }
  return 0;
}

void resetPeakMemory() { std::ofstream("/proc/self/clear_refs") << '5'; }

}  // namespace sorn::bench
