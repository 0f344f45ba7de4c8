// `sorn-campaign explain`: which campaign of a file an occasion would choose, and at which check each other
// one fell out. By the library's own decoder and checks.

#include <charconv>
#include <chrono>
#include <cstdio>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "campaigns/CampaignIndex.h"
#include "sorn-campaign/CampaignFile.h"
#include "sorn-campaign/Options.h"
#include "sorn-campaign/Subcommand.h"
#include "support/json/Json.h"
#include "support/json/JsonWriter.h"

namespace sorn::tool {

namespace {

using campaigns::CampaignIndex;
using campaigns::Counters;
using campaigns::Outcome;
using documents::Campaigns;
using documents::SornInAppCampaign;

struct Question {
  std::string file;
  campaigns::Occasion occasion;
  bool hasEvent = false;
  bool hasTrigger = false;
  bool hasInfo = false;
  double now = std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
  std::optional<double> last;
  std::map<std::string, Counters, std::less<>> counters;
  std::optional<std::int64_t> settings;
};

template <class Number>
bool readNumber(std::string_view text, Number& number) {
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size();
}

// The members that are texts; false when the text is no JSON object.
bool readTexts(std::string_view json, campaigns::Occasion& occasion) {
  const auto document = support::Document::parse(json);
  if (!document || !document->root().isObject()) return false;
  for (const auto& [key, value] : document->root().members()) {
    if (value.isText()) occasion.texts.emplace(key, value.text());
  }
  return true;
}

bool readState(std::string_view json, Question& question) {
  const auto document = support::Document::parse(json);
  if (!document || !document->root().isObject()) return false;
  if (const auto last = document->root().find("last")) question.last = last->castDouble();
  const auto campaigns = document->root().find("campaigns");
  if (!campaigns) return true;
  for (const auto& [id, state] : campaigns->members()) {
    Counters& counters = question.counters[std::string(id)];
    if (const auto last = state.find("last")) counters.last = last->castDouble();
    if (const auto count = state.find("count")) counters.count = count->castInteger().value_or(0);
  }
  return campaigns->isObject();
}

Taken readOption(std::string_view option, std::string_view value, Question& question) {
  bool isRead = false;
  if (option == "--event") {
    question.occasion.action = value;
    question.hasEvent = isRead = true;
  } else if (option == "--trigger") {
    question.hasTrigger = isRead = readTexts(value, question.occasion);
  } else if (option == "--info") {
    question.hasInfo = isRead = readTexts(value, question.occasion);
  } else if (option == "--now") {
    isRead = readNumber(value, question.now);
  } else if (option == "--state") {
    isRead = readState(value, question);
  } else if (option == "--settings") {
    isRead = readNumber(value, question.settings.emplace());
  } else {
    return Taken::unknown;
  }
  return isRead ? Taken::withValue : Taken::refused;
}

std::optional<std::string> readArguments(Arguments arguments, Question& question) {
  const auto handler = [&](auto option, auto value) { return readOption(option, value, question); };
  if (auto reason = readOptions(arguments, question.file, handler)) return reason;
  if (question.hasEvent == question.hasTrigger) return "either --event or --trigger is wanted";
  if (question.hasInfo && question.hasTrigger) return "--info goes with --event";
  return std::nullopt;
}

class OfTheQuestion final : public campaigns::Circumstances {
 public:
  explicit OfTheQuestion(const Question& question) : question_(question) {}
  double now() override { return question_.now; }
  std::optional<double> lastOfAny() override { return question_.last; }
  Counters countersOf(const SornInAppCampaign& campaign) override {
    const auto found = question_.counters.find(campaign.id);
    return found == question_.counters.end() ? Counters() : found->second;
  }
  std::optional<std::int64_t> authorizationStatus() override { return question_.settings; }

 private:
  const Question& question_;
};

std::vector<Outcome> outcomesOf(const CampaignIndex& index, const Question& question) {
  const campaigns::Wanted wanted = campaigns::wantedBy(question.occasion);
  const auto mismatch = [&](const SornInAppCampaign& campaign) {
    const auto found = campaigns::ineligibility(campaign);
    return found ? found : campaigns::triggerMismatch(campaign, wanted, question.occasion);
  };
  std::vector<Outcome> outcomes;
  for (const SornInAppCampaign& campaign : index.campaigns())
    outcomes.push_back(mismatch(campaign).value_or(Outcome::after_chosen));
  OfTheQuestion circumstances(question);
  for (const SornInAppCampaign* candidate : index.candidates(wanted)) {
    if (mismatch(*candidate)) continue;
    Outcome& outcome = outcomes[static_cast<std::size_t>(candidate - index.campaigns().data())];
    outcome = campaigns::outcomeOfTurn(*candidate, circumstances);
    if (outcome == Outcome::chosen) break;
  }
  return outcomes;
}

void print(const Campaigns& campaigns, const std::vector<Outcome>& outcomes) {
  for (std::size_t at = 0; at < campaigns.size(); ++at) {
    std::string line;
    support::Writer writer(line);
    writer.beginObject();
    writer.key("id");
    writer.text(campaigns[at].id);
    writer.key("outcome");
    writer.text(campaigns::nameOf(outcomes[at]));
    writer.endObject();
    std::printf("%s\n", line.c_str());
  }
}

}  // namespace

int runExplain(Arguments arguments) {
  Question question;
  if (const auto reason = readArguments(arguments, question)) return refuse(*reason);
  auto campaigns = readCampaigns(question.file);
  if (!campaigns) return failed;
  const CampaignIndex index(*std::move(campaigns));
  print(index.campaigns(), outcomesOf(index, question));
  return done;
}

}  // namespace sorn::tool
