#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "campaigns/Samples.h"
#include "fakes/TestHost.h"

namespace sorn::facade {

TEST(Diagnostics, CampaignsChosenByEventsHaveBeenPresentedWhenTheLibraryIsIdle) {
  for (int round = 0; round < 20; ++round) {
    tests::TestHost host;
    host.folder.write("documents/key_inAppCampaigns.json",
                      "[" + campaigns::campaignText("first", campaigns::onEvent("begun")) + "," +
                          campaigns::campaignText("second", campaigns::onEvent("seen")) + "]");
    std::vector<std::string> presented;
    const auto library = host.launch();
    Diagnostics diagnostics(library->sorn());
    diagnostics.onPresented([&](const std::string& campaign) {
      presented.push_back(campaign);
      if (campaign == "first") library->sorn().logEventWith("cc", "seen");
    });
    library->tasks().post([&] { library->sorn().logEventWith("cc", "begun"); });
    diagnostics.waitUntilIdle();
    EXPECT_EQ(presented, (std::vector<std::string>{"first", "second"}));
  }
}

}  // namespace sorn::facade
