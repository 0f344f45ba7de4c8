// Reporting what waits: time against the bare steps, peak memory, and the JSON by itself.

#include <string>
#include <string_view>

#include <sqlite3.h>
#include <unistd.h>

#include "BareReport.h"
#include "BareStore.h"
#include "Children.h"
#include "Figures.h"
#include "Host.h"
#include "sync/EventReportBuilder.h"

namespace sorn::bench {
namespace {

void logMany(Host& host, std::size_t events) {
  for (std::size_t event = 0; event < events; ++event) host.log();
}

platform::HttpBody buildReport(Host& host) {
  facade::Library& library = host.library();
  sync::EventReportBuilder builder(library.context(), *library.ports().userDefaults, library.logger());
  const store::RowRanges events =
      library.context().performBlockAndWait([&] { return library.services().events.pendingEvents(); });
  return builder.build(events).value();
}

void reportingTime(Figures& figures, const Service& service) {
  constexpr std::size_t events = 10'000;
  constexpr int rounds = 7;
  const Folder folder;
  Host host(folder.path(), service.origin(), endless);
  BareStore bare(folder.path() / "bare.sqlite");
  BareReport bareReport(service.origin());
  Samples ours;
  Samples theirs;
  std::size_t bytes = 0;
  for (int round = 0; round < rounds; ++round) {
    logMany(host, events);
    if (bytes == 0) bytes = buildReport(host).size();
    // A row for each event, with as many bytes as the event's object has.
    bare.insertMany(events, "{\"text\":\"" + std::string(bytes / events - 11, 'x') + "\"}");
    auto begin = Clock::now();
    host.report();
    ours.add(microsecondsSince(begin) / 1000);
    if (host.waiting() != 0) figures.note("The service did not take the report.");
    begin = Clock::now();
    bareReport.send(bare);
    theirs.add(microsecondsSince(begin) / 1000);
    bare.checkpoint();
  }
  figures.plain("reporting 10,000 waiting events: bytes sent", static_cast<double>(bytes), "bytes");
  figures.plain("reporting 10,000 waiting events: time", ours.median(), "ms");
  figures.plain("bare: rows, one hash, one POST, one deletion", theirs.median(), "ms");
  figures.atMost("reporting against the bare steps", ours.median() / theirs.median(), 1.5, "times");
}

// The bare counterpart of the builder: the same rows of the same table, every member appended as it stands,
// nothing checked and nothing escaped.
std::string appendByHand(sqlite3_stmt* rows, std::string_view userAndDevice) {
  std::string out = "{\"events\":[";
  const auto text = [&](std::string_view name, int column) {
    out += name;
    const auto* bytes = reinterpret_cast<const char*>(sqlite3_column_text(rows, column));
    out.append(bytes, static_cast<std::size_t>(sqlite3_column_bytes(rows, column)));
  };
  for (bool isFirst = true; sqlite3_step(rows) == SQLITE_ROW; isFirst = false) {
    if (!isFirst) out += ',';
    text("{\"event_id\":\"", 0);
    text("\",\"type\":\"", 1);
    text("\",\"category\":\"", 2);
    text("\",\"action\":\"", 3);
    out += '"';
    out += userAndDevice;
    text(",\"campaign_id\":\"", 4);
    text("\",\"timestamp\":", 5);
    text(",\"session_id\":\"", 6);
    text("\",\"sequence\":", 7);
    text(",\"extra\":", 8);
    out.pop_back();
    out += ",\"inapp_status\":1}}";
  }
  sqlite3_reset(rows);
  out += "]}";
  return out;
}

std::string joined(const platform::HttpBody& body) {
  std::string text;
  for (const std::string& piece : body.pieces) text += piece;
  return text;
}

void jsonAlone(Figures& figures) {
  constexpr std::size_t events = 1'000;
  constexpr int rounds = 60;
  const Folder folder;
  Host host(folder.path(), std::string(deadOrigin), endless);
  logMany(host, events);
  // A connection of its own; within one process that is allowed.
  sqlite3* const database =
      openBare(folder.path() / "data" / hostIdentifier / "documents" / store::CoreDataManager::databaseName);
  sqlite3_stmt* const rows = prepareBare(
      database,
      "SELECT eventID, type, category, action, campaignID, CAST(timestamp AS TEXT), sessionID, serialNumber,"
      " extra FROM SNEvent WHERE status = 0 ORDER BY id");
  const std::string sample = joined(buildReport(host));
  const std::size_t begin = sample.find(",\"user_id\"");
  const std::string userAndDevice = sample.substr(begin, sample.find(",\"campaign_id\"") - begin);
  Samples ours;
  Samples byHand;
  double ratioOfSizes = 0;
  for (int round = 0; round < rounds; ++round) {
    auto started = Clock::now();
    const std::size_t ourBytes = buildReport(host).size();
    ours.add(microsecondsSince(started) / 1000);
    started = Clock::now();
    const std::size_t bytes = appendByHand(rows, userAndDevice).size();
    byHand.add(microsecondsSince(started) / 1000);
    ratioOfSizes = static_cast<double>(bytes) / static_cast<double>(ourBytes);
  }
  sqlite3_finalize(rows);
  sqlite3_close(database);
  figures.plain("1,000 event objects as JSON, from the store", ours.median(), "ms");
  figures.plain("the same rows appended by hand", byHand.median(), "ms");
  figures.plain("bytes by hand against the library's", ratioOfSizes, "times");
  figures.atMost("JSON against appending by hand", ours.median() / byHand.median(), 1.4, "times");
}

constexpr std::size_t backlog = 100'000;

// In a process of its own, whose memory has not seen the events before: prints bytes sent and kilobytes
// added.
void reportBacklog(const std::string& folder, const std::string& origin) {
  Host host(folder, origin, endless);
  const auto waiting = host.waiting();
  std::FILE* const answer = fdopen(dup(STDOUT_FILENO), "w");
  resetPeakMemory();
  const std::int64_t before = statusOfProcess("VmRSS");
  host.report();
  const std::int64_t peak = statusOfProcess("VmHWM");
  const bool isTaken = waiting >= backlog && host.waiting() == 0;
  std::fprintf(answer, "memory %lld\n", isTaken ? static_cast<long long>(peak - before) : -1LL);
  std::fclose(answer);
}

void backlogMemory(Figures& figures, const Service& service) {
  const Folder folder;
  std::size_t bytes = 0;
  {
    Host host(folder.path(), service.origin(), endless);
    logMany(host, backlog);
    bytes = buildReport(host).size();
  }
  Child child("bench-reports", {"backlog", folder.path(), service.origin()});
  std::string line = child.readLine();
  while (!line.starts_with("memory") && line.empty()) line = child.readLine();
  child.wait();
  const double kilobytes = std::stod(line.substr(line.find(' ')));
  figures.plain("backlog of 100,000 events: body", static_cast<double>(bytes) / 1e6, "MB");
  figures.plain("backlog of 100,000 events: added at the peak", kilobytes * 1024 / 1e6, "MB");
  figures.atMost("added memory against the body", kilobytes * 1024 / static_cast<double>(bytes), 1.3,
                 "times");
}

}  // namespace
}  // namespace sorn::bench

int main(int count, char** words) {
  using namespace sorn::bench;
  if (count == 4 && std::string_view(words[1]) == "backlog") {
    reportBacklog(words[2], words[3]);
    return 0;
  }
  Figures figures("Reports");
  const Service service;
  reportingTime(figures, service);
  jsonAlone(figures);
  backlogMemory(figures, service);
}
