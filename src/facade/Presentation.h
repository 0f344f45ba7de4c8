#pragma once

#include <functional>
#include <mutex>
#include <string>

#include "campaigns/SornInAppCampaignManager.h"
#include "sorn/platform/MainQueue.h"
#include "support/Logger.h"

namespace sorn::facade {

// Where a selected campaign goes. Without a window it is refused with a line in the log, unless a program
// that is built with the library asked to be told instead.
class Presentation final : public campaigns::CampaignPresenter {
 public:
  using Observer = std::function<void(const documents::SornInAppCampaign&)>;

  Presentation(platform::MainQueue& mainQueue, support::Logger& logger)
      : mainQueue_(mainQueue), logger_(logger) {}

  void present(const documents::SornInAppCampaign& campaign, double after) override;
  // Called on the main queue.
  void setObserver(Observer observer);

 private:
  void show(const documents::SornInAppCampaign& campaign);

  platform::MainQueue& mainQueue_;
  support::Logger& logger_;
  std::mutex mutex_;
  Observer observer_;
};

}  // namespace sorn::facade
