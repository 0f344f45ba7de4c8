#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "documents/SornInAppCampaign.h"

// The checks that decide about a campaign, each a pure function. The manager and the tool that explains its
// decisions both go by them.
namespace sorn::campaigns {

using documents::SornInAppCampaign;

// What may trigger a campaign: a stored event by its action, or, without one, a call of the host with a
// dictionary of texts.
struct Occasion {
  std::optional<std::string> action;
  std::map<std::string, std::string, std::less<>> texts;  // the texts of the dictionary
};

// How a campaign fared in one evaluation: where it fell out, or that it was chosen.
enum class Outcome : std::uint8_t {
  paused,
  audience,
  version,
  trigger,
  attributes,
  delay,
  frequency,
  push_prompt,
  chosen,
  after_chosen,  // it might have been, had not another one been chosen before it
};

std::string_view nameOf(Outcome outcome);

// Why the campaign takes no part in any evaluation; absent when it does.
std::optional<Outcome> ineligibility(const SornInAppCampaign& campaign);

// Which of the four kinds of candidates the occasion asks for, and the target that they must have.
struct Wanted {
  SornInAppCampaign::Trigger::TriggerType type;
  std::optional<std::string> target;  // compared for `screen` and `event`
};
Wanted wantedBy(const Occasion& occasion);

// Why the campaign's trigger does not answer the occasion; absent when it does.
std::optional<Outcome> triggerMismatch(const SornInAppCampaign& campaign, const Wanted& wanted,
                                       const Occasion& occasion);
// Whether the conditions hold on the dictionary. Everything is compared as text, by code unit. A key that is
// missing, or that names a path with points, has no value: "!=" holds for it and nothing else.
bool attributesHold(const SornInAppCampaign::Trigger& trigger, const Occasion& occasion);

// Moments in seconds since 1970.
bool delayHolds(const SornInAppCampaign& campaign, std::optional<double> lastOfAny, double now);
bool frequencyHolds(const SornInAppCampaign& campaign, std::optional<double> lastPresentation,
                    std::int64_t presentationCount, double now);
// A campaign that asks for push permission is pointless once it is granted; the status is absent while it is
// not known.
bool pushPromptHolds(const SornInAppCampaign& campaign, std::optional<std::int64_t> authorizationStatus);

// How often a campaign was presented, and when last.
struct Counters {
  std::optional<double> last;
  std::int64_t count = 0;
};

// What the checks need to know of the moment, each asked for only when a check comes to it.
class Circumstances {
 public:
  virtual ~Circumstances() = default;
  virtual double now() = 0;
  virtual std::optional<double> lastOfAny() = 0;
  virtual Counters countersOf(const SornInAppCampaign& campaign) = 0;
  virtual std::optional<std::int64_t> authorizationStatus() = 0;
};

// How a candidate fares when its turn has come: the first of the three that it fails, in this order, or that
// it is chosen.
Outcome outcomeOfTurn(const SornInAppCampaign& candidate, Circumstances& circumstances);

inline std::int64_t priorityOf(const SornInAppCampaign& campaign) { return campaign.priority.value_or(0); }

}  // namespace sorn::campaigns
