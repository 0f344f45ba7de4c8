#pragma once

// A stand-in for the service on this machine: a real HTTP server that checks signatures, answers every call
// as the service would, publishes files, keeps what it saw, and misbehaves on order.
//
// The same emulator is the program `sorn-emulator` and, through this class, a part of a test's own process.
// Every member may be called from any thread.

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json_fwd.hpp>

#include "sorn-emulator/Account.h"
#include "sorn-emulator/RequestRecord.h"

namespace sorn::emulator {

struct Options {
  std::vector<Account> accounts{};
  int port = 0;  // 0 takes a free one
  std::string address = "127.0.0.1";
  std::string record{};  // file that gets a line of JSON for each request; empty for none
  std::string seed{};    // folder with campaigns.json, places.json, configuration.json, inbox.json; or empty
  bool lightMode = false;  // keeps no bodies, and of events only their number
};

class Emulator {
 public:
  // Starts to listen. Throws std::runtime_error when the port, a seed file or the record file can't be had.
  explicit Emulator(const Options& options);
  ~Emulator();

  std::string origin() const;  // "http://127.0.0.1:N"
  int port() const;

  // Makes the service unreachable, and reachable again on the same port; what it knows stays. Calls in
  // progress end without an answer. Stopping twice, or starting twice, changes nothing.
  void stop();
  void start();

  // Everything but the control calls, in order of arrival.
  std::vector<RequestRecord> requests() const;
  // The reported events in order of arrival, repeats kept; none in light mode, where they are only counted.
  std::vector<nlohmann::json> events() const;
  std::size_t eventCount() const;
  // What "GET /emulator/state" answers.
  nlohmann::json state() const;

  // The JSON texts are those of the control calls; wrong ones throw std::invalid_argument and change nothing.
  void setConfiguration(std::string_view json);
  void setInbox(std::string_view json);
  void addPush(std::string_view json);
  void setFaults(std::string_view json);
  // Published as it is. An absent etag is worked out from the text, an absent time stamp is the present
  // second; an empty one leaves its header out.
  void publishCampaigns(std::string_view text, std::optional<std::string> etag = std::nullopt,
                        std::optional<std::string> timestamp = std::nullopt);
  void publishPlaces(std::string_view text, std::optional<std::string> etag = std::nullopt,
                     std::optional<std::string> timestamp = std::nullopt);
  void reset();

  // Wait until so many requests (whose path ends in `pathEnding`) or events have come since the beginning or
  // the last reset, at most for `timeout`; whether they have.
  bool waitForRequests(std::size_t count, std::chrono::milliseconds timeout,
                       std::string_view pathEnding = {}) const;
  bool waitForEvents(std::size_t count, std::chrono::milliseconds timeout) const;

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace sorn::emulator
