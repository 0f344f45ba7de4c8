#include <set>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "fakes/TestHost.h"
#include "sorn-config/ConfigurationFile.h"
#include "sorn-emulator/Emulator.h"

namespace sorn::facade {

using nlohmann::json;
using namespace std::chrono_literals;

// A host that starts the library by its file, over real HTTP with a service on this machine.
class EndToEnd : public ::testing::Test {
 protected:
  EndToEnd() : emulator_({.accounts = {{"app", "s3cr\xC3\xA9t"}}}) {
    host_.usesNetwork = true;
    host_.folder.write("c.plist",
                       config::configurationText({"app", "s3cr\xC3\xA9t", "development", emulator_.origin()},
                                                 configuration::PropertyListForm::binary));
  }
  Library& start() {
    library_.reset();
    library_ = host_.install();
    library_->sorn().start("c");
    settle();
    return *library_;
  }
  void settle() { Diagnostics(library_->sorn()).waitUntilIdle(); }

  emulator::Emulator emulator_;
  tests::TestHost host_;
  std::unique_ptr<Library> library_;
};

TEST_F(EndToEnd, EveryEventArrivesOnceInOrderAndSigned) {
  Library& library = start();
  for (int number = 0; number < 200; ++number) {
    library.sorn().logEventWith("Category", "n " + std::to_string(number),
                                Dictionary{{"text", "\xE2\x82\xAC \"quoted\""}, {"number", number}});
  }
  settle();  // a tick while a batch is out would pass in vain
  host_.clock->advance(10);
  ASSERT_TRUE(emulator_.waitForEvents(201, 20s));
  settle();
  host_.clock->advance(10);
  settle();
  const auto events = emulator_.events();
  ASSERT_EQ(events.size(), 201u) << "nothing comes twice";
  std::map<int, std::string> bySequence;
  std::set<std::string> sessions;
  for (const json& event : events) {
    bySequence[event["sequence"]] = event["action"];
    sessions.insert(event["session_id"]);
  }
  EXPECT_EQ(bySequence.size(), 201u);
  EXPECT_EQ(bySequence[1], "+APP_OPENED");
  EXPECT_EQ(bySequence[2], "n 0");
  EXPECT_EQ(bySequence[201], "n 199");
  EXPECT_EQ(sessions.size(), 1u);
  for (const auto& request : emulator_.requests()) EXPECT_EQ(request.signature, "valid") << request.path;
  EXPECT_EQ(library.context().performBlockAndWait(
                [&] { return library.context().count(store::SNEvent::entity()); }),
            0u);
}

TEST_F(EndToEnd, ConfigurationOfTheServiceHoldsInTheNextRun) {
  emulator_.setConfiguration(R"({"features":{"push":1,"report_usage":1},
                                 "events_options":{"batch_timeout":5,"batch_size":3}})");
  start().services();
  EXPECT_EQ(library_->configuration().batchSize(), 3);
  EXPECT_EQ(Diagnostics(library_->sorn()).secondsToNextTimer(), 10.0) << "the period is fixed before";
  start().services();
  EXPECT_EQ(Diagnostics(library_->sorn()).secondsToNextTimer(), 5.0);
  library_->sorn().logEventWith("Category", "Action");  // and the session's first
  settle();
  EXPECT_EQ(emulator_.eventCount(), 0u);
  library_->sorn().logEventWith("Category", "third");
  EXPECT_TRUE(emulator_.waitForEvents(3, 10s));
}

}  // namespace sorn::facade
