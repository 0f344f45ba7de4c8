#pragma once

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

#include "sorn/Value.h"
#include "support/json/JsonWriter.h"

namespace sorn::sync {

// The attributes of an event on their way into the store: written as JSON members at once, straight from the
// values, since they are stored as JSON text anyway.
class EventData {
 public:
  // Keys that the library gives every event; an attribute of the same name yields to them.
  static constexpr std::array<std::string_view, 6> ownKeys = {
      "campaign_ids", "sv", "app_version", "os_version", "authorization_status", "location_status"};

  // Appends a member; the key is the prefix and the name together. A value that JSON cannot hold makes the
  // whole of the attributes invalid: false.
  bool add(std::string_view prefix, std::string_view name, const Value& value) {
    if (prefix.empty() && std::ranges::find(ownKeys, name) != ownKeys.end()) {
      // Dropped, but a value that is no JSON still counts against the whole.
      std::string scratch;
      isValid_ = support::appendValue(scratch, value) && isValid_;
      return isValid_;
    }
    const std::size_t start = members_.size();
    if (start > 0) {
      members_ += ',';
    } else {
      members_.reserve(usualSize);
    }
    if (support::appendText(members_, prefix, name)) {
      members_ += ':';
      if (support::appendValue(members_, value)) return true;
    }
    isValid_ = false;
    members_.resize(start);
    return false;
  }

  const std::string& members() const { return members_; }
  bool isValid() const { return isValid_; }

 private:
  // Room for the attributes of a usual event.
  static constexpr std::size_t usualSize = 256;

  std::string members_;
  bool isValid_ = true;
};

}  // namespace sorn::sync
