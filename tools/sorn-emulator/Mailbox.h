#pragma once

// The service's copy of the inbox: what a fetch is answered with, and what reported reads and deletions do.

#include <set>
#include <string>
#include <vector>

#include <nlohmann/json.hpp>

namespace sorn::emulator {

class Mailbox {
 public:
  // Who asks: the device, and the user when there is one.
  struct Caller {
    std::string device;
    std::string user;
  };

  void replace(const nlohmann::json& messages);

  // All messages whose time has not run out at `serverTime`, whomever they belong to, as they were given;
  // only the owner identifier "*" becomes the asking user or device. What a device has deleted does not come
  // back to it; other devices get it with its "deletedAt".
  nlohmann::json messagesFor(const Caller& caller, double serverTime) const;

  // Writes the time stamp of each reported item to its message under `member` ("readAt" or "deletedAt") and
  // answers item by item, in their order: {"id": campaign, "status": whether there is such a message}.
  nlohmann::json report(const nlohmann::json& items, const std::string& member);

  nlohmann::json contents() const;

 private:
  struct Message {
    nlohmann::json content;
    std::set<std::string> deletedBy;  // devices
  };

  Message* find(const nlohmann::json& item);

  std::vector<Message> messages_;
};

}  // namespace sorn::emulator
