#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "documents/ActivePlace.h"
#include "documents/SornInAppCampaign.h"
#include "server/APIError.h"
#include "sorn/SornError.h"
#include "sorn/platform/Clock.h"
#include "sorn/platform/Deployment.h"
#include "sorn/platform/UserDefaults.h"
#include "support/Account.h"
#include "support/Logger.h"
#include "support/Result.h"
#include "support/Tasks.h"

namespace sorn::server {

// A list of places that was published, with the version of its file.
struct PublishedPlaces {
  std::vector<documents::ActivePlace> places;
  std::string etag;
  std::int64_t timestamp = 0;
};

// Keeps a list of places that has come.
class PlaceSave {
 public:
  virtual ~PlaceSave() = default;
  // On the task thread.
  virtual void savePlaces(const PublishedPlaces& published) = 0;
};

// The two documents that an account publishes on an object storage: its active campaigns and its active
// places. Plain GETs without a signature. Any thread; completions run on the task thread.
class PublishedFiles {
 public:
  // Key of the defaults with the moment of the last attempt to get the places.
  static constexpr std::string_view lastActivePlaces = "kSORN_LAST_ACTIVE_PLACES";
  static constexpr double placesInterval = 3600.0;  // seconds between two attempts
  static constexpr std::chrono::duration<double> storageTimeout{60.0};

  // Why there are no campaigns: the library's own error, a decoding failure, or a transport error.
  using CampaignsError = std::variant<SornError, documents::DecodingFailure, PlatformError>;
  using CampaignsFailure = support::Failure<CampaignsError>;
  using CampaignsResult = support::Result<documents::Campaigns, CampaignsError>;

  PublishedFiles(const support::Account& account, const platform::Deployment& deployment,
                 platform::UserDefaults& defaults, const platform::Clock& clock, support::Tasks& tasks,
                 support::Logger& logger, PlaceSave& placeSave);

  void fetchCampaigns(std::function<void(CampaignsResult)> completion);
  // At most one attempt an hour, a failed one counted. What came is handed to the save, unless the document
  // cannot be decoded or lacks its etag or time stamp. The completion runs on every way out.
  void fetchActivePlaces(std::function<void()> completion);

 private:
  std::optional<std::string> objectUrl(std::string_view folder, std::string_view file,
                                       std::string_view failureLine) const;
  CampaignsResult campaignsOf(platform::HttpTransport::Result result);
  void takePlaces(const platform::HttpTransport::Result& result);
  platform::HttpRequest get(std::string url) const;

  const support::Account& account_;
  const platform::Deployment& deployment_;
  platform::UserDefaults& defaults_;
  const platform::Clock& clock_;
  support::Tasks& tasks_;
  support::Logger& logger_;
  PlaceSave& placeSave_;
};

std::string descriptionOf(const PublishedFiles::CampaignsError& error);

}  // namespace sorn::server
