// Campaigns: what it costs to read them, against the JSON parser alone, and to find that an event triggers
// none of them.

#include <stdexcept>
#include <string>

#include <simdjson.h>

#include "Figures.h"
#include "Host.h"
#include "documents/SornInAppCampaign.h"

namespace sorn::bench {
namespace {

using documents::Campaigns;
using documents::SornInAppCampaign;

constexpr std::string_view header =
    R"("version":{"android":1,"ios":1},"audience":"all","priority":3,)"
    R"("content_metadata":{"type":"dialog","background_color":"#00000080","show_close_button":true,)"
    R"("dismissable_on_tap":true},"trigger":{"type":"on_performed_event","target":"cart filled"},)"
    R"("trigger_metadata":{"last_in_app_delay":60,"push_prompt":false},)"
    R"("frequency":{"type":"multiple_times","details":{"times":3,"gap":86400}},)";
constexpr std::string_view image =
    R"({"viewType":"image","imageData":{"url":"https://images.invalid/welcome.png","contentMode":"crop"},)"
    R"("width":-1,"aspectRatio":1.777,"cornerRadius":[8,8,0,0],"children":[]})";
constexpr std::string_view text =
    R"({"viewType":"text","textData":{"text":"Choose what you would like to hear about.","color":"#555555",)"
    R"("fontSize":16.5,"fontWeight":"semiBold","textAlign":"center","overflow":"ellipsis","softWrap":true,)"
    R"("maxLines":3},"padding":[16,0,16,8],"width":-1,"children":[]})";
constexpr std::string_view button =
    R"({"viewType":"button","textData":{"text":"Choose topics","color":"#FFFFFF","softWrap":false},)"
    R"("background":{"backgroundType":"gradient","gradientData":{"gradientColors":["#1A5FB4","#62A0EA"],)"
    R"("gradientType":"vertical","tileMode":"clamp"}},"cornerRadius":[8,8,8,8],"height":44,)"
    R"("buttonData":{"border":1,"action":{"type":"deeplink","eventName":"WELCOME_TOPICS",)"
    R"("value":{"ios":"example://topics"}}},"children":[]})";

// A list of campaigns with fifteen layout nodes each: a column, four rows of a text and a button, two images.
std::string longDocument(std::size_t count) {
  std::string row = R"({"viewType":"row","arrangement":"spaceBetween","children":[)";
  row.append(text).append(",").append(button).append("]}");
  std::string content = R"({"viewType":"column","background":{"backgroundType":"color","color":"#FFFFFF"},)"
                        R"("children":[)";
  content.append(image);
  for (int index = 0; index < 4; ++index) content.append(",").append(row);
  content.append(",").append(image).append("]}");
  std::string document = "[";
  for (std::size_t number = 0; number < count; ++number) {
    if (number > 0) document += ",";
    document += R"({"id":"campaign )" + std::to_string(number) + "\",";
    document.append(header).append("\"content\":").append(content).append("}");
  }
  return document + "]";
}

std::size_t nodesOf(const documents::SornView& view) {
  std::size_t count = 1;
  for (const documents::SornView& child : view.children) count += nodesOf(child);
  return count;
}

// The two take turns, so that both see the same machine. Each makes its document anew, as a reader does who
// reads one file.
void decoding(Figures& figures) {
  constexpr int rounds = 41;
  const std::string document = longDocument(1'000);
  const simdjson::padded_string padded(document);
  Samples ours;
  Samples bare;
  for (int round = 0; round < rounds; ++round) {
    auto begin = Clock::now();
    simdjson::dom::parser parser;
    const auto parsed = parser.parse(padded);
    bare.add(microsecondsSince(begin));
    if (parsed.error() != simdjson::SUCCESS) throw std::logic_error("no JSON");
    begin = Clock::now();
    const auto campaigns = documents::decodeCampaigns(document);
    ours.add(microsecondsSince(begin));
    if (!campaigns || campaigns->size() != 1'000 || nodesOf(campaigns->front().content) != 15) {
      throw std::logic_error("not the campaigns that were written");
    }
  }
  const auto bytes = static_cast<double>(document.size());
  figures.plain("1,000 campaigns with 15 layout nodes each", bytes / 1e6, "MB");
  figures.plain("parsing them into the parser's own document", bytes / bare.median(), "MB/s");
  figures.plain("decoding them into records", bytes / ours.median(), "MB/s");
  figures.atMost("decoding against parsing", ours.median() / bare.median(), 5, "times");
}

Campaigns withTargets(std::size_t count) {
  SornInAppCampaign sample;
  sample.version = {.android = 1, .ios = 1};
  sample.trigger = {.type = SornInAppCampaign::Trigger::TriggerType::event, .target = {}, .attributes = {}};
  Campaigns campaigns(count, sample);
  for (std::size_t number = 0; number < count; ++number) {
    campaigns[number].id = std::to_string(number);
    campaigns[number].trigger->target = "product_bought_" + std::to_string(number);
  }
  return campaigns;
}

// The best of several rounds of what the store does with each new event.
double microsecondsToDecide(facade::Library& library, const store::SNEvent& event) {
  constexpr int rounds = 9;
  constexpr int calls = 200'000;
  campaigns::SornInAppCampaignManager& manager = library.services().campaigns;
  double best = 1e9;
  for (int round = 0; round < rounds; ++round) {
    const auto begin = Clock::now();
    for (int call = 0; call < calls; ++call) manager.handleStoredEvent(event);
    best = std::min(best, microsecondsSince(begin) / calls);
  }
  return best;
}

void deciding(Figures& figures) {
  const Folder folder;
  Host host(folder.path(), std::string(deadOrigin), endless);
  facade::Library& library = host.library();
  auto event = library.context().performBlockAndWait([&] {
    const auto record = library.context().insert<store::SNEvent>();
    record->set(store::SNEvent::action, "product_viewed");
    return record;
  });
  double few = 0;
  for (const auto& [count, name] :
       {std::pair{10, "10"}, std::pair{1'000, "1,000"}, std::pair{100'000, "100,000"}}) {
    library.services().campaigns.storeCampaigns(withTargets(static_cast<std::size_t>(count)));
    const double time =
        library.context().performBlockAndWait([&] { return microsecondsToDecide(library, *event); });
    figures.atMost(std::string("deciding about an event that triggers none of ") + name, time, 1, "us");
    if (count == 10) few = time;
    if (count == 100'000) figures.atMost("the same, 100,000 campaigns against 10", time / few, 2, "times");
  }
  // The record goes where it came from: on the queue.
  library.context().performBlockAndWait([&] { event.reset(); });
}

}  // namespace
}  // namespace sorn::bench

int main() {
  using namespace sorn::bench;
  Figures figures("Campaigns");
  decoding(figures);
  deciding(figures);
}
