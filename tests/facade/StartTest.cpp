#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "facade/Startup.h"
#include "fakes/TestHost.h"

namespace sorn::facade {

namespace {

using Code = SornError::Code;
using Entries = std::vector<std::pair<std::string, std::string>>;

// printf TEXT | openssl enc -des-cbc -provider legacy -provider default -K C7F2A91E04D3B868
//     -iv 3A5C09E7B1D264F0 | base64
constexpr const char* key = "AIESX0oFhSs=";     // app-key
constexpr const char* secret = "XQ4w2gyJAEQ=";  // s3crét
constexpr const char* environment =
    "157uB7953bg8SNM16VxEkeHIH8c8GewPzjBJdpwxbRE=";                               // http://service.test:8080
constexpr const char* environmentWithSlash = "157uB7953bg8SNM16VxEkXEoewTKq/jd";  // http://service.test/
constexpr const char* blanks = "jeaFVfAYCCE=";          // space, line end, tab, space
constexpr const char* keyAfterBlanks = "JYp//BiOAi0=";  // two spaces, "key"
constexpr const char* noText = "X6FQbJBHbcA=";          // the bytes ff fe
constexpr const char* nothing = "BvezhuTHcGY=";         // padding alone

std::string list(const std::string& inside) {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><plist version=\"1.0\">" + inside + "</plist>";
}
// The usual entries, with some replaced; an empty name leaves out the usual entry of the value.
std::string configuration(const Entries& replaced = {}, const std::string& more = "") {
  std::map<std::string, std::string> values = {{"application_key", key},
                                               {"application_secret", secret},
                                               {"mode", "development"},
                                               {"environment", environment}};
  for (const auto& [name, value] : replaced) {
    if (name.empty()) {
      values.erase(value);
    } else {
      values[name] = value;
    }
  }
  std::string inside;
  for (const auto& [name, value] : values) {
    inside.append("<key>").append(name).append("</key><string>").append(value).append("</string>");
  }
  return list("<dict>" + inside + more + "</dict>");
}

std::optional<Code> refusalOf(Library& library, const std::string& file) {
  try {
    library.sorn().start(file);
  } catch (const SornError& error) {
    return error.code();
  }
  return std::nullopt;
}

std::optional<std::string> lastStart(const tests::TestHost& host) {
  const auto value = host.defaults->object("kSORN_LAST_START");
  if (!value) return std::nullopt;
  return *value->as<Dictionary>()->at("SRStartFileName").as<std::string>();
}

void settle(Library& library) { Diagnostics(library.sorn()).waitUntilIdle(); }

struct Refused {
  std::string content;
  Code code;
};

}  // namespace

TEST(Start, RefusesEachUnusableFileByTheFirstThingWrongAndLeavesNoTrace) {
  const std::string good = configuration();
  const Refused cases[] = {
      {"", Code::invalidConfigurationFile},
      {std::string(3000, '\x7F'), Code::invalidConfigurationFile},
      {"bplist00" + std::string(40, '\xFF'), Code::invalidConfigurationFile},
      {good.substr(0, good.size() / 2), Code::invalidConfigurationFile},
      {list("<array/>"), Code::invalidConfigurationFile},
      {list("<string>x</string>"), Code::invalidConfigurationFile},
      {configuration({}, "<key>n</key><integer>1</integer>"), Code::invalidConfigurationFile},
      {configuration({}, "<key>n</key><dict/>"), Code::invalidConfigurationFile},
      {configuration({}, "<key>n</key><true/>"), Code::invalidConfigurationFile},
      {good + std::string(2'000'000, ' '), Code::invalidConfigurationFile},
      {list("<dict/>"), Code::invalidConfigurationArguments},
      {configuration({{"", "application_key"}}), Code::invalidConfigurationArguments},
      {configuration({{"", "application_secret"}}), Code::invalidConfigurationArguments},
      {configuration({{"", "mode"}}), Code::invalidConfigurationArguments},
      {configuration({{"", "environment"}, {"mode", "x"}}), Code::invalidConfigurationArguments},
      {configuration({{"mode", "Development"}}), Code::undefinedMode},
      {configuration({{"mode", ""}, {"application_key", "*"}}), Code::undefinedMode},
      {configuration({{"application_key", "*"}, {"application_secret", "*"}}), Code::invalidAppKey},
      {configuration({{"application_key", ""}}), Code::invalidAppKey},
      {configuration({{"application_key", blanks}}), Code::invalidAppKey},
      {configuration({{"application_key", noText}}), Code::invalidAppKey},
      {configuration({{"application_key", nothing}}), Code::invalidAppKey},
      {configuration({{"application_key", std::string(key) + "\n"}}), Code::invalidAppKey},
      {configuration({{"application_secret", blanks}, {"environment", "*"}}), Code::invalidAppSecret},
      {configuration({{"application_secret", noText}}), Code::invalidAppSecret},
      {configuration({{"environment", blanks}}), Code::invalidEnvironment},
      {configuration({{"environment", "%%%"}}), Code::invalidEnvironment},
  };
  for (const Refused& each : cases) {
    tests::TestHost host;
    host.folder.write("c.plist", each.content);
    const auto library = host.install();
    EXPECT_EQ(refusalOf(*library, "c"), each.code) << each.content.substr(0, 400);
    EXPECT_EQ(library->account().credentials(), nullptr);
    EXPECT_EQ(lastStart(host), std::nullopt);
    EXPECT_FALSE(std::filesystem::exists(host.databaseFile()));
    EXPECT_FALSE(library->state().didStart);
    library->logger().flush();
    ASSERT_EQ(host.log->lines().size(), 1u) << "a refusal is always told";
    EXPECT_THAT(host.log->lines()[0],
                ::testing::HasSubstr(SornError::plain(each.code).localizedDescription()));
  }
}

TEST(Start, RefusedStartKeepsTheCredentialsOfTheOneBefore) {
  tests::TestHost host;
  host.folder.write("bad.plist",
                    configuration({{"environment", blanks}, {"application_key", keyAfterBlanks}}));
  const auto library = host.launch();
  EXPECT_EQ(refusalOf(*library, "bad"), Code::invalidEnvironment);
  EXPECT_EQ(refusalOf(*library, "missing"), Code::invalidConfigurationFile);
  EXPECT_EQ(library->account().applicationKey(), "key");
}

TEST(Start, DeciphersTheAccountAndKeepsTheFilesName) {
  tests::TestHost host;
  host.folder.write("c.plist", configuration());
  const auto library = host.install();
  EXPECT_EQ(refusalOf(*library, "c.plist"), std::nullopt);
  const auto credentials = library->account().credentials();
  EXPECT_EQ(credentials->applicationKey, "app-key");
  EXPECT_EQ(credentials->applicationSecret, "s3cr\xC3\xA9t");
  EXPECT_EQ(credentials->environment, environment) << "as it stands in the file";
  EXPECT_EQ(credentials->baseURL, "http://service.test:8080/endpoints/v2/");
  EXPECT_EQ(lastStart(host), "c");
  settle(*library);
  EXPECT_TRUE(library->state().didStart);
  EXPECT_EQ(library->state().mode, SornMode::development);
}

TEST(Start, KeepsOddValuesAsTheyAre) {
  tests::TestHost host;
  host.folder.write("c.plist", configuration({{"application_key", keyAfterBlanks},
                                              {"environment", environmentWithSlash},
                                              {"mode", "production"}}));
  const auto library = host.install();
  EXPECT_EQ(refusalOf(*library, "c"), std::nullopt);
  EXPECT_EQ(library->account().credentials()->applicationKey, "  key");
  EXPECT_EQ(library->account().credentials()->baseURL, "http://service.test//endpoints/v2/");
  settle(*library);
  EXPECT_EQ(library->state().mode, SornMode::production);
}

TEST(Start, LosesTheExtensionWhereverItStandsInTheName) {
  const std::pair<const char*, const char*> cases[] = {{"name", "name"},
                                                       {"name.plist", "name"},
                                                       {"na.plistme", "name"},
                                                       {".plistname.plist.plist", "name"},
                                                       {"name.PLIST", "name.PLIST"},
                                                       {"x.pl.plistist", "x.plist"}};
  for (const auto& [given, kept] : cases) {
    tests::TestHost host;
    host.folder.write(std::string(kept) + ".plist", configuration());
    const auto library = host.install();
    EXPECT_EQ(refusalOf(*library, given), std::nullopt) << given;
    EXPECT_EQ(lastStart(host), kept) << given;
  }
}

TEST(Start, DoesNothingOnceStarted) {
  tests::TestHost host;
  host.folder.write("first.plist", configuration());
  host.folder.write("second.plist", configuration({{"application_key", keyAfterBlanks}}));
  const auto library = host.install();
  library->sorn().start("first");
  settle(*library);
  EXPECT_EQ(refusalOf(*library, "second"), std::nullopt);
  EXPECT_EQ(refusalOf(*library, "missing"), std::nullopt) << "not even looked for";
  EXPECT_EQ(lastStart(host), "first");
  EXPECT_EQ(library->account().applicationKey(), "app-key");
}

TEST(Start, RunsAgainWhileTheFirstHasNotComeToItsEnd) {
  tests::TestHost host;
  host.folder.write("first.plist", configuration());
  host.folder.write("second.plist", configuration({{"application_key", keyAfterBlanks}}));
  const auto library = host.install();
  library->context().performBlockAndWait([&] {  // nobody else gets the store meanwhile
    library->sorn().start("first");
    library->sorn().start("second");
  });
  EXPECT_EQ(lastStart(host), "second");
  EXPECT_EQ(library->account().applicationKey(), "  key");
  settle(*library);
  EXPECT_TRUE(library->state().didStart);
}

TEST(StartDeathTest, TamperedCiphertextEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  // The last block of the key with its first byte changed, one block cut short, and other people's blocks.
  for (const char* tampered : {"AYESX0oFhSs=", "AIESX0oFhQ==", "AAAAAAAAAAA="}) {
    for (const char* entry : {"application_key", "application_secret", "environment"}) {
      EXPECT_DEATH(
          {
            tests::TestHost host;
            host.folder.write("c.plist", configuration({{entry, tampered}}));
            refusalOf(*host.install(), "c");
          },
          "Fatal error")
          << tampered;
    }
  }
}

}  // namespace sorn::facade
