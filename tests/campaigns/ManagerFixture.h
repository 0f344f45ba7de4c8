#pragma once

#include <future>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "campaigns/Samples.h"
#include "fakes/RawDatabase.h"
#include "fakes/TestHost.h"

namespace sorn::campaigns {

using Names = std::vector<std::string>;

// A library over fakes whose presenter only notes what it is to show.
class ManagerFixture : public ::testing::Test {
 protected:
  static constexpr std::string_view fileName = "documents/key_inAppCampaigns.json";
  static constexpr double start = 1'700'000'000;  // what the fake clock shows first

  void writeFile(const std::vector<std::string>& campaigns) const {
    host_.folder.write(fileName, listOf(campaigns));
  }
  std::string file() const { return host_.folder.read(fileName); }

  facade::Library& library() {
    if (!library_) {
      library_ = host_.launch();
      library_->services().presentation.setObserver(
          [this](const SornInAppCampaign& campaign) { shown_.push_back(campaign.id); });
    }
    return *library_;
  }
  void restart() {
    library_.reset();
    library();
  }
  decltype(auto) run(auto&& work) { return library().context().performBlockAndWait(work); }

  // The list in memory.
  Names known() {
    Names names;
    for (const auto& campaign : library().services().campaigns.campaigns()->campaigns())
      names.push_back(campaign.id);
    return names;
  }
  // What has been shown since the last call, once every evaluation has run. Reports may still be open.
  Names shown() {
    // Three rounds: a screen comes by way of the main queue, and a campaign that is due joins it at its end.
    for (int round = 0; round < 3; ++round) {
      std::promise<void> ran;
      library().ports().mainQueue->post([&] { ran.set_value(); });
      ran.get_future().wait();
      run([] {});
    }
    return std::exchange(shown_, {});
  }
  Names shownAfter(const std::string& action) {
    library().services().recorder.record({.action = action});
    return shown();
  }
  std::string stored(const std::string& sql) { return tests::RawDatabase(host_.databaseFile()).column(sql); }
  // The counters in order of creation: "ID count seconds-since-the-start", the last absent before the first
  // presentation.
  std::string counters() {
    return stored(
        "SELECT campaignID || ' ' || ifnull(presentationCount, 0) || ' ' || ifnull(lastPresentation - " +
        std::to_string(static_cast<long long>(start)) + ", 'never') FROM SNInAppCampaigns ORDER BY id");
  }

  tests::TestHost host_;
  Names shown_;  // touched by the main queue's thread, and here once that is idle
  std::unique_ptr<facade::Library> library_;
};

}  // namespace sorn::campaigns
