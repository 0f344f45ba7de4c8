#include "sorn-campaign/Validation.h"

#include <algorithm>
#include <optional>
#include <set>
#include <span>
#include <utility>

#include "documents/SornInAppCampaign.h"
#include "sorn-campaign/Selectability.h"

namespace sorn::tool {

namespace {

using documents::PathStep;
using Path = std::vector<PathStep>;

// The drawing reads four numbers and ends the process when there are fewer.
constexpr std::size_t paddingNumbers = 4;

// A finding before it is placed.
struct Remark {
  Finding::Weight weight;
  Path path;
  std::string cause;
};

class Validator {
 public:
  std::vector<Remark> run(std::string_view text) {
    const auto [campaigns, failure] = documents::decodeEachCampaign(text);
    for (documents::DecodingFailure::Fault& fault : failure.faults()) {
      undecoded_.insert(documents::pathText(fault.path));
      remarks_.push_back({Finding::Weight::fault, std::move(fault.path), std::move(fault.cause)});
    }
    for (std::size_t i = 0; i < campaigns.size(); ++i) checkCampaign(i, campaigns[i]);
    return std::move(remarks_);
  }

 private:
  void checkCampaign(std::size_t position, const documents::SornInAppCampaign& campaign) {
    Path path{PathStep::element(position)};
    for (const Obstacle& obstacle : obstaclesOf(campaign)) {
      Path whole = path;
      whole.insert(whole.end(), obstacle.path.begin(), obstacle.path.end());
      add(Finding::Weight::note, std::move(whole), "never selected: " + obstacle.reason);
    }
    path.push_back(PathStep::member("content"));
    checkNode(path, campaign.content);
  }

  void checkNode(Path& path, const documents::SornView& node) {
    if (node.padding && node.padding->size() < paddingNumbers) {
      Path whole = path;
      whole.push_back(PathStep::member("padding"));
      add(Finding::Weight::fault, std::move(whole),
          "expected four numbers, found " + std::to_string(node.padding->size()));
    }
    path.push_back(PathStep::member("children"));
    for (std::size_t i = 0; i < node.children.size(); ++i) {
      path.push_back(PathStep::element(i));
      checkNode(path, node.children[i]);
      path.pop_back();
    }
    path.pop_back();
  }

  // A value that was not decoded has a fault of its own; what stands in its place tells nothing.
  void add(Finding::Weight weight, Path path, std::string cause) {
    for (std::size_t length = 1; length <= path.size(); ++length) {
      if (undecoded_.contains(documents::pathText(std::span(path).first(length)))) return;
    }
    remarks_.push_back({weight, std::move(path), std::move(cause)});
  }

  std::vector<Remark> remarks_;
  std::set<std::string> undecoded_;
};

}  // namespace

std::vector<Finding> validate(std::string_view text) {
  std::vector<Remark> remarks = Validator().run(text);
  if (remarks.empty()) return {};
  SyntaxFault syntax;
  const std::optional<SourceNode> source = readSource(text, syntax);
  // A text that is no JSON has one fault, and this pass knows better where it is.
  if (!source && !syntax.cause.empty()) remarks.front().cause = syntax.cause;
  std::vector<std::pair<std::size_t, Remark>> placed;
  placed.reserve(remarks.size());
  for (Remark& remark : remarks) {
    const std::size_t offset = source ? offsetOf(*source, remark.path) : syntax.offset;
    placed.emplace_back(offset, std::move(remark));
  }
  std::ranges::stable_sort(placed, {}, [](const auto& each) { return each.first; });
  const Lines lines(text);
  std::vector<Finding> findings;
  findings.reserve(placed.size());
  for (auto& [offset, remark] : placed) {
    findings.push_back(
        {remark.weight, lines.at(offset), documents::pathText(remark.path), std::move(remark.cause)});
  }
  return findings;
}

}  // namespace sorn::tool
