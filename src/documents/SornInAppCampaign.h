#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "documents/DecodingFailure.h"
#include "documents/SornView.h"
#include "support/json/JsonWriter.h"

namespace sorn::documents {

// The version of the layout engine. A campaign that asks for a later one is not selected.
inline constexpr std::int64_t layoutEngineVersion = 1;

// Known as `SornInAppCampaign::Trigger` and so on. They stand outside, since a class may not hold an optional
// of a type that it is still in the middle of defining.
struct CampaignTrigger {
  enum class TriggerType : std::uint8_t { appOpen, screen, event, inApp };

  // A condition on the dictionary of the trigger. Everything is compared as text, whatever `type` says.
  struct Attribute {
    enum class AttributeType : std::uint8_t { string, number, date, boolean };
    enum class Operator : std::uint8_t {
      greaterThan,
      greaterThanOrEqual,
      equal,
      notEqual,
      lessThan,
      lessThanOrEqual
    };

    AttributeType type = {};  // carried
    std::string key;
    Operator operation = {};  // "operator", which C++ reserves
    std::string value;

    bool operator==(const Attribute&) const = default;
  };

  TriggerType type = {};
  std::optional<std::string> target;                 // read for `screen` and `event`; absent: no match
  std::optional<std::vector<Attribute>> attributes;  // read for `inApp`

  bool operator==(const CampaignTrigger&) const = default;
};

struct CampaignFrequencyDetails {
  std::int64_t times = 0;  // presentations at most
  double gap = 0;          // seconds between two of them

  bool operator==(const CampaignFrequencyDetails&) const = default;
};

struct CampaignFrequency {
  enum class Type : std::uint8_t { once, every_time, multiple_times };

  using Details = CampaignFrequencyDetails;

  Type type = {};
  std::optional<Details> details;  // read for `multiple_times`; absent: zeros

  bool operator==(const CampaignFrequency&) const = default;
};

// One campaign: the rules that say when it may be shown, and what it shows. Plain values that bear the names
// of their keys; an absent one stays absent, and who reads it knows what that means. What is "carried" is
// only written back.
struct SornInAppCampaign {
  // The layout engine's version that each platform needs at least.
  struct Version {
    std::int64_t android = 0;  // carried
    std::int64_t ios = 0;

    bool operator==(const Version&) const = default;
  };

  enum class Audience : std::uint8_t { all, android, ios };

  using Trigger = CampaignTrigger;
  using Frequency = CampaignFrequency;

  struct TriggerMetaData {
    std::optional<double> last_in_app_delay;  // seconds since any campaign was presented; absent: 0
    std::optional<bool> push_prompt;          // absent: false

    bool operator==(const TriggerMetaData&) const = default;
  };

  // How the campaign is presented.
  struct MetaData {
    RootType type = {};  // overrides that of the root node
    std::string background_color;
    bool show_close_button = false;
    bool dismissable_on_tap = false;

    bool operator==(const MetaData&) const = default;
  };

  std::string id;
  std::optional<bool> test;    // carried
  std::optional<bool> paused;  // absent: false
  Version version;
  Audience audience = {};
  std::optional<std::int64_t> priority;  // the larger is tried first; absent: 0
  SornView content;
  MetaData content_metadata;
  std::optional<std::map<std::string, std::string>> extra_data;  // carried
  std::optional<Trigger> trigger;                                // absent: never selected
  std::optional<TriggerMetaData> trigger_metadata;
  std::optional<Frequency> frequency;  // absent: `every_time`

  bool operator==(const SornInAppCampaign&) const = default;
};

using Campaigns = std::vector<SornInAppCampaign>;

// The campaigns of a JSON array, all or none: one fault anywhere loses the list.
Decoded<Campaigns> decodeCampaigns(std::string_view json);
// One campaign that stands alone.
Decoded<SornInAppCampaign> decodeCampaign(std::string_view json);
Decoded<SornInAppCampaign> decodeCampaign(const support::Node& object);

// Everything that can be decoded, and every fault: the elements without one are good. No campaigns, and one
// fault, when the text is no JSON.
struct EachCampaign {
  Campaigns campaigns;
  DecodingFailure failure{DecodingFailure::Extent::allFaults};
};
EachCampaign decodeEachCampaign(std::string_view json);

// A JSON array with the same keys, without the absent values and without the nodes' `id`. Absent when a
// value is none of JSON (NaN, text that is not UTF-8), which nothing decoded is.
std::optional<std::string> encodeCampaigns(const Campaigns& campaigns,
                                           support::Writer::Form form = support::Writer::Form::compact);

}  // namespace sorn::documents
