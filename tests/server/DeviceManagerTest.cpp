#include "server/ServerFixture.h"

namespace sorn::device {

using platform::DeviceIdiom;

class DeviceManagerTest : public server::ServerFixture {
 protected:
  static constexpr const char* first = "test.host.key-SORN_UUID_KEY";
  static constexpr const char* second = "test.host.key-SORN_UUID_KEY_V2";

  DeviceManager& nextRun() {
    restart();
    return library().device();
  }
};

TEST_F(DeviceManagerTest, IntegerFormOfTheLibrarysVersion) {
  const std::pair<std::optional<std::string>, std::int64_t> cases[] = {
      {"1.2.3", 102031000},      {"1.2.3-beta4", 102030004},
      {"1.2.3-rc5", -102030005}, {"n/a", 0},
      {std::nullopt, 0},         {"2", 200001000},
      {"0.0.1", 11000},          {"1.2.3-rc", -102030000},
      {"v10.20.30", 1020301000}, {"99999999999999999999", 1000},
  };
  for (const auto& [version, expected] : cases) {
    host_.bundle->libraryText = version;
    EXPECT_EQ(nextRun().extractedSDKVersion(), expected) << version.value_or("absent");
  }
}

TEST_F(DeviceManagerTest, LocationStatusTellsRefusedGrantedAndUnknownApart) {
  const std::pair<std::optional<int>, int> cases[] = {
      {std::nullopt, -1}, {0, -1}, {1, 0}, {2, 0}, {3, 1}, {4, 1}, {5, -1}, {-1, -1}};
  for (const auto& [authorization, expected] : cases) {
    host_.facts->locationFact = authorization;
    EXPECT_EQ(library().device().locationStatus(), expected) << authorization.value_or(-99);
  }
}

TEST_F(DeviceManagerTest, DeviceTypesByTheirNames) {
  const std::pair<DeviceIdiom, const char*> cases[] = {{DeviceIdiom::unspecified, "unspecified"},
                                                       {DeviceIdiom::phone, "smartphone"},
                                                       {DeviceIdiom::tablet, "tablet"},
                                                       {DeviceIdiom::tv, "tv"},
                                                       {DeviceIdiom::carplay, "carplay"},
                                                       {DeviceIdiom::mac, "mac"},
                                                       {DeviceIdiom::vision, "vision"}};
  for (const auto& [idiom, name] : cases) {
    host_.facts->idiomFact = idiom;
    EXPECT_EQ(library().device().deviceInfo().device_type, name);
  }
}

TEST_F(DeviceManagerTest, LanguageIsCutAtItsFirstHyphen) {
  const std::pair<std::optional<std::string>, const char*> cases[] = {
      {"zh-Hant-TW", "zh"}, {"de", "de"}, {"fr-", "fr"}, {std::nullopt, "n/a"}, {"\xE9-FR", "n/a"}};
  for (const auto& [tag, language] : cases) {
    host_.facts->languageFact = tag;
    EXPECT_EQ(library().device().deviceInfo().language, language);
  }
}

TEST_F(DeviceManagerTest, OffsetIsInMinutesCutTowardsZero) {
  const std::pair<int, std::int64_t> cases[] = {{-12600, -210}, {0, 0}, {59, 0}, {-59, 0}, {20700, 345}};
  for (const auto& [seconds, minutes] : cases) {
    host_.facts->secondsFact = seconds;
    EXPECT_EQ(library().device().deviceInfo().utcoffset, minutes);
  }
}

TEST_F(DeviceManagerTest, IdentifierMovesFromTheFirstGenerationToTheSecond) {
  struct Case {
    std::optional<std::string> firstBefore;
    std::optional<std::string> secondBefore;
    std::optional<std::string> identifier;
    std::optional<std::string> secondAfter;
  };
  const std::optional<std::string> none;
  const std::string noText = "\xFF";
  const Case cases[] = {
      {none, none, none, none},     {"old", none, "old", "old"},   {none, "new", "new", "new"},
      {"old", "new", "new", "new"}, {"old", noText, "old", "old"}, {noText, none, none, none},
  };
  for (const Case& each : cases) {
    for (const auto& [service, value] : {std::pair{first, each.firstBefore}, {second, each.secondBefore}}) {
      host_.secureStore->remove(service);
      if (value) host_.secureStore->put(service, *value);
    }
    EXPECT_EQ(nextRun().readIdentifier(), each.identifier);
    auto items = host_.secureStore->items();
    EXPECT_EQ(items.contains(second) ? std::optional(items[second]) : std::nullopt, each.secondAfter);
    EXPECT_EQ(items.contains(first) ? std::optional(items[first]) : std::nullopt, each.firstBefore)
        << "the former item stays as it is";
  }
}

TEST_F(DeviceManagerTest, NewIdentifierIsKeptUnderBothGenerations) {
  host_.secureStore->remove(second);
  const std::string identifier = nextRun().makeIdentifier();
  EXPECT_THAT(identifier, ::testing::MatchesRegex("key::[0-9A-F]{8}(-[0-9A-F]{4}){3}-[0-9A-F]{12}"));
  EXPECT_EQ(host_.secureStore->items()[first], identifier);
  EXPECT_EQ(host_.secureStore->items()[second], identifier);
  EXPECT_EQ(nextRun().identifier(), identifier);
}

TEST_F(DeviceManagerTest, IdentifierThatCannotBeKeptHoldsForThisRunAndThisAccount) {
  host_.secureStore->remove(second);
  host_.secureStore->addStatus = platform::SecureStore::ioFailure;
  const std::string identifier = library().device().identifier();
  EXPECT_EQ(identifier.size(), 41u);
  EXPECT_EQ(library().device().identifier(), identifier);
  EXPECT_EQ(library().device().deviceInfo().entity_id, identifier);
  host_.secureStore->readStatus = platform::SecureStore::ioFailure;
  EXPECT_EQ(library().device().readIdentifier(), identifier);
  support::Credentials other = host_.credentials;
  other.applicationKey = "other";
  library().account().set(other);
  EXPECT_EQ(library().device().readIdentifier(), std::nullopt);
  EXPECT_THAT(library().device().identifier(), ::testing::StartsWith("other::"));
  EXPECT_EQ(nextRun().readIdentifier(), std::nullopt);
}

}  // namespace sorn::device
