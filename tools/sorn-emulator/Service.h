#pragma once

// The service behind the fifteen calls: what it learns from them, and what it answers. Any thread may call.

#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include <nlohmann/json.hpp>

#include "sorn-emulator/Http.h"
#include "sorn-emulator/Mailbox.h"
#include "sorn-emulator/Paths.h"

namespace sorn::emulator {

class Service {
 public:
  // With `lightMode` the events of a report are counted and dropped.
  explicit Service(bool lightMode);

  // Takes one call in and answers it. A body that is no JSON object, or nests too deeply, or whose "events"
  // are no list, is refused with 400; a key that is missing is not missed.
  HttpAnswer call(Endpoint endpoint, const std::string& body);

  // The value of "configuration" in the answers to `save`; null leaves the key out.
  void setConfiguration(nlohmann::json configuration);
  void setInbox(const nlohmann::json& messages);
  void addPush(nlohmann::json push);
  void clear();

  // Devices, users, tags, push, inbox, locations and crossings.
  nlohmann::json state() const;

  // The events as JSON texts, in order of arrival, repeats kept; empty in light mode.
  std::vector<std::string> events() const;
  std::size_t eventCount() const;
  bool waitForEvents(std::size_t count, std::chrono::milliseconds timeout) const;

 private:
  using Json = nlohmann::json;

  Json answerTo(Endpoint endpoint, const Json& body);
  void registerForPush(const Json& body, bool enabled);
  Json answerToSave(const Json& document);
  Json answerToInboxFetch(const Json& body) const;
  void takeEvents(const Json& events);
  void countEvents(std::size_t count);

  const bool lightMode_;
  mutable std::mutex mutex_;
  mutable std::condition_variable eventsArrived_;
  Json configuration_;
  Json devices_;        // by entity identifier: the document last saved, with the "createdAt" given to it
  Json users_;          // by entity identifier
  Json tags_;           // by entity identifier
  Json registrations_;  // by entity identifier: token, switch and permissions for push
  Json locations_;      // by entity identifier: whether places are on
  Json crossings_;      // in order of arrival
  Json pushes_;
  Mailbox mailbox_;
  std::vector<std::string> events_;
  std::size_t eventCount_ = 0;
};

// How many objects stand in the list of a report's body, found without building them.
std::size_t objectsInReport(std::string_view body);

}  // namespace sorn::emulator
