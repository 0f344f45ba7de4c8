// `sorn-campaign layout`: where each node of a campaign lies, as JSON. By the library's own decoder and
// layout.

#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "draw/PangoTextMeasure.h"
#include "layout/LayoutTree.h"
#include "sorn-campaign/CampaignFile.h"
#include "sorn-campaign/FixedMetric.h"
#include "sorn-campaign/Lengths.h"
#include "sorn-campaign/Options.h"
#include "sorn-campaign/Subcommand.h"
#include "support/json/JsonWriter.h"

namespace sorn::tool {

namespace {

using layout::NodeBox;
using layout::Size;

struct Question {
  std::string file;
  std::optional<std::string> id;
  std::optional<Size> size;
  std::unique_ptr<layout::TextMeasure> measure;
  std::optional<Size> imageSize;
};

std::unique_ptr<layout::TextMeasure> fixedMetric(std::string_view text) {
  constexpr std::string_view prefix = "fixed:";
  if (!text.starts_with(prefix)) return nullptr;
  const auto advances = readSize(text.substr(prefix.size()));
  if (!advances || advances->width <= 0 || advances->height <= 0) return nullptr;
  return std::make_unique<FixedMetric>(advances->width, advances->height);
}

Taken readOption(std::string_view option, std::string_view value, Question& question) {
  const auto taken = [](bool isRead) { return isRead ? Taken::withValue : Taken::refused; };
  if (option == "--size") return taken((question.size = readSize(value)).has_value());
  if (option == "--image") return taken((question.imageSize = readSize(value)).has_value());
  if (option == "--metric") return taken((question.measure = fixedMetric(value)) != nullptr);
  if (option != "--id") return Taken::unknown;
  question.id = value;
  return Taken::withValue;
}

std::string framesOf(const layout::LayoutTree& tree) {
  std::string out;
  support::Writer writer(out);
  writer.beginArray();
  for (const NodeBox& node : tree.nodes()) {
    const layout::Rect& frame = node.box->frame();
    writer.beginObject();
    writer.key("path");
    writer.text(layout::pathOf(tree.nodes(), node));
    const std::pair<const char*, double> sides[] = {
        {"x", frame.x}, {"y", frame.y}, {"width", frame.width}, {"height", frame.height}};
    for (const auto& [name, length] : sides) {
      writer.key(name);
      writer.number(length);
    }
    writer.endObject();
  }
  writer.endArray();
  return out;
}

}  // namespace

int runLayout(Arguments arguments) {
  Question question;
  const auto handler = [&](auto option, auto value) { return readOption(option, value, question); };
  if (const auto reason = readOptions(arguments, question.file, handler)) return refuse(*reason);
  if (!question.size) return refuse("--size WxH is wanted");
  const auto campaign = readCampaign(question.file, question.id);
  if (!campaign) return failed;
  if (!question.measure) question.measure = std::make_unique<draw::PangoTextMeasure>();

  layout::LayoutTree tree(campaign->content, campaign->content_metadata.type, *question.measure);
  if (question.imageSize)
    for (std::size_t slot = 0; slot < tree.images().size(); ++slot)
      tree.setImageSize(slot, *question.imageSize);
  const auto root = tree.takeRoot();
  layout::placeCentered(*root, {0, 0, question.size->width, question.size->height});
  std::printf("%s\n", framesOf(tree).c_str());
  return done;
}

}  // namespace sorn::tool
