#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>

#include "campaigns/CampaignIndex.h"
#include "server/PublishedFiles.h"
#include "sorn/platform/Directories.h"
#include "sorn/platform/UserDefaults.h"
#include "store/DBManager.h"
#include "store/entities/SNEvent.h"
#include "support/Account.h"
#include "support/Logger.h"

namespace sorn::campaigns {

// Keeps the application's campaigns, on disk and in memory, and decides after each event whether one of them
// is shown. One evaluation shows at most one campaign. Made after the credentials are known, since the file
// is theirs. Any thread; evaluations run on the store's queue.
class SornInAppCampaignManager {
 public:
  static constexpr std::string_view fileName = "inAppCampaigns.json";
  // Key of the defaults with the moment at which any campaign was last presented.
  static constexpr std::string_view lastPresentationDate = "kSORN_LAST_INAPP_CAMPAIGN_PRESENTATION_DATE";

  struct Handlers {
    // Shows the campaign after so many seconds; returns at once.
    std::function<void(const SornInAppCampaign&, double after)> present;
    // The notification authorization as last read; absent while it is not known.
    std::function<std::optional<std::int64_t>()> authorizationStatus;
  };

  SornInAppCampaignManager(store::DBManager& database, server::PublishedFiles& published,
                           const platform::Directories& directories, platform::UserDefaults& defaults,
                           const support::Account& account, support::Logger& logger, Handlers handlers);

  std::shared_ptr<const CampaignIndex> campaigns() const;
  // Replaces the list, and the file as a whole. The list in memory follows even when the file cannot be
  // written.
  void storeCampaigns(documents::Campaigns campaigns);
  // Gets the published list; on failure what was there stays.
  void fetchRemoteCampaigns();

  // Looks for a campaign that the event triggers. Costs a look-up when there can be none.
  void handleStoredEvent(const store::SNEvent& event);
  void triggerInApp(const std::map<std::string, std::string>& userInfo);

 private:
  void loadCampaigns();
  std::optional<std::filesystem::path> fileURL() const;
  std::optional<std::string> writeFile(const documents::Campaigns& campaigns,
                                       const std::filesystem::path& file);
  void setCampaigns(documents::Campaigns campaigns);
  void evaluate(const Occasion& occasion);
  // Whether the campaign passes all that depends on the moment.
  bool tryCandidate(const SornInAppCampaign& campaign);
  void present(const SornInAppCampaign& campaign, store::ManagedObject& counters);

  store::DBManager& database_;
  server::PublishedFiles& published_;
  const platform::Directories& directories_;
  platform::UserDefaults& defaults_;
  const support::Account& account_;
  support::Logger& logger_;
  const Handlers handlers_;

  mutable std::mutex mutex_;
  std::shared_ptr<const CampaignIndex> index_ = std::make_shared<const CampaignIndex>();
};

}  // namespace sorn::campaigns
