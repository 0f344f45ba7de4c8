#include "server/PublishedFiles.h"

#include <charconv>
#include <cmath>
#include <utility>

#include "support/Url.h"

namespace sorn::server {

using platform::HttpResponse;
using platform::TransportError;
using support::Forced;
using support::LogLevel;

namespace {

// A decimal integer with an optional sign and nothing else.
std::optional<std::int64_t> decimalInteger(std::string_view text) {
  if (text.starts_with('+') && text.size() > 1 && text[1] != '-') text.remove_prefix(1);
  std::int64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

// The first label of a host name; empty pieces do not count.
std::string_view firstLabel(std::string_view host) {
  const std::size_t begin = std::min(host.find_first_not_of('.'), host.size());
  return host.substr(begin, host.find('.', begin) - begin);
}

}  // namespace

std::string descriptionOf(const PublishedFiles::CampaignsError& error) {
  if (const auto* own = std::get_if<SornError>(&error)) return own->localizedDescription();
  if (const auto* decoding = std::get_if<documents::DecodingFailure>(&error)) return decoding->description();
  return std::get<PlatformError>(error).localizedDescription();
}

PublishedFiles::PublishedFiles(const support::Account& account, const platform::Deployment& deployment,
                               platform::UserDefaults& defaults, const platform::Clock& clock,
                               support::Tasks& tasks, support::Logger& logger, PlaceSave& placeSave)
    : account_(account),
      deployment_(deployment),
      defaults_(defaults),
      clock_(clock),
      tasks_(tasks),
      logger_(logger),
      placeSave_(placeSave) {}

// The bucket is named after the first label of the service's host, so a deployment needs no further setting.
std::optional<std::string> PublishedFiles::objectUrl(std::string_view folder, std::string_view file,
                                                     std::string_view failureLine) const {
  const auto credentials = account_.credentials();
  const auto base = credentials ? support::Url::parse(credentials->baseURL) : std::nullopt;
  const auto host = base ? base->host() : std::nullopt;
  const std::string_view bucket = host ? firstLabel(*host) : std::string_view();
  if (bucket.empty()) {
    logger_.log(LogLevel::error, "Cannot get components from base url");
    return std::nullopt;
  }
  std::string url = deployment_.storageOrigin + "/" + std::string(bucket) + deployment_.storageDomainPart;
  url.append(folder).append(credentials->applicationKey).append(file);
  if (!support::Url::parse(url)) {
    logger_.log(LogLevel::error, failureLine);
    return std::nullopt;
  }
  return url;
}

platform::HttpRequest PublishedFiles::get(std::string url) const {
  platform::HttpRequest request;
  request.method = "GET";
  request.url = std::move(url);
  request.idleTimeout = storageTimeout;
  return request;
}

void PublishedFiles::fetchCampaigns(std::function<void(CampaignsResult)> completion) {
  logger_.log(LogLevel::info, "Fetching in-app configuration...");
  std::optional<std::string> url =
      objectUrl("/inapp/public/", "/active.json.gz", "Could not construct in-app campaign URL");
  if (!url) {
    tasks_.post([completion = std::move(completion)] {
      completion(CampaignsFailure(SornError::plain(SornError::Code::invalidInAppCampaignData)));
    });
    return;
  }
  tasks_.send(get(*std::move(url)),
              [this, completion = std::move(completion)](platform::HttpTransport::Result result) {
                completion(campaignsOf(std::move(result)));
              });
}

// The status is not looked at: an error page fails at decoding.
PublishedFiles::CampaignsResult PublishedFiles::campaignsOf(platform::HttpTransport::Result result) {
  if (const auto* error = std::get_if<TransportError>(&result)) {
    return CampaignsFailure(PlatformError{PlatformError::transportDomain, error->code});
  }
  auto campaigns = documents::decodeCampaigns(std::get<HttpResponse>(result).body);
  if (!campaigns) return CampaignsFailure(std::move(campaigns).error());
  logger_.log(LogLevel::info,
              [&] { return "Fetched " + std::to_string(campaigns->size()) + " in-app campaigns"; });
  return *std::move(campaigns);
}

void PublishedFiles::fetchActivePlaces(std::function<void()> completion) {
  logger_.log(LogLevel::info, "Fetching active places...");
  const Date now = clock_.now();
  const std::optional<Value> last = defaults_.object(lastActivePlaces);
  const Date* lastDate = last ? last->as<Date>() : nullptr;
  if (lastDate && std::abs((now - *lastDate).count()) < placesInterval) {
    logger_.log(LogLevel::info, "Bailing out. We have checked for a file recently...");
    tasks_.post(std::move(completion));
    return;
  }
  // Before the request, so that a failed attempt counts for the hour.
  defaults_.set(lastActivePlaces, now);
  std::optional<std::string> url =
      objectUrl("/places/", "/active_places.json.gz", "Cannot construct places url");
  if (!url) {
    logger_.log(SornError::plain(SornError::Code::invalidPlaceData), Forced::no);
    tasks_.post(std::move(completion));
    return;
  }
  tasks_.send(get(*std::move(url)),
              [this, completion = std::move(completion)](const platform::HttpTransport::Result& result) {
                takePlaces(result);
                completion();
              });
}

void PublishedFiles::takePlaces(const platform::HttpTransport::Result& result) {
  const auto* response = std::get_if<HttpResponse>(&result);
  if (!response) {
    logger_.log(SornError::plain(SornError::Code::invalidPlaceData), Forced::no);
    return;
  }
  const auto etag = response->header("Etag");
  const auto timestamp = decimalInteger(response->header("x-goog-meta-timestamp").value_or("0"));
  auto decoded = documents::decodePlaces(response->body);
  if (!decoded) {
    logger_.logDescription(decoded.error().description(), Forced::no);
    return;
  }
  if (etag && timestamp) placeSave_.savePlaces({*std::move(decoded), std::string(*etag), *timestamp});
}

}  // namespace sorn::server
