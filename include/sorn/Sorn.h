#pragma once

#include <exception>
#include <functional>
#include <future>
#include <map>
#include <optional>
#include <string>
#include <vector>

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
// as `SornError`; each is written to the system log first.
//
// After a `fork` without an `exec` the child's copy refuses work with `serviceUnavailable`; its lifecycle
// hooks do nothing.
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
  // Shows the campaign, if there is one, whose trigger asks for this call and whose conditions hold on the
  // dictionary. Returns at once. After a successful start.
  void triggerInApp(const std::map<std::string, std::string>& userInfo);

  // Identifier of the anonymous user that is active until the host names one: the last 36 characters of the
  // device's identifier. A programming error, which ends the process, before the first start.
  std::string defaultUser() const;

  // Makes this user the active one and tells the service. The future is ready, and the completion called on
  // the library's task thread, when the user is stored; the call to the service goes on by itself and is
  // repeated until it succeeds. Fails with `maxUserIDReached` for 500 bytes of UTF-8 or more; the completion
  // otherwise gets a null pointer. Logging in the user who is active and known to the service does nothing.
  std::future<void> loginUser(std::string id);
  void loginUser(std::string id, std::function<void(std::exception_ptr)> completion);
  // Goes back to the default user. Returns at once.
  void logoutUser();

  // Replaces the tags of the application and tells the service; order does not matter. Throws
  // `maxTagsReached` for more than 30 tags and `maxTagLengthReached` for one of more than 60 bytes of UTF-8.
  void registerPreferences(const std::vector<std::string>& tags);

  // Records an event and returns when it is stored. A host calls it after a successful start; before, it is a
  // programming error and ends the process. Category and action have 2 to 51 characters: any first
  // one but "+", then printable ASCII without the backslash. Keys of `data` are words (letters, digits,
  // underscores); values are booleans, numbers, dates, and texts that do not begin with "$".
  //
  // Throws `featureNotEnabled` when the account reports no usage, `invalidCategory`, `invalidAction`, and
  // `invalidExtraData` for any fault of `data`, whose exact reason is then in the system log. A refused event
  // leaves no trace.
  void logEventWith(const std::string& category, const std::string& action,
                    const std::optional<Dictionary>& data = std::nullopt);

  // When the view that shows a screen logs it: at its first appearance, or at each (see `SornScreen`).
  enum class LogScreenMode { onLoad, onAppear };

  // Records that a screen was opened. The name is a path of parts with 1 to 50 printable ASCII characters
  // each, joined by points. Returns before the event is stored.
  //
  // Throws `featureNotEnabled`, `invalidScreenName`, and for a fault of `data` the exact reason:
  // `invalidExtraKey` (an empty key as well) or `invalidExtraValue`.
  void logScreenWithName(const std::string& name, const std::optional<Dictionary>& data = std::nullopt);

  // The application's state, for hosts without an adapter that reports it. Call them from the main thread,
  // after a successful start. A session lasts from the launch or the return to the foreground until the
  // background or the end. All return at once, except the one for termination, which waits until the closing
  // event is stored.
  void applicationDidFinishLaunching();
  void applicationDidBecomeActive();
  void applicationWillResignActive();
  void applicationDidEnterBackground();
  void applicationWillEnterForeground();
  void applicationWillTerminate();
  void applicationBackgroundRefreshStatusDidChange();
  void userDefaultsDidChange();

 private:
  friend class facade::Library;
  explicit Sorn(facade::Library& library) : library_(library) {}

  facade::Library& library_;
};

}  // namespace sorn
