#include <cstdlib>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "documents/ActivePlace.h"
#include "documents/CampaignTexts.h"
#include "fakes/DataFile.h"
#include "fakes/FakeDevice.h"
#include "support/Logger.h"
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

template <class Document>
std::string ending(const Decoded<Document>& document) {
  return document ? "decoded" : document.error().description();
}

TEST(CampaignDocument, AFaultIsNamedByItsPathAndCause) {
  for (const auto& row : tests::dataFile("faults.json")) {
    const std::string text = replaced(minimalCampaigns, row[0].get<std::string>(), row[1].get<std::string>());
    EXPECT_EQ(ending(decodeCampaigns(text)), row[2]) << text;
  }
  EXPECT_EQ(ending(decodeCampaigns(R"({"id":"a"})")), "$: expected a list, found an object");
}

TEST(ActivePlace, StandsAsFiveIntegersLongitudeFirst) {
  const auto places = decodePlaces("[[7,11575000,48137000,150,3],[-1,-180000000,2.0,32767,-32768]]");
  ASSERT_TRUE(places);
  EXPECT_EQ(*places, (std::vector<ActivePlace>{
                         {.placeID = 7, .lat = 48137000, .long_ = 11575000, .radius = 150, .direction = 3},
                         {-1, 2, -180000000, 32767, -32768}}));
  for (const auto& row : tests::dataFile("places.json")) {
    EXPECT_EQ(ending(decodePlaces(row[0].get<std::string>())), row[1]) << row;
  }
}

TEST(CampaignDocument, OneFaultyCampaignLosesTheListAndTheFirstFaultIsTold) {
  const std::string good(minimalCampaigns.substr(1, minimalCampaigns.size() - 2));
  const std::string text =
      "[" + good + "," + good + "," + replaced(replaced(good, "\"all\"", "1"), "\"dialog\"", "2") + "]";
  EXPECT_EQ(ending(decodeCampaigns(text)), "[2].audience: expected a text, found a number");
  const DecodingFailure every = decodeEachCampaign(text).failure;
  ASSERT_EQ(every.count(), 2u);
  EXPECT_EQ(pathText(every.faults()[1].path), "[2].content_metadata.type");
}

TEST(CampaignDocument, OfMembersWithTheSameKeyTheFirstCounts) {
  EXPECT_EQ(decoded(minimalWith(R"("priority":1e3,"priority":2)")).priority, 1000);
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

TEST(CampaignDocument, NodesMayNestAsDeepAsTheReaderReads) {
  const auto within = [](std::size_t rows) {
    return replaced(minimalCampaigns, "\"children\":[]", "\"children\":[" + nested(rows) + "]");
  };
  // Two levels a node, and the list and the campaign above them: 2 + 2 * 255 = 512.
  const SornInAppCampaign campaign = decoded(within(254));
  EXPECT_EQ(encodeCampaigns({campaign}).value_or("").size(), within(254).size());
  for (const std::string& text : {within(255), within(50'000)}) EXPECT_FALSE(decodeCampaigns(text));
}

TEST(ButtonAction, ArgumentsAreUnderstoodByTheKindOfActionOrALineSaysThatTheyAreNot) {
  setenv("SNSORN_FORCE_LOGGING", "1", 1);
  const auto url = [](const char* text) { return support::Url::parse(text).value(); };
  const std::string noUrl = "Could not extract URL from string: ";
  const std::string noObject = "Could not deserialize JSON from string: ";
  const std::tuple<ButtonAction::Type, std::optional<std::string>,
                   std::optional<ButtonAction::QualifiedAction>, std::string>
      cases[] = {
          {ButtonAction::Type::url, "https://a.invalid/x?y=1",
           ButtonAction::OpenUrl{url("https://a.invalid/x?y=1")}, ""},
          {ButtonAction::Type::deeplink, "app://x", ButtonAction::OpenDeeplink{url("app://x")}, ""},
          {ButtonAction::Type::custom, R"( {"a":[1,true]} )",
           ButtonAction::Custom{Dictionary{{"a", List{1, true}}}}, ""},
          {ButtonAction::Type::no_action, "no address at all", ButtonAction::NoAction{}, ""},
          {ButtonAction::Type::app_review, std::nullopt, ButtonAction::AppReview{}, ""},
          {ButtonAction::Type::push_prompt, std::nullopt, ButtonAction::PushPrompt{}, ""},
          {ButtonAction::Type::url, std::nullopt, std::nullopt, noUrl + "-"},
          {ButtonAction::Type::url, "two words", std::nullopt, noUrl + "two words"},
          {ButtonAction::Type::deeplink, "caf\u00e9://", std::nullopt, noUrl + "caf\u00e9://"},
          {ButtonAction::Type::custom, std::nullopt, std::nullopt, noObject + "-"},
          {ButtonAction::Type::custom, "[1]", std::nullopt, noObject + "[1]"},
      };
  for (const auto& [type, ios, expected, message] : cases) {
    const auto log = std::make_shared<tests::RecordingLog>();
    support::Logger logger(log);
    EXPECT_TRUE((ButtonAction{type, "EVENT", {std::nullopt, ios}}.qualifiedAction(logger) == expected))
        << message;
    logger.flush();
    ASSERT_EQ(log->lines().size(), message.empty() ? 0u : 1u) << message;
    if (!message.empty()) {
      EXPECT_TRUE(log->lines()[0].ends_with(message)) << log->lines()[0];
    }
  }
  unsetenv("SNSORN_FORCE_LOGGING");
  EXPECT_EQ((ButtonAction{ButtonAction::Type::push_prompt, "ASK", {"x", std::nullopt}}).description(),
            "Type: push_prompt\nName: ASK\nValue: n/a");
}

}  // namespace
}  // namespace sorn::documents
