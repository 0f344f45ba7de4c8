#include <thread>

#include "server/ServerFixture.h"

namespace sorn::server {

using documents::Features;

class ConfigurationStoreTest : public ServerFixture {
 protected:
  static constexpr const char* item = "test.host.key-SNSornConfiguration";

  bool take(const std::string& answer) {
    const auto document = support::Document::parse(answer);
    return library().configuration().takeFromAnswer(document ? std::optional(document->root())
                                                             : std::nullopt);
  }
  bool takeConfiguration(const std::string& json) { return take("{\"configuration\":" + json + "}"); }
  static documents::Configuration ofBatchSize(std::int64_t size) {
    documents::Configuration configuration;
    configuration.eventOptions.batchSize = size;
    return configuration;
  }
  // Size, time-out and features, or what stands for absence.
  std::string inForce() {
    auto& store = library().configuration();
    std::string text = std::to_string(store.batchSize()) + " " + std::to_string(store.batchTimeout());
    for (const auto feature :
         {&Features::push, &Features::reportUsage, &Features::macroLocation, &Features::inApp}) {
      text += store.isEnabled(feature, false) ? " yes" : " no";
    }
    return text;
  }
};

constexpr const char* defaults = "10 10.000000 no no no no";
constexpr const char* usual =
    R"({"features":{"push":true,"report_usage":true},"events_options":{"batch_timeout":7,"batch_size":3}})";
constexpr const char* usualInForce = "3 7.000000 yes yes no no";

TEST_F(ConfigurationStoreTest, FeaturesAreBooleansOrNumbersAndNothingElse) {
  // The features, and which of them are then in force; empty when the whole is refused.
  const std::pair<std::string, std::string> cases[] = {
      {R"("push":true,"report_usage":false,"macro_location":true,"inapp":true)", "yes no yes yes"},
      {R"("push":1,"report_usage":0,"macro_location":1,"inapp":1)", "yes no yes yes"},
      {R"("push":2,"report_usage":-1,"macro_location":2,"inapp":0)", "no no no no"},
      {R"("push":true,"report_usage":true)", "yes yes no no"},
      {R"("push":true,"report_usage":true,"macro_location":null,"inapp":null)", "yes yes no no"},
      {R"("push":true,"report_usage":true,"future":{}})", ""},
      {R"("push":true)", ""},
      {R"("push":"yes","report_usage":true)", ""},
      {R"("push":1.5,"report_usage":true)", ""},
      {R"("push":true,"report_usage":true,"inapp":"1")", ""},
  };
  for (const auto& [features, expected] : cases) {
    library().configuration().setConfiguration(std::nullopt);
    const std::string json =
        "{\"features\":{" + features + R"(},"events_options":{"batch_timeout":7,"batch_size":3}})";
    EXPECT_EQ(takeConfiguration(json), !expected.empty()) << features;
    EXPECT_EQ(inForce(), expected.empty() ? defaults : "3 7.000000 " + expected) << features;
    const std::string before = inForce();
    restart();
    EXPECT_EQ(inForce(), before) << "after a restart: " << features;
  }
}

TEST_F(ConfigurationStoreTest, AnswerWithoutAUsableConfigurationLeavesTheOldOneInForce) {
  ASSERT_TRUE(takeConfiguration(usual));
  const auto stored = host_.secureStore->items();
  for (const char* answer : {"{}", "{\"configuration\":null}", "[]", "true"}) {
    EXPECT_FALSE(take(answer)) << answer;
  }
  const std::string features = R"({"features":{"push":true,"report_usage":true})";
  for (const std::string& configuration :
       {std::string("[]"), std::string("{}"), features + "}",
        std::string(R"({"events_options":{"batch_timeout":1,"batch_size":1}})"),
        features + R"(,"events_options":{"batch_size":1}})",
        features + R"(,"events_options":{"batch_timeout":"5","batch_size":1}})",
        features + R"(,"events_options":{"batch_timeout":5.5,"batch_size":1}})",
        features + R"(,"events_options":{"batch_timeout":true,"batch_size":1}})"}) {
    EXPECT_FALSE(takeConfiguration(configuration)) << configuration;
  }
  EXPECT_EQ(inForce(), usualInForce);
  EXPECT_EQ(host_.secureStore->items(), stored);
}

TEST_F(ConfigurationStoreTest, DamagedItemCountsAsNoneUntilANewOneIsStored) {
  for (const char* bytes : {"", "{", "[]", "{\"features\":{}}", "\xFF\xFE"}) {
    host_.secureStore->put(item, bytes);
    restart();
    EXPECT_EQ(inForce(), defaults) << bytes;
  }
  EXPECT_TRUE(takeConfiguration(R"({"features":{"push":false,"report_usage":true},
                                    "events_options":{"batch_timeout":0,"batch_size":-1}})"));
  EXPECT_EQ(inForce(), "-1 0.000000 no yes no no");
}

TEST_F(ConfigurationStoreTest, EachAccountHasItsOwnAndAbsenceRemovesIt) {
  ASSERT_TRUE(takeConfiguration(usual));
  host_.credentials.applicationKey = "other";
  restart();
  EXPECT_EQ(inForce(), defaults);
  library().configuration().setConfiguration(std::nullopt);
  EXPECT_TRUE(host_.secureStore->items().contains(item));
  host_.credentials.applicationKey = "key";
  restart();
  EXPECT_EQ(inForce(), usualInForce);
  library().configuration().setConfiguration(std::nullopt);
  EXPECT_EQ(inForce(), defaults);
  EXPECT_FALSE(host_.secureStore->items().contains(item));
}

TEST_F(ConfigurationStoreTest, SecureStoreIsReadOnceWhateverIsFound) {
  for (const bool isStored : {false, true}) {
    if (isStored) host_.secureStore->put(item, usual);
    restart();
    const int before = host_.secureStore->reads();
    for (int index = 0; index < 100; ++index) inForce();
    EXPECT_EQ(host_.secureStore->reads() - before, 1) << isStored;
  }
}

TEST_F(ConfigurationStoreTest, StoreThatCouldNotBeReadIsAskedAgain) {
  host_.secureStore->put(item, usual);
  host_.secureStore->readStatus = platform::SecureStore::ioFailure;
  EXPECT_EQ(inForce(), defaults);
  host_.secureStore->readStatus = platform::SecureStore::success;
  EXPECT_EQ(inForce(), usualInForce);
}

TEST_F(ConfigurationStoreTest, NobodyWhoAsksWaitsForTheDisk) {
  auto& configuration = library().configuration();
  configuration.setConfiguration(ofBatchSize(3));
  std::promise<void> isWriting;
  std::promise<void> mayEnd;
  host_.secureStore->beforeAdd = [&] {
    isWriting.set_value();
    mayEnd.get_future().wait();
  };
  std::thread writer([&] { configuration.setConfiguration(ofBatchSize(4)); });
  isWriting.get_future().wait();
  auto asked = std::async(std::launch::async, [&] { return configuration.batchSize(); });
  const bool hasAnswer = asked.wait_for(std::chrono::seconds(10)) == std::future_status::ready;
  mayEnd.set_value();
  writer.join();
  EXPECT_TRUE(hasAnswer);
  EXPECT_EQ(asked.get(), 3);
  EXPECT_EQ(configuration.batchSize(), 4);
}

TEST_F(ConfigurationStoreTest, AReadThatAWriteOvertakesBringsNothingOldBack) {
  host_.secureStore->put(item, usual);
  auto& configuration = library().configuration();
  host_.secureStore->afterRead = [&] {
    host_.secureStore->afterRead = nullptr;
    configuration.setConfiguration(ofBatchSize(4));
  };
  EXPECT_EQ(configuration.batchSize(), 4);
  EXPECT_EQ(configuration.batchSize(), 4);
}

}  // namespace sorn::server
