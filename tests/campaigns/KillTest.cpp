#include <chrono>
#include <random>
#include <set>
#include <thread>

#include <gtest/gtest.h>

#include "documents/SornInAppCampaign.h"
#include "fakes/ChildProcess.h"
#include "fakes/TemporaryFolder.h"

namespace sorn::campaigns {
namespace {

TEST(CampaignFile, KilledWriterLeavesTheOldFileOrTheNewOneWhole) {
  const tests::TemporaryFolder folder;
  const std::string file = "data/store-loop/application-support/key_inAppCampaigns.json";
  std::mt19937 engine(7);
  std::uniform_int_distribution<int> microseconds(0, 20'000);
  for (int round = 0; round < 20; ++round) {
    tests::ChildProcess writer({SORN_CAMPAIGN_STORE_LOOP, folder.path().string()});
    ASSERT_EQ(writer.readLine(), "ready");
    std::this_thread::sleep_for(std::chrono::microseconds(microseconds(engine)));
    writer.kill();
    const auto campaigns = documents::decodeCampaigns(folder.read(file));
    ASSERT_TRUE(campaigns) << "round " << round << ": " << campaigns.error().description();
    std::set<std::string> ids;
    for (const auto& campaign : *campaigns) ids.insert(campaign.id);
    ASSERT_EQ(ids.size(), 1u);
    EXPECT_EQ(campaigns->size(), *ids.begin() == "first" ? 15u : 10u);
  }
}

}  // namespace
}  // namespace sorn::campaigns
