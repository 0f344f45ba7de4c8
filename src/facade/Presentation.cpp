#include "facade/Presentation.h"

#include <chrono>
#include <utility>

namespace sorn::facade {

void Presentation::setObserver(Observer observer) {
  const std::lock_guard lock(mutex_);
  observer_ = std::move(observer);
}

void Presentation::present(const documents::SornInAppCampaign& campaign, double after) {
  mainQueue_.postAfter(std::chrono::duration<double>(after), [this, campaign] { show(campaign); });
}

void Presentation::show(const documents::SornInAppCampaign& campaign) {
  Observer observer;
  {
    const std::lock_guard lock(mutex_);
    observer = observer_;
  }
  if (observer) {
    observer(campaign);
  } else {
    logger_.log(support::LogLevel::error, "Could not find a window scene to present the SornView...");
  }
}

}  // namespace sorn::facade
