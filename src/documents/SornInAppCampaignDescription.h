#pragma once

#include <string_view>
#include <tuple>

#include "documents/Description.h"
#include "documents/SornInAppCampaign.h"
#include "documents/SornViewDescription.h"

// The tables of the campaign document. Texts of enumerations stand in the order of the enumerators.
namespace sorn::documents {

template <>
struct Description<SornInAppCampaign::Audience> {
  static constexpr auto texts = documents::texts("all", "android", "ios");
};
template <>
struct Description<SornInAppCampaign::Trigger::TriggerType> {
  static constexpr auto texts =
      documents::texts("on_app_open", "on_visited_screen", "on_performed_event", "on_in_app_trigger");
};
template <>
struct Description<SornInAppCampaign::Trigger::Attribute::AttributeType> {
  static constexpr auto texts = documents::texts("string", "number", "date", "boolean");
};
template <>
struct Description<SornInAppCampaign::Trigger::Attribute::Operator> {
  static constexpr auto texts = documents::texts(">", ">=", "=", "!=", "<", "<=");
};
template <>
struct Description<SornInAppCampaign::Frequency::Type> {
  static constexpr auto texts = documents::texts("once", "every_time", "multiple_times");
};

template <>
struct Description<SornInAppCampaign::Version> {
  using R = SornInAppCampaign::Version;
  static constexpr std::string_view name = "Version";
  static constexpr auto fields =
      std::tuple{required("android", &R::android, "Not read."),
                 required("ios", &R::ios, "At most 1, the version of this engine.")};
};

template <>
struct Description<SornInAppCampaign::Trigger::Attribute> {
  using R = SornInAppCampaign::Trigger::Attribute;
  static constexpr std::string_view name = "Attribute";
  static constexpr auto fields =
      std::tuple{required("type", &R::type, "Everything is compared as text, whatever stands here."),
                 required("key", &R::key, "Looked up in the dictionary of the trigger."),
                 required("operator", &R::operation, "Comparison."),
                 required("value", &R::value, "What the looked up text is compared with.")};
};

template <>
struct Description<SornInAppCampaign::Trigger> {
  using R = SornInAppCampaign::Trigger;
  static constexpr std::string_view name = "Trigger";
  static constexpr auto fields =
      std::tuple{required("type", &R::type, "Kind of trigger."),
                 optional("target", &R::target, "Name of the screen or the event."),
                 optional("attributes", &R::attributes, "Conditions of on_in_app_trigger.")};
};

template <>
struct Description<SornInAppCampaign::TriggerMetaData> {
  using R = SornInAppCampaign::TriggerMetaData;
  static constexpr std::string_view name = "TriggerMetaData";
  static constexpr auto fields = std::tuple{
      optional("last_in_app_delay", &R::last_in_app_delay,
               "Least time since the last presentation of any campaign, in seconds."),
      optional("push_prompt", &R::push_prompt, "Pointless for a user who has granted push messages.")};
};

template <>
struct Description<SornInAppCampaign::MetaData> {
  using R = SornInAppCampaign::MetaData;
  static constexpr std::string_view name = "MetaData";
  static constexpr auto fields = std::tuple{
      required("type", &R::type, "How the campaign is presented."),
      required("background_color", &R::background_color,
               "Backdrop of a dialog, background of a sheet: hexadecimal RGB, RRGGBB or RRGGBBAA."),
      required("show_close_button", &R::show_close_button, "Whether there is a close button."),
      required("dismissable_on_tap", &R::dismissable_on_tap, "Whether a tap outside the content closes it.")};
};

template <>
struct Description<SornInAppCampaign::Frequency::Details> {
  using R = SornInAppCampaign::Frequency::Details;
  static constexpr std::string_view name = "Details";
  static constexpr auto fields =
      std::tuple{required("times", &R::times, "Upper bound on presentations."),
                 required("gap", &R::gap, "Least time between two presentations, in seconds.")};
};

template <>
struct Description<SornInAppCampaign::Frequency> {
  using R = SornInAppCampaign::Frequency;
  static constexpr std::string_view name = "Frequency";
  static constexpr auto fields =
      std::tuple{required("type", &R::type, "The rule."),
                 optional("details", &R::details, "Of multiple_times, which without it is never shown.")};
};

template <>
struct Description<SornInAppCampaign> {
  using R = SornInAppCampaign;
  static constexpr std::string_view name = "SornInAppCampaign";
  static constexpr auto fields = std::tuple{
      required("id", &R::id, "Identifies the campaign, in its events as well."),
      optional("test", &R::test, "Not read."),
      optional("paused", &R::paused, "Takes the campaign out of every selection."),
      required("version", &R::version, "Versions of the layout engine that the campaign needs."),
      required("audience", &R::audience, "Which platforms the campaign is for: all or ios to be selected."),
      optional("priority", &R::priority, "The larger is tried first; 0 when absent."),
      required("content", &R::content, "Root of the layout."),
      required("content_metadata", &R::content_metadata, "How the campaign is presented."),
      optional("extra_data", &R::extra_data, "Not read."),
      optional("trigger", &R::trigger, "What makes the campaign eligible; without it, it is never selected."),
      optional("trigger_metadata", &R::trigger_metadata, "Further conditions of the trigger."),
      optional("frequency", &R::frequency, "How often the campaign may be shown; every time when absent.")};
};

}  // namespace sorn::documents
