#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "facade/Startup.h"
#include "fakes/TestHost.h"

namespace sorn::facade {

namespace {

using Code = SornError::Code;
using Entries = std::map<std::string, std::optional<std::string>>;

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

// The usual entries, with some replaced or left out.
std::string configuration(Entries entries = {}) {
  entries.merge(Entries{{"application_key", key},
                        {"application_secret", secret},
                        {"mode", "development"},
                        {"environment", environment}});
  std::string inside;
  for (const auto& [name, value] : entries) {
    if (value) inside.append("<key>" + name + "</key><string>" + *value + "</string>");
  }
  return "<plist><dict>" + inside + "</dict></plist>";
}

std::optional<Code> refusalOf(Library& library, const std::string& file) {
  const auto error = tests::refusalOf([&] { library.sorn().start(file); });
  return error ? std::optional(error->code()) : std::nullopt;
}

std::optional<std::string> lastStart(const tests::TestHost& host) {
  const auto value = host.defaults->object("kSORN_LAST_START");
  if (!value) return std::nullopt;
  return *value->as<Dictionary>()->at("SRStartFileName").as<std::string>();
}

void settle(Library& library) { Diagnostics(library.sorn()).waitUntilIdle(); }

}  // namespace

TEST(Start, RefusesEachUnusableFileByTheFirstThingWrongAndLeavesNoTrace) {
  const std::string good = configuration();
  const std::pair<std::string, Code> cases[] = {
      {"", Code::invalidConfigurationFile},
      {good.substr(0, good.size() / 2), Code::invalidConfigurationFile},
      {good + std::string(2'000'000, ' '), Code::invalidConfigurationFile},
      {"<plist><dict/></plist>", Code::invalidConfigurationArguments},
      {configuration({{"application_key", std::nullopt}}), Code::invalidConfigurationArguments},
      {configuration({{"application_secret", std::nullopt}}), Code::invalidConfigurationArguments},
      {configuration({{"mode", std::nullopt}}), Code::invalidConfigurationArguments},
      {configuration({{"environment", std::nullopt}, {"mode", "x"}}), Code::invalidConfigurationArguments},
      {configuration({{"mode", "Development"}}), Code::undefinedMode},
      {configuration({{"mode", ""}, {"application_key", "*"}}), Code::undefinedMode},
      {configuration({{"application_key", "*"}, {"application_secret", "*"}}), Code::invalidAppKey},
      {configuration({{"application_key", ""}}), Code::invalidAppKey},
      {configuration({{"application_key", blanks}}), Code::invalidAppKey},
      {configuration({{"application_key", noText}}), Code::invalidAppKey},
      {configuration({{"application_key", nothing}}), Code::invalidAppKey},
      {configuration({{"application_secret", blanks}, {"environment", "*"}}), Code::invalidAppSecret},
      {configuration({{"application_secret", noText}}), Code::invalidAppSecret},
      {configuration({{"environment", blanks}}), Code::invalidEnvironment},
  };
  for (const auto& [content, code] : cases) {
    tests::TestHost host;
    host.folder.write("c.plist", content);
    const auto library = host.install();
    EXPECT_EQ(refusalOf(*library, "c"), code) << content.substr(0, 400);
    EXPECT_EQ(library->account().credentials(), nullptr);
    EXPECT_EQ(lastStart(host), std::nullopt);
    EXPECT_FALSE(std::filesystem::exists(host.databaseFile()));
    EXPECT_FALSE(library->state().didStart);
    library->logger().flush();
    ASSERT_EQ(host.log->lines().size(), 1u) << "a refusal is always told";
    EXPECT_THAT(host.log->lines()[0], ::testing::HasSubstr(SornError::plain(code).localizedDescription()));
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
