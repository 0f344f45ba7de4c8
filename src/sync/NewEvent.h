#pragma once

#include <optional>
#include <string_view>

#include "documents/EventCatalogue.h"
#include "sync/EventData.h"

namespace sorn::sync {

// What an event is made from. It refers to what its creator holds, for as long as the event is being stored.
struct NewEvent {
  documents::EventType type = documents::EventType::app_usage;
  std::string_view category = documents::EventCategory::none;
  std::string_view action;
  const EventData* data = nullptr;
  std::optional<std::string_view> campaignID = std::nullopt;
  std::optional<documents::EventCampaign> campaign = std::nullopt;
};

}  // namespace sorn::sync
