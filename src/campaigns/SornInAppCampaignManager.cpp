#include "campaigns/SornInAppCampaignManager.h"

#include <limits>
#include <system_error>
#include <utility>

#include "store/entities/SNInAppCampaigns.h"
#include "support/AtomicFile.h"
#include "support/BoundedFile.h"
#include "support/Fault.h"
#include "support/json/Json.h"

namespace sorn::campaigns {

using store::SNInAppCampaigns;
using support::LogLevel;

namespace {

// Longest campaign file that is read.
constexpr std::size_t longestFile = std::size_t{64} << 20;

std::map<std::string, std::string, std::less<>> textsOf(const std::string* json) {
  std::map<std::string, std::string, std::less<>> texts;
  if (!json) return texts;
  const auto document = support::Document::parse(*json);
  if (!document) return texts;
  for (const auto& [key, value] : document->root().members()) {
    if (value.isText()) texts.emplace(key, value.text());
  }
  return texts;
}

}  // namespace

SornInAppCampaignManager::SornInAppCampaignManager(
    store::DBManager& database, server::PublishedFiles& published, const platform::Directories& directories,
    platform::UserDefaults& defaults, const support::Account& account, support::Logger& logger,
    CampaignPresenter& presenter, const sync::Authorization& authorization)
    : database_(database),
      published_(published),
      directories_(directories),
      defaults_(defaults),
      account_(account),
      logger_(logger),
      presenter_(presenter),
      authorization_(authorization) {}

std::shared_ptr<const CampaignIndex> SornInAppCampaignManager::campaigns() {
  std::call_once(loaded_, [this] { loadCampaigns(); });
  const std::lock_guard lock(mutex_);
  return index_;
}

void SornInAppCampaignManager::setCampaigns(documents::Campaigns campaigns) {
  auto index = std::make_shared<const CampaignIndex>(std::move(campaigns));
  const std::lock_guard lock(mutex_);
  index_.swap(index);
}

std::optional<std::filesystem::path> SornInAppCampaignManager::fileURL() const {
  const auto folders = directories_.applicationSupport();
  const auto key = account_.applicationKey();
  if (folders.empty() || !key) return std::nullopt;
  return folders.front() / (*key + "_" + std::string(fileName));
}

void SornInAppCampaignManager::loadCampaigns() {
  const auto file = fileURL();
  if (!file) {
    logger_.log(LogLevel::error, "Could not get fileURL for loading");
    return;
  }
  const auto fail = [this](const std::string& reason) {
    logger_.log(LogLevel::error, "Failed to load campaigns: " + reason);
  };
  const auto text = support::readBounded(*file, longestFile);
  if (!text) return fail(text.error().message());
  auto campaigns = documents::decodeCampaigns(*text);
  if (!campaigns) return fail(campaigns.error().description());
  setCampaigns(*std::move(campaigns));
}

// What is on the disk is read first, lest it take the place of the new list later.
void SornInAppCampaignManager::storeCampaigns(documents::Campaigns campaigns) {
  this->campaigns();
  const auto file = fileURL();
  if (!file) {
    logger_.log(LogLevel::error, "Could not get fileURL for storage");
  } else if (const auto reason = writeFile(campaigns, *file)) {
    logger_.log(LogLevel::error, [&] { return "Failed to store campaigns: " + *reason; });
  } else {
    logger_.log(LogLevel::info, [&] {
      return "Stored " + std::to_string(campaigns.size()) + " campaigns to: " + file->string();
    });
  }
  setCampaigns(std::move(campaigns));
}

// Why the file could not be written; absent when it was.
std::optional<std::string> SornInAppCampaignManager::writeFile(const documents::Campaigns& campaigns,
                                                               const std::filesystem::path& file) {
  const auto text = documents::encodeCampaigns(campaigns, support::Writer::Form::pretty);
  if (!text) return "a value that JSON cannot hold";
  const auto written = support::writeAtomically(file, *text);
  return written ? std::nullopt : std::optional(written.error().message());
}

void SornInAppCampaignManager::fetchRemoteCampaigns() {
  campaigns();  // while no event waits for the disk
  published_.fetchCampaigns([this](server::PublishedFiles::CampaignsResult result) {
    if (result) {
      storeCampaigns(*std::move(result));
    } else {
      logger_.logDescription(server::descriptionOf(result.error()), support::Forced::no);
    }
  });
}

void SornInAppCampaignManager::handleStoredEvent(const store::SNEvent& event) {
  const std::string* action = event.text(store::SNEvent::action);
  if (action && !campaigns()->mayAnswer(*action)) return;
  Occasion occasion;
  if (action) occasion.action = *action;
  occasion.texts = textsOf(event.text(store::SNEvent::extra));
  database_.context().performBlock([this, occasion = std::move(occasion)] { evaluate(occasion); });
}

void SornInAppCampaignManager::triggerInApp(const std::map<std::string, std::string>& userInfo) {
  Occasion occasion;
  occasion.texts.insert(userInfo.begin(), userInfo.end());
  database_.context().performBlock([this, occasion = std::move(occasion)] { evaluate(occasion); });
}

void SornInAppCampaignManager::evaluate(const Occasion& occasion) {
  const auto index = campaigns();
  const Wanted wanted = wantedBy(occasion);
  for (const SornInAppCampaign* campaign : index->candidates(wanted)) {
    if (!triggerMismatch(*campaign, wanted, occasion) && tryCandidate(*campaign)) return;
  }
}

bool SornInAppCampaignManager::tryCandidate(const SornInAppCampaign& campaign) {
  struct OfTheStore final : Circumstances {
    explicit OfTheStore(SornInAppCampaignManager& owner) : manager(owner) {}
    double now() override { return secondsSince1970(manager.database_.context().now()); }
    std::optional<double> lastOfAny() override {
      const std::optional<Value> last = manager.defaults_.object(lastPresentationDate);
      const Date* date = last ? last->as<Date>() : nullptr;
      return date ? std::optional(secondsSince1970(*date)) : std::nullopt;
    }
    // The record is there from now on, also when the campaign falls out after all.
    Counters countersOf(const SornInAppCampaign& asked) override {
      record = manager.database_.context().findOrCreate<SNInAppCampaigns>(
          store::assign(SNInAppCampaigns::id, asked.id));
      const std::optional<Date> last = record->get(SNInAppCampaigns::lastPresentation);
      return {last ? std::optional(secondsSince1970(*last)) : std::nullopt,
              record->get(SNInAppCampaigns::presentationCount)};
    }
    std::optional<std::int64_t> authorizationStatus() override {
      return manager.authorization_.authorizationStatus();
    }

    SornInAppCampaignManager& manager;
    std::shared_ptr<SNInAppCampaigns> record;
  };
  OfTheStore circumstances(*this);
  const Outcome outcome = outcomeOfTurn(campaign, circumstances);
  if (outcome == Outcome::push_prompt) {
    logger_.log(LogLevel::info,
                "The campaign is marked for push prompt but the user is already opted-in. Bailing out...");
  }
  if (outcome != Outcome::chosen) return false;
  present(campaign, *circumstances.record);
  return true;
}

// The counters are written before anybody knows whether the campaign finds the screen free: one that does not
// counts as shown all the same.
void SornInAppCampaignManager::present(const SornInAppCampaign& campaign, store::ManagedObject& counters) {
  const Date now = database_.context().now();
  counters.set(SNInAppCampaigns::lastPresentation, now);
  const std::int16_t count = counters.get(SNInAppCampaigns::presentationCount);
  if (count == std::numeric_limits<std::int16_t>::max()) support::fault("fewer than 32768 presentations");
  counters.set(SNInAppCampaigns::presentationCount, static_cast<std::int16_t>(count + 1));
  defaults_.set(lastPresentationDate, now);
  logger_.log(LogLevel::info, [&] { return "Found triggered campaign: " + campaign.id + "..."; });
  presenter_.present(campaign, 0);
  database_.addCampaignID(campaign.id);
  database_.saveContext();
}

}  // namespace sorn::campaigns
