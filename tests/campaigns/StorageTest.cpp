#include <algorithm>
#include <filesystem>
#include <limits>

#include "campaigns/ManagerFixture.h"
#include "campaigns/SornInAppCampaignManager.h"
#include "fakes/FullDisk.h"

namespace sorn::campaigns {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

documents::Campaigns listWith(std::initializer_list<const char*> ids) {
  documents::Campaigns campaigns;
  for (const char* id : ids) campaigns.push_back(campaignOf(id, onEvent("bought")));
  return campaigns;
}

class CampaignStorage : public ManagerFixture {
 protected:
  // The identifiers in the file, by another decoder; or why there are none.
  std::string filed() const {
    const auto json = nlohmann::json::parse(file(), nullptr, false);
    if (!json.is_array()) return "no list";
    std::string ids;
    for (const auto& campaign : json) ids += campaign["id"].get<std::string>() + " ";
    return ids;
  }
  auto filesInFolder() const {
    return std::ranges::count_if(
        std::filesystem::directory_iterator(host_.folder / "documents"),
        [](const auto& entry) { return entry.path().string().find("inAppCampaigns") != std::string::npos; });
  }
  void publish(const platform::HttpTransport::Result& result) {
    library();
    host_.transport->setHandler([result](const auto&) { return result; });
    library().services().campaigns.fetchRemoteCampaigns();
    library().tasks().waitUntilIdle();
  }
};

TEST_F(CampaignStorage, EachAccountHasAFileOfItsOwn) {
  writeFile({campaignText("a", ""), campaignText("b", "")});
  host_.folder.write("documents/other_inAppCampaigns.json", listOf({campaignText("c", "")}));
  EXPECT_THAT(known(), ElementsAre("a", "b"));
  host_.credentials.applicationKey = "other";
  restart();
  EXPECT_THAT(known(), ElementsAre("c"));
}

TEST_F(CampaignStorage, UnusableFileGivesNoCampaignsAndStaysAsItIs) {
  const std::string good = campaignText("a", "");
  for (const std::string& content :
       {std::string(), std::string("[null]"), good, listOf({good}) + "]", listOf({good}).substr(0, 100),
        std::string("\x1F\x8B\x08\x00", 4), listOf({good, campaignText("b", R"("audience":"web")")})}) {
    host_.folder.write(fileName, content);
    restart();
    EXPECT_THAT(known(), IsEmpty()) << content;
    EXPECT_THAT(shownAfter("bought"), IsEmpty());
    EXPECT_EQ(file(), content);
  }
  library().services().campaigns.storeCampaigns(listWith({"new"}));
  EXPECT_EQ(filed(), "new ");
}

TEST_F(CampaignStorage, StoredListReplacesMemoryAndFileAndSurvivesARestart) {
  const auto campaign = campaignOf(
      "f\xC3\xBCll", onEvent("bought") + R"(,"priority":-3,"extra_data":{"k":"v \"q\"\n"},"paused":false)");
  library().services().campaigns.storeCampaigns(listWith({"a", "b"}));
  library().services().campaigns.storeCampaigns({campaign});
  EXPECT_EQ(filed(), "f\xC3\xBCll ");
  EXPECT_THAT(file(), ::testing::HasSubstr("\n  ")) << "it is printed for people";
  EXPECT_EQ(tests::modeOf(host_.folder / fileName), "0600");
  EXPECT_EQ(filesInFolder(), 1);
  EXPECT_THAT(known(), ElementsAre("f\xC3\xBCll"));
  restart();
  auto loaded = library().services().campaigns.campaigns()->campaigns();
  ASSERT_EQ(loaded.size(), 1u);
  loaded[0].content.id = campaign.content.id;
  EXPECT_EQ(loaded[0], campaign);
  library().services().campaigns.storeCampaigns({});
  EXPECT_EQ(filed(), "");
  EXPECT_THAT(known(), IsEmpty());
}

TEST_F(CampaignStorage, StoringMakesTheFolder) {
  library();
  host_.directories->documentFolders = {host_.folder / "deep/er"};
  library().services().campaigns.storeCampaigns(listWith({"a"}));
  EXPECT_FALSE(host_.folder.read("deep/er/key_inAppCampaigns.json").empty());
  EXPECT_EQ(tests::modeOf(host_.folder / "deep/er"), "0700");
}

TEST_F(CampaignStorage, MemoryFollowsWhenTheDiskIsFullAndTheOldFileStaysWhole) {
  library().services().campaigns.storeCampaigns(listWith({"old"}));
  const std::string before = file();
  {
    const tests::FullDisk disk(1000);
    library().services().campaigns.storeCampaigns(listWith({"a", "b", "c", "d", "e", "f", "g", "h"}));
  }
  EXPECT_EQ(known().size(), 8u);
  EXPECT_EQ(file(), before);
  EXPECT_EQ(filesInFolder(), 1) << "nothing half written is left behind";
  restart();
  EXPECT_THAT(known(), ElementsAre("old"));
}

TEST_F(CampaignStorage, MemoryFollowsWhenNothingCanBeWritten) {
  library().services().campaigns.storeCampaigns(listWith({"old"}));
  const std::string before = file();
  auto unwritable = listWith({"a"});
  unwritable[0].trigger_metadata.emplace().last_in_app_delay = std::numeric_limits<double>::quiet_NaN();
  library().services().campaigns.storeCampaigns(unwritable);
  EXPECT_THAT(known(), ElementsAre("a"));
  host_.folder.write("occupied", "");
  for (const std::vector<std::filesystem::path>& folders : {std::vector<std::filesystem::path>(),
                                                            {host_.folder / "occupied"},
                                                            {host_.folder / "occupied/below"}}) {
    host_.directories->documentFolders = folders;
    library().services().campaigns.storeCampaigns({});
    EXPECT_THAT(known(), IsEmpty());
    library().services().campaigns.storeCampaigns(listWith({"b", "c"}));
    EXPECT_THAT(known(), ElementsAre("b", "c"));
  }
  EXPECT_EQ(file(), before);
}

TEST_F(CampaignStorage, ManagerWithoutAnAccountKeepsItsListInMemoryAlone) {
  writeFile({campaignText("a", "")});
  library_ = host_.install();
  EXPECT_THAT(known(), IsEmpty());
  library_->services().campaigns.storeCampaigns(listWith({"b"}));
  EXPECT_EQ(filed(), "a ");
  library_->account().set(host_.credentials);
  EXPECT_THAT(known(), ElementsAre("b")) << "the file is read once";
}

TEST_F(CampaignStorage, OnlyAWholePublishedListReplacesTheOldOne) {
  writeFile({campaignText("old", "")});
  const std::string before = file();
  const platform::HttpTransport::Result failures[] = {
      platform::TransportError{platform::TransportError::timedOut},
      platform::HttpResponse{404, {}, "<?xml version='1.0'?><Error/>"},
      platform::HttpResponse{200, {}, ""},
      platform::HttpResponse{200, {}, listOf({campaignText("a", ""), R"({"id":"b"})"})},
  };
  for (const auto& failure : failures) {
    publish(failure);
    EXPECT_THAT(known(), ElementsAre("old"));
    EXPECT_EQ(file(), before);
  }
  publish(platform::HttpResponse{200, {}, listOf({campaignText("a", ""), campaignText("b", "")})});
  EXPECT_THAT(known(), ElementsAre("a", "b"));
  EXPECT_EQ(filed(), "a b ");
}

}  // namespace
}  // namespace sorn::campaigns
