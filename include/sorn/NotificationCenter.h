#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

#include "sorn/Export.h"
#include "sorn/Value.h"

namespace sorn {

// Names of the notifications that the library posts on `NotificationCenter::defaultCenter()`.
struct SornNotifications {
  SornNotifications() = delete;
  static constexpr std::string_view sornDidUpdateInboxNotification = "SornDidUpdateInboxNotification";
  static constexpr std::string_view sornUnreadCountUpdatedNotification =
      "SNSORN_UNREAD_COUNT_UPDATED_NOTIFICATION";
  static constexpr std::string_view sornCustomInAppCampaignButtonAction =
      "SornCustomInAppCampaignButtonAction";
  static constexpr std::string_view sornInAppConfigurationPushReceived = "SornInAppConfigurationPushReceived";
};

// Hands named notifications to whoever observes them. Safe to use from any thread.
class SORN_EXPORT NotificationCenter {
 public:
  using Observer = std::function<void(std::string_view name, const Dictionary& userInfo)>;
  using Token = std::uint64_t;

  // The centre that the library and its host share; lives as long as the process.
  static NotificationCenter& defaultCenter();

  // Observes notifications of exactly this name, until removed. Observers of one name are called in the order
  // in which they were added.
  Token addObserver(std::string_view name, Observer observer);
  // After the return no new call begins; one that is running on another thread may still end.
  void removeObserver(Token token);

  // Calls every observer on the calling thread, one after another, before it returns; no lock is held.
  void post(std::string_view name, const Dictionary& userInfo = {});

 private:
  struct Registration {
    Token token;
    std::shared_ptr<const Observer> observer;
  };

  std::mutex mutex_;
  Token lastToken_ = 0;
  std::map<std::string, std::vector<Registration>, std::less<>> registrations_;
};

}  // namespace sorn
