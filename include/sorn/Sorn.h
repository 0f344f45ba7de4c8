#pragma once

#include <memory>
#include <optional>
#include <string>

#include "sorn/Export.h"
#include "sorn/NotificationCenter.h"
#include "sorn/SornError.h"
#include "sorn/Value.h"
#include "sorn/platform/Platform.h"

namespace sorn {

namespace facade {
class Library;
}

// The library as its host sees it: start it once, early, and report what happens. Operations are safe to call
// from any thread, return soon, and never wait for the network. Failures of synchronous operations are thrown
// as `SornError`; each is written to the system log first where the operation says so.
//
// After a `fork` without an `exec` the child's copy refuses work with `serviceUnavailable`.
class SORN_EXPORT Sorn {
 public:
  // The one instance of this process. The first call makes it, with the ports given to `platform::install` or
  // else the headless ones of Linux; it lives until the process ends.
  static Sorn& manager();

  Sorn(const Sorn&) = delete;
  Sorn& operator=(const Sorn&) = delete;

  // Reads the credentials from the property list of this name ("name" or "name.plist") among the host's
  // resources, and sets the library going. Returns before anything is on the disk or on the network; work
  // that needs longer runs on the library's own threads. Does nothing once the library has started.
  //
  // Throws, in the order of the checks, `invalidConfigurationFile` (no such resource, unreadable, no
  // dictionary of strings), `invalidConfigurationArguments` (one of "application_key", "application_secret",
  // "mode" and "environment" is missing), `undefinedMode` (neither "development" nor "production"),
  // `invalidAppKey`, `invalidAppSecret` and `invalidEnvironment` (not Base64, blank or no text once
  // deciphered). A file whose enciphered values were tampered with ends the process.
  void start(const std::string& configurationFile);

  // Font family for campaign texts whose layout asks for the host's own; absent at first.
  std::optional<std::string> customFontFamilyName() const;
  void setCustomFontFamilyName(std::optional<std::string> family);

  // Whether opening a deep link closes a visible campaign; true at first.
  bool deeplinkDismissesCampaigns() const;
  void setDeeplinkDismissesCampaigns(bool dismisses);

  // The switch for in-app campaigns, kept across restarts; on at first. Every event reports its state.
  void enableInAppCampaigns();
  void disableInAppCampaigns();

  // Records an event and returns when it is stored. Category and action have 2 to 51 characters: any first
  // one but "+", then printable ASCII without the backslash. Keys of `data` are words (letters, digits,
  // underscores); values are booleans, numbers, dates, and texts that do not begin with "$".
  //
  // Throws `featureNotEnabled` when the account reports no usage, `invalidCategory`, `invalidAction`, and
  // `invalidExtraData` for any fault of `data`, whose exact reason is then in the system log. A refused event
  // leaves no trace.
  void logEventWith(const std::string& category, const std::string& action,
                    const std::optional<Dictionary>& data = std::nullopt);

  // Records that a screen was opened. The name is a path of parts with 1 to 50 printable ASCII characters
  // each, joined by points. Returns before the event is stored.
  //
  // Throws `featureNotEnabled`, `invalidScreenName`, and for a fault of `data` the exact reason:
  // `emptyExtraKey`, `invalidExtraKey` or `invalidExtraValue`.
  void logScreenWithName(const std::string& name, const std::optional<Dictionary>& data = std::nullopt);

 private:
  friend class facade::Library;
  explicit Sorn(facade::Library& library) : library_(library) {}

  facade::Library& library_;
};

}  // namespace sorn
