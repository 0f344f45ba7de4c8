// Whole processes: start, memory and size of a host that logs.

#include <cstdlib>
#include <filesystem>
#include <string>

#include "Children.h"
#include "Figures.h"
#include "Host.h"

namespace sorn::bench {
namespace {

// The number in the line that begins with this word.
double told(Child& child, const std::string& word) {
  for (int lines = 0; lines < 100; ++lines) {
    const std::string line = child.readLine();
    if (line.starts_with(word)) return std::stod(line.substr(word.size()));
  }
  return -1;
}

double millisecondsOf(const std::string& program, const std::string& folder) {
  const auto begin = Clock::now();
  Child child(program, {folder, "1"});
  child.wait();
  return microsecondsSince(begin) / 1000;
}

void coldStart(Figures& figures) {
  constexpr int runs = 15;
  Samples fresh;
  Samples again;
  for (int run = 0; run < runs; ++run) {
    const Folder folder;
    writeConfiguration(folder.path(), std::string(deadOrigin));
    for (Samples* samples : {&fresh, &again}) {
      Child child("bench-host", {folder.path(), "1"});
      samples->add(told(child, "start") / 1000);
      child.wait();
    }
  }
  figures.atMost("start for its caller, cold, first run of all", fresh.median(), 4, "ms");
  figures.atMost("start for its caller, cold, later run", again.median(), 4, "ms");
}

void warmStart(Figures& figures) {
  constexpr int runs = 50;
  const Folder folder;
  Host host(folder.path(), std::string(deadOrigin), endless);
  host.log();
  Samples samples;
  for (int run = 0; run < runs; ++run) {
    // Beside the other one, which holds the store open.
    auto library = Host::make(folder.path());
    const auto begin = Clock::now();
    library->start(std::string(configurationName));
    samples.add(microsecondsSince(begin) / 1000);
  }
  figures.atMost("start for its caller, warm", samples.median(), 0.5, "ms");
}

void wholeProcess(Figures& figures) {
  constexpr int runs = 40;
  const Folder folder;
  writeConfiguration(folder.path(), std::string(deadOrigin));
  Samples host;
  Samples bare;
  millisecondsOf("bench-host", folder.path());
  millisecondsOf("bench-bare", folder.path());
  for (int run = 0; run < runs; ++run) {
    host.add(millisecondsOf("bench-host", folder.path()));
    bare.add(millisecondsOf("bench-bare", folder.path()));
  }
  figures.plain("process that starts the library and saves an event", host.median(), "ms");
  figures.plain("bare process that opens SQLite and saves a row", bare.median(), "ms");
  figures.atMost("the process against the bare one", host.median() / bare.median(), 1.5, "times");
}

// With the usual batch size, so that reports go out meanwhile.
void memory(Figures& figures, const Service& service) {
  const Folder folder;
  writeConfiguration(folder.path(), service.origin());
  Child host("bench-host", {folder.path(), "5000", "1"});
  const double hosts = told(host, "memory") / 1024;
  host.wait();
  Child bare("bench-bare", {folder.path(), "5000", service.origin()});
  const double bares = told(bare, "memory") / 1024;
  bare.wait();
  figures.plain("memory of a host that has logged 5,000 events", hosts, "MiB");
  figures.plain("memory of a bare process that has used the libraries", bares, "MiB");
  figures.atMost("the host above the bare process", hosts - bares, 5, "MiB");
}

void size(Figures& figures) {
  const Folder folder;
  const std::filesystem::path copy = folder.path() / "stripped.so";
  const std::string strip = "strip -o '" + copy.string() + "' '" SORN_LIBRARY_FILE "'";
  if (std::system(strip.c_str()) != 0) {
    figures.note("strip is missing: no size.");
    return;
  }
  figures.atMost("core library, stripped", static_cast<double>(std::filesystem::file_size(copy)) / 1000, 700,
                 "KB");
}

}  // namespace
}  // namespace sorn::bench

int main() {
  using namespace sorn::bench;
  Figures figures("Processes");
  const Service service;
  coldStart(figures);
  warmStart(figures);
  wholeProcess(figures);
  memory(figures, service);
  size(figures);
}
