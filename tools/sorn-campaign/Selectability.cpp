#include "sorn-campaign/Selectability.h"

#include <initializer_list>
#include <string_view>
#include <utility>

#include "documents/EventCatalogue.h"

namespace sorn::tool {

namespace {

using Campaign = documents::SornInAppCampaign;

class Obstacles {
 public:
  void add(std::initializer_list<std::string_view> keys, std::string reason) {
    std::vector<documents::PathStep> path;
    for (const std::string_view key : keys) path.push_back(documents::PathStep::member(key));
    found_.push_back({std::move(path), std::move(reason)});
  }
  std::vector<Obstacle> take() { return std::move(found_); }

 private:
  std::vector<Obstacle> found_;
};

// Openings are matched by the triggers of their own kind, so no target reaches them.
void checkTrigger(const std::optional<Campaign::Trigger>& trigger, Obstacles& found) {
  using Type = Campaign::Trigger::TriggerType;
  if (!trigger) return found.add({"trigger"}, "there is no trigger");
  const bool readsTarget = trigger->type == Type::screen || trigger->type == Type::event;
  if (!readsTarget) return;
  if (!trigger->target) {
    found.add({"trigger", "target"}, "the trigger has no target");
  } else if (trigger->type == Type::event && *trigger->target == documents::EventAction::appOpened) {
    found.add({"trigger", "target"}, "this event fires \"on_app_open\" alone");
  }
}

void checkFrequency(const std::optional<Campaign::Frequency>& frequency, Obstacles& found) {
  if (!frequency || frequency->type != Campaign::Frequency::Type::multiple_times) return;
  if (!frequency->details) {
    found.add({"frequency", "details"}, "\"multiple_times\" without details has a bound of 0");
  } else if (frequency->details->times <= 0) {
    found.add({"frequency", "details", "times"},
              "\"multiple_times\" has a bound of " + std::to_string(frequency->details->times));
  }
}

}  // namespace

std::vector<Obstacle> obstaclesOf(const Campaign& campaign) {
  Obstacles found;
  if (campaign.paused.value_or(false)) found.add({"paused"}, "the campaign is paused");
  if (campaign.version.ios > documents::layoutEngineVersion) {
    found.add({"version", "ios"}, "version " + std::to_string(campaign.version.ios) +
                                      " is above this engine's " +
                                      std::to_string(documents::layoutEngineVersion));
  }
  if (campaign.audience == Campaign::Audience::android) {
    found.add({"audience"}, "the audience is \"android\"");
  }
  checkTrigger(campaign.trigger, found);
  checkFrequency(campaign.frequency, found);
  return found.take();
}

}  // namespace sorn::tool
