#include "sorn-emulator/Emulator.h"

#include <mutex>
#include <stdexcept>
#include <thread>

#include <nlohmann/json.hpp>

#include "sorn-emulator/Connection.h"
#include "sorn-emulator/Core.h"
#include "sorn-emulator/Listener.h"

namespace sorn::emulator {

struct Emulator::Parts {
  explicit Parts(const Options& options)
      : core(options.accounts, options.record, options.seed, options.lightMode),
        address(options.address),
        listener(listenOn(options.port)),
        port(listener->port()) {}

  std::unique_ptr<Listener> listenOn(int wanted) {
    return std::make_unique<Listener>(address, wanted, [this](Channel& channel) {
      serveConnection(channel, [this](HttpRequest& request) { return core.answer(request); });
    });
  }

  Core core;
  const std::string address;
  std::mutex mutex;  // guards the listener's coming and going
  std::unique_ptr<Listener> listener;
  const int port;
};

Emulator::Emulator(const Options& options) : parts_(std::make_unique<Parts>(options)) {}

Emulator::~Emulator() { stop(); }

std::string Emulator::origin() const {
  return "http://" + parts_->address + ":" + std::to_string(parts_->port);
}

int Emulator::port() const { return parts_->port; }

void Emulator::stop() {
  const std::lock_guard lock(parts_->mutex);
  parts_->listener.reset();
}

void Emulator::start() {
  const std::lock_guard lock(parts_->mutex);
  if (parts_->listener) return;
  // The port may for a moment be the near end of somebody's outgoing connection.
  for (int attempt = 1;; ++attempt) {
    try {
      parts_->listener = parts_->listenOn(parts_->port);
      return;
    } catch (const std::runtime_error&) {
      if (attempt == 50) throw;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
  }
}

std::vector<RequestRecord> Emulator::requests() const {
  std::vector<RequestRecord> requests;
  for (const auto& record : parts_->core.journal.records()) requests.push_back(*record);
  return requests;
}

std::vector<nlohmann::json> Emulator::events() const {
  std::vector<nlohmann::json> events;
  for (const auto& text : parts_->core.service.events()) events.push_back(nlohmann::json::parse(text));
  return events;
}

std::size_t Emulator::eventCount() const { return parts_->core.service.eventCount(); }

nlohmann::json Emulator::state() const { return parts_->core.state(); }

void Emulator::setConfiguration(std::string_view json) { parts_->core.setConfiguration(json); }

void Emulator::setInbox(std::string_view json) { parts_->core.setInbox(json); }

void Emulator::addPush(std::string_view json) { parts_->core.addPush(json); }

void Emulator::setFaults(std::string_view json) { parts_->core.faults.replace(json); }

void Emulator::publishCampaigns(std::string_view text, std::optional<std::string> etag,
                                std::optional<std::string> timestamp) {
  parts_->core.publications.publish(Document::campaigns, text, std::move(etag), std::move(timestamp));
}

void Emulator::publishPlaces(std::string_view text, std::optional<std::string> etag,
                             std::optional<std::string> timestamp) {
  parts_->core.publications.publish(Document::places, text, std::move(etag), std::move(timestamp));
}

void Emulator::reset() { parts_->core.reset(); }

bool Emulator::waitForRequests(std::size_t count, std::chrono::milliseconds timeout,
                               std::string_view pathEnding) const {
  return parts_->core.journal.waitFor(count, timeout, pathEnding);
}

bool Emulator::waitForEvents(std::size_t count, std::chrono::milliseconds timeout) const {
  return parts_->core.service.waitForEvents(count, timeout);
}

}  // namespace sorn::emulator
