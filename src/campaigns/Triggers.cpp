#include "campaigns/Triggers.h"

#include <algorithm>

#include "documents/EventCatalogue.h"

namespace sorn::campaigns {

namespace {

using Trigger = SornInAppCampaign::Trigger;
using TriggerType = Trigger::TriggerType;
using Operator = Trigger::Attribute::Operator;
using Frequency = SornInAppCampaign::Frequency;

// The value of the platform's "authorized".
constexpr std::int64_t authorized = 2;

bool holds(Operator operation, const std::string* value, const std::string& other) {
  if (!value) return operation == Operator::notEqual;
  switch (operation) {
    case Operator::greaterThan:
      return *value > other;
    case Operator::greaterThanOrEqual:
      return *value >= other;
    case Operator::equal:
      return *value == other;
    case Operator::notEqual:
      return *value != other;
    case Operator::lessThan:
      return *value < other;
    case Operator::lessThanOrEqual:
      return *value <= other;
  }
  return false;
}

}  // namespace

std::string_view nameOf(Outcome outcome) {
  switch (outcome) {
    case Outcome::paused:
      return "paused";
    case Outcome::audience:
      return "audience";
    case Outcome::version:
      return "version";
    case Outcome::trigger:
      return "trigger";
    case Outcome::attributes:
      return "attributes";
    case Outcome::delay:
      return "delay";
    case Outcome::frequency:
      return "frequency";
    case Outcome::push_prompt:
      return "push_prompt";
    case Outcome::chosen:
      return "chosen";
    case Outcome::after_chosen:
      return "after_chosen";
  }
  return "";
}

std::optional<Outcome> ineligibility(const SornInAppCampaign& campaign) {
  if (campaign.paused.value_or(false)) return Outcome::paused;
  if (campaign.audience == SornInAppCampaign::Audience::android) return Outcome::audience;
  if (campaign.version.ios > documents::layoutEngineVersion) return Outcome::version;
  return std::nullopt;
}

Wanted wantedBy(const Occasion& occasion) {
  using documents::EventAction;
  if (!occasion.action) return {TriggerType::inApp, std::nullopt};
  if (*occasion.action == EventAction::appOpened) return {TriggerType::appOpen, std::nullopt};
  if (*occasion.action == EventAction::screenOpened) {
    const auto screen = occasion.texts.find("screen_name");
    if (screen != occasion.texts.end()) return {TriggerType::screen, screen->second};
  }
  return {TriggerType::event, occasion.action};
}

std::optional<Outcome> triggerMismatch(const SornInAppCampaign& campaign, const Wanted& wanted,
                                       const Occasion& occasion) {
  if (!campaign.trigger || campaign.trigger->type != wanted.type) return Outcome::trigger;
  if (wanted.target && campaign.trigger->target != wanted.target) return Outcome::trigger;
  if (wanted.type == TriggerType::inApp && !attributesHold(*campaign.trigger, occasion)) {
    return Outcome::attributes;
  }
  return std::nullopt;
}

bool attributesHold(const Trigger& trigger, const Occasion& occasion) {
  if (!trigger.attributes) return true;
  return std::ranges::all_of(*trigger.attributes, [&](const Trigger::Attribute& attribute) {
    const bool isPath = attribute.key.find('.') != std::string::npos;
    const auto found = isPath ? occasion.texts.end() : occasion.texts.find(attribute.key);
    return holds(attribute.operation, found == occasion.texts.end() ? nullptr : &found->second,
                 attribute.value);
  });
}

bool delayHolds(const SornInAppCampaign& campaign, std::optional<double> lastOfAny, double now) {
  const double delay =
      campaign.trigger_metadata ? campaign.trigger_metadata->last_in_app_delay.value_or(0) : 0;
  return !lastOfAny || now - *lastOfAny >= delay;
}

bool frequencyHolds(const SornInAppCampaign& campaign, std::optional<double> lastPresentation,
                    std::int64_t presentationCount, double now) {
  if (!campaign.frequency) return true;
  switch (campaign.frequency->type) {
    case Frequency::Type::every_time:
      return true;
    case Frequency::Type::once:
      return !lastPresentation;
    case Frequency::Type::multiple_times: {
      const Frequency::Details details = campaign.frequency->details.value_or(Frequency::Details());
      return details.times > presentationCount && details.gap <= now - lastPresentation.value_or(0);
    }
  }
  return false;
}

bool pushPromptHolds(const SornInAppCampaign& campaign, std::optional<std::int64_t> authorizationStatus) {
  const bool isPrompt = campaign.trigger_metadata && campaign.trigger_metadata->push_prompt.value_or(false);
  return !isPrompt || authorizationStatus != authorized;
}

Outcome outcomeOfTurn(const SornInAppCampaign& candidate, Circumstances& circumstances) {
  const double now = circumstances.now();
  if (!delayHolds(candidate, circumstances.lastOfAny(), now)) return Outcome::delay;
  const Counters counters = circumstances.countersOf(candidate);
  if (!frequencyHolds(candidate, counters.last, counters.count, now)) return Outcome::frequency;
  if (!pushPromptHolds(candidate, circumstances.authorizationStatus())) return Outcome::push_prompt;
  return Outcome::chosen;
}

}  // namespace sorn::campaigns
