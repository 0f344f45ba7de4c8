#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "documents/CampaignTexts.h"
#include "support/json/Json.h"

namespace sorn::documents {
namespace {

std::string example(const std::string& name) {
  std::ifstream file(std::string(SORN_EXAMPLE_CAMPAIGNS) + "/" + name);
  return {std::istreambuf_iterator<char>(file), {}};
}

SornInAppCampaign decoded(std::string_view text) {
  const auto campaigns = decodeCampaigns(text);
  if (!campaigns) throw std::invalid_argument(campaigns.error().description());
  return campaigns->at(0);
}

std::string refusal(std::string_view text) {
  const auto campaigns = decodeCampaigns(text);
  return campaigns ? "decoded" : campaigns.error().description();
}

TEST(CampaignDocument, AFaultIsNamedByItsPathAndCause) {
  const std::string_view minimal = minimalCampaigns;
  const std::pair<std::string, std::string> cases[] = {
      // Required keys, in the campaign, in a record inside it and in the layout.
      {replaced(minimal, R"("id":"a",)", ""), "[0].id: required key is missing"},
      {replaced(minimal, R"("background_color":"#FFF",)", ""),
       "[0].content_metadata.background_color: required key is missing"},
      {replaced(minimal, R"("children":[])",
                R"("children":[{"viewType":"text","children":[],"textData":{"text":""}}])"),
       "[0].content.children[0].textData.softWrap: required key is missing"},
      {minimalWith(R"("frequency":{"type":"multiple_times","details":{"times":1}})"),
       "[0].frequency.details.gap: required key is missing"},
      // Null stands for an absent value of an optional key alone.
      {replaced(minimal, R"("id":"a")", R"("id":null)"), "[0].id: expected a text, found null"},
      // Types, of optional keys too.
      {replaced(minimal, R"("audience":"all")", R"("audience":1)"),
       "[0].audience: expected a text, found a number"},
      {minimalWith(R"("paused":0)"), "[0].paused: expected a boolean, found a number"},
      {minimalWith(R"("priority":true)"), "[0].priority: expected an integer, found a boolean"},
      {minimalWith(R"("trigger":[])"), "[0].trigger: expected an object, found a list"},
      {minimalWith(R"("extra_data":{"a":"b","c.d":null})"),
       "[0].extra_data[\"c.d\"]: expected a text, found null"},
      {minimalWith(R"("trigger":{"type":"on_in_app_trigger","attributes":)"
                   R"([{"type":"number","key":"k","operator":"=","value":7}]})"),
       "[0].trigger.attributes[0].value: expected a text, found a number"},
      {nodeWith(R"("padding":[1,2,"3",4])"), "[0].content.padding[2]: expected a number, found a text"},
      {R"({"id":"a"})", "$: expected a list, found an object"},
      // Numbers that the type cannot hold.
      {minimalWith(R"("priority":1.5)"), "[0].priority: the number is out of range or not an integer"},
      {minimalWith(R"("priority":9223372036854775808)"),
       "[0].priority: the number is out of range or not an integer"},
      {nodeWith(R"("width":1e400)"), "[0].content.width: the number is out of range"},
      // Texts of enumerations are exact.
      {replaced(minimal, R"("all")", R"("All")"),
       R"([0].audience: expected one of "all", "android", "ios", found "All")"},
      {replaced(minimal, R"("viewType":"text")", R"("viewType":"spacer")"),
       R"([0].content.viewType: expected one of "row", "column", "button", "text", "image", found "spacer")"},
      {replaced(minimal, R"("all")", '"' + std::string(65, 'x') + '"'),
       R"([0].audience: expected one of "all", "android", "ios", found a longer text)"},
  };
  for (const auto& [text, failure] : cases) EXPECT_EQ(refusal(text), failure) << text;
}

TEST(CampaignDocument, OneFaultyCampaignLosesTheListAndTheFirstFaultIsTold) {
  const std::string good(minimalCampaigns.substr(1, minimalCampaigns.size() - 2));
  const std::string text =
      "[" + good + "," + good + "," + replaced(replaced(good, "\"all\"", "1"), "\"dialog\"", "2") + "]";
  EXPECT_EQ(refusal(text), "[2].audience: expected a text, found a number");
  const DecodingFailure every = decodeEachCampaign(text).failure;
  ASSERT_EQ(every.count(), 2u);
  EXPECT_EQ(pathText(every.faults()[1].path), "[2].content_metadata.type");
}

TEST(CampaignDocument, WhatIsAbsentStaysAbsent) {
  for (const char* name :
       {"test", "paused", "priority", "extra_data", "trigger", "trigger_metadata", "frequency"}) {
    EXPECT_EQ(refusal(minimalWith("\"" + std::string(name) + "\":null")), "decoded") << name;
  }
  const SornInAppCampaign campaign = decoded(minimalCampaigns);
  EXPECT_FALSE(campaign.paused || campaign.priority || campaign.trigger || campaign.frequency);
  EXPECT_FALSE(campaign.content.textData || campaign.content.width || campaign.content.isSafe);
  EXPECT_TRUE(campaign.content_metadata.show_close_button);
  EXPECT_FALSE(campaign.content_metadata.dismissable_on_tap);
}

TEST(CampaignDocument, WholeNumbersCountHoweverTheyAreWritten) {
  const std::pair<const char*, std::int64_t> cases[] = {
      {"2", 2}, {"2.0", 2}, {"1e3", 1000}, {"-0", 0}, {"-9223372036854775808", INT64_MIN}};
  for (const auto& [text, expected] : cases) {
    EXPECT_EQ(decoded(minimalWith("\"priority\":" + std::string(text))).priority, expected) << text;
  }
  EXPECT_EQ(decoded(nodeWith("\"width\":-1,\"height\":0.125")).content.width, -1.0);
}

TEST(CampaignDocument, OfMembersWithTheSameKeyTheFirstCounts) {
  EXPECT_EQ(decoded(minimalWith(R"("priority":1,"priority":2)")).priority, 1);
  EXPECT_EQ(decoded(minimalWith(R"("priority":null,"priority":2)")).priority, std::nullopt);
  EXPECT_EQ(decoded(minimalWith(R"("priority":1,"priority":"not read")")).priority, 1);
  EXPECT_EQ(decoded(minimalWith(R"("extra_data":{"k":"1","k":2})")).extra_data->at("k"), "1");
  EXPECT_EQ(decoded(minimalWith(R"("\u0070riority":1)")).priority, 1);
}

std::multiset<std::string> idsOf(const SornView& node) {
  std::multiset<std::string> ids{node.id};
  for (const SornView& child : node.children) ids.merge(idsOf(child));
  return ids;
}

TEST(CampaignDocument, EncodingGivesTheSameDocumentWithoutUnknownKeys) {
  for (const char* name : {"every-key.json", "sheets.json", "welcome-dialog.json"}) {
    const std::string text = example(name);
    const auto campaigns = decodeCampaigns(text);
    ASSERT_TRUE(campaigns) << campaigns.error().description();
    for (const auto form : {support::Writer::Form::compact, support::Writer::Form::pretty}) {
      const auto encoded = encodeCampaigns(*campaigns, form);
      ASSERT_TRUE(encoded);
      EXPECT_EQ(support::Document::parse(*encoded)->root().toValue(),
                support::Document::parse(text)->root().toValue());
    }
  }
  const SornInAppCampaign campaign = decoded(minimalWith(R"("unknown":[1],"trigger":null)"));
  EXPECT_EQ(encodeCampaigns({campaign}), std::string(minimalCampaigns));
}

TEST(CampaignDocument, EachDecodingGivesTheNodesIdsOfTheirOwn) {
  const std::string text = example("every-key.json");
  const SornInAppCampaign campaign = decoded(text);
  EXPECT_EQ(SornInAppCampaign(campaign), campaign);
  EXPECT_NE(decoded(text), campaign);
  std::multiset<std::string> ids = idsOf(campaign.content);
  ids.merge(idsOf(decoded(text).content));
  EXPECT_EQ(ids.size(), 10u);
  EXPECT_EQ(std::set(ids.begin(), ids.end()).size(), 10u);
  EXPECT_EQ(ids.begin()->size(), 36u);
}

// Rows, each within the one before.
std::string nested(std::size_t rows) {
  std::string text;
  for (std::size_t i = 0; i < rows; ++i) text += R"({"viewType":"row","children":[)";
  for (std::size_t i = 0; i < rows; ++i) text += "]}";
  return text;
}

TEST(CampaignDocument, HostileTextsAreOneFailure) {
  const std::string digits(1'000'000, '9');
  const std::pair<const char*, std::string> cases[] = {
      {"nothing", ""},
      {"closed lists", std::string(100'000, '[') + std::string(100'000, ']')},
      {"open objects", "[" + std::string(100'000, '{')},
      {"nested nodes", "[" + nested(50'000) + "]"},
      {"a long integer", minimalWith("\"priority\":" + digits)},
      {"a long number", nodeWith("\"width\":" + digits + ".5")},
      {"a long exponent", nodeWith("\"width\":1e" + digits)},
      {"bytes that are no UTF-8", replaced(minimalCampaigns, "\"a\"", "\"\xFF\"")},
      {"half a character", replaced(minimalCampaigns, "\"a\"", R"("\ud800")")},
  };
  for (const auto& [name, text] : cases) {
    const auto campaigns = decodeCampaigns(text);
    ASSERT_FALSE(campaigns) << name;
    EXPECT_FALSE(campaigns.error().cause().empty()) << name;
    EXPECT_EQ(campaigns.error().count(), 1u) << name;
  }
}

TEST(CampaignDocument, NodesMayNestAsDeepAsTheReaderReads) {
  const auto within = [](std::size_t rows) {
    return replaced(minimalCampaigns, "\"children\":[]", "\"children\":[" + nested(rows) + "]");
  };
  // Two levels a node, and the list and the campaign above them: 2 + 2 * 255 = 512.
  const SornInAppCampaign campaign = decoded(within(254));
  EXPECT_EQ(encodeCampaigns({campaign}).value_or("").size(), within(254).size());
  EXPECT_NE(refusal(within(255)), "decoded");
}

TEST(CampaignDocument, ATextThatIsCutIsNeverDecoded) {
  const std::string text = example("every-key.json");
  const std::size_t end = text.find_last_of(']');
  for (std::size_t length = 0; length <= end; ++length) {
    ASSERT_FALSE(decodeCampaigns(std::string_view(text).substr(0, length))) << length;
  }
}

}  // namespace
}  // namespace sorn::documents
