#pragma once

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

namespace sorn::facade {

enum class SornMode : std::uint8_t { undefined, development, production };

// The plain fields of the facade that several threads touch.
class FacadeState {
 public:
  std::optional<std::string> customFontFamilyName() const {
    const std::lock_guard lock(mutex_);
    return customFontFamilyName_;
  }
  void setCustomFontFamilyName(std::optional<std::string> family) {
    const std::lock_guard lock(mutex_);
    customFontFamilyName_ = std::move(family);
  }

  std::atomic<bool> deeplinkDismissesCampaigns = true;
  std::atomic<SornMode> mode = SornMode::undefined;  // until the hand-over of a start has run
  std::atomic<bool> didStart = false;

 private:
  mutable std::mutex mutex_;
  std::optional<std::string> customFontFamilyName_;
};

}  // namespace sorn::facade
