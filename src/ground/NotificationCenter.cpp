#include "sorn/NotificationCenter.h"

#include <algorithm>

namespace sorn {

NotificationCenter& NotificationCenter::defaultCenter() {
  // Never released: threads may still post while the host's static objects die.
  static NotificationCenter* const center = new NotificationCenter();
  return *center;
}

NotificationCenter::Token NotificationCenter::addObserver(std::string_view name, Observer observer) {
  auto shared = std::make_shared<const Observer>(std::move(observer));
  const std::lock_guard lock(mutex_);
  const Token token = ++lastToken_;
  registrations_[std::string(name)].push_back({token, std::move(shared)});
  return token;
}

void NotificationCenter::removeObserver(Token token) {
  // The observer dies after the lock is released: its captures may call back.
  std::shared_ptr<const Observer> removed;
  const std::lock_guard lock(mutex_);
  for (auto entry = registrations_.begin(); entry != registrations_.end(); ++entry) {
    auto& list = entry->second;
    const auto found = std::find_if(list.begin(), list.end(),
                                    [token](const Registration& one) { return one.token == token; });
    if (found == list.end()) continue;
    removed = std::move(found->observer);
    list.erase(found);
    if (list.empty()) registrations_.erase(entry);
    return;
  }
}

void NotificationCenter::post(std::string_view name, const Dictionary& userInfo) {
  std::vector<Registration> called;
  {
    const std::lock_guard lock(mutex_);
    const auto found = registrations_.find(name);
    if (found == registrations_.end()) return;
    called = found->second;
  }
  for (const Registration& registration : called) {
    {
      // An observer that went meanwhile, perhaps removed by the one before it, is not called any more.
      const std::lock_guard lock(mutex_);
      const auto found = registrations_.find(name);
      if (found == registrations_.end()) return;
      const bool stands =
          std::any_of(found->second.begin(), found->second.end(),
                      [&](const Registration& one) { return one.token == registration.token; });
      if (!stands) continue;
    }
    if (*registration.observer) (*registration.observer)(name, userInfo);
  }
}

}  // namespace sorn
