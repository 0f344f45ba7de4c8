#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "sorn/platform/HttpTransport.h"
#include "sorn/platform/UserDefaults.h"
#include "store/ManagedObjectContext.h"
#include "store/entities/SNEvent.h"
#include "support/Logger.h"

namespace sorn::sync {

// A text and the member that was written for it.
struct RepeatedText {
  std::string text;
  std::string member;
};

// Builds the document {"events": [...]} from stored events, without loading them as objects: in pieces of a
// few events, each within a turn of the store's queue of its own, so that nobody waits long for the store
// while a report of very many events is made.
class EventReportBuilder {
 public:
  // Key of the switch for in-app campaigns, which every event reports as it stands when the event leaves.
  static constexpr std::string_view inAppCampaignsActive = "kSORN_IN_APP_CAMPAIGNS_ACTIVE";

  EventReportBuilder(store::ManagedObjectContext& context, const platform::UserDefaults& defaults,
                     support::Logger& logger)
      : context_(context), defaults_(defaults), logger_(logger) {}

  // Not from the store's queue. Rows that are gone meanwhile are left out. Absent when some could not be
  // read: who took such a report for whole would delete what it never held.
  std::optional<platform::HttpBody> build(const store::RowRanges& events);

 private:
  // What an event tells about its user and its device, written out once for all events that share them, and
  // the last of the texts that neighbours often have in common.
  struct Shared {
    std::unordered_map<std::int64_t, std::string> users;
    std::unordered_map<std::int64_t, std::string> devices;
    std::string owners;  // both, of the last event's
    std::int64_t lastUser = 0;
    std::int64_t lastDevice = 0;
    RepeatedText type, category, action, campaignID, sessionID;
    bool areCampaignsActive = false;
  };

  void appendEvent(std::string& out, const store::RowView& event, Shared& shared);
  void appendExtra(std::string& out, const store::RowView& event, bool areCampaignsActive);
  std::string_view ownersMembers(std::int64_t user, std::int64_t device, Shared& shared);
  std::string_view userMember(std::int64_t row, Shared& shared);
  std::string_view deviceMembers(std::int64_t row, Shared& shared);

  store::ManagedObjectContext& context_;
  const platform::UserDefaults& defaults_;
  support::Logger& logger_;
};

}  // namespace sorn::sync
