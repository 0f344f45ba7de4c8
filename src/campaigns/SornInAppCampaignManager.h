#pragma once

#include <cstdint>
#include <filesystem>
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
#include "sync/Authorization.h"
#include "sync/EventRecorder.h"

namespace sorn::campaigns {

// Shows campaigns.
class CampaignPresenter {
 public:
  virtual ~CampaignPresenter() = default;
  // Shows the campaign after so many seconds; returns at once. Any thread.
  virtual void present(const SornInAppCampaign& campaign, double after) = 0;
};

// Keeps the application's campaigns, on disk and in memory, and decides after each event whether one of them
// is shown. One evaluation shows at most one campaign. The file is the account's,
// so it is read on first use, when the credentials are known. Any thread; evaluations run on the store's
// queue.
class SornInAppCampaignManager final : public sync::StoredEventObserver {
 public:
  static constexpr std::string_view fileName = "inAppCampaigns.json";
  // Key of the defaults with the moment at which any campaign was last presented.
  static constexpr std::string_view lastPresentationDate = "kSORN_LAST_INAPP_CAMPAIGN_PRESENTATION_DATE";

  SornInAppCampaignManager(store::DBManager& database, server::PublishedFiles& published,
                           const platform::Directories& directories, platform::UserDefaults& defaults,
                           const support::Account& account, support::Logger& logger,
                           CampaignPresenter& presenter, const sync::Authorization& authorization);

  std::shared_ptr<const CampaignIndex> campaigns();
  // Replaces the list, and the file as a whole. The list in memory follows even when the file cannot be
  // written.
  void storeCampaigns(documents::Campaigns campaigns);
  // Gets the published list; on failure what was there stays.
  void fetchRemoteCampaigns();

  // Looks for a campaign that the event triggers. Costs a look-up when there can be none.
  void handleStoredEvent(const store::SNEvent& event) override;
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
  CampaignPresenter& presenter_;
  const sync::Authorization& authorization_;

  std::once_flag loaded_;
  std::mutex mutex_;
  std::shared_ptr<const CampaignIndex> index_ = std::make_shared<const CampaignIndex>();
};

}  // namespace sorn::campaigns
