#include <sys/wait.h>
#include <unistd.h>

#include "fakes/ServiceFixture.h"

namespace sorn::facade {

using Code = SornError::Code;
using nlohmann::json;
using tests::refusalOf;

class LogTest : public tests::ServiceFixture {
 protected:
  LogTest() { launch().services().database.currentApplication(); }

  std::optional<SornError> logged(const std::string& category, const std::string& action,
                                  const std::optional<Dictionary>& data = std::nullopt) {
    return refusalOf([&] { library_->sorn().logEventWith(category, action, data); });
  }
  std::optional<SornError> screen(const std::string& name,
                                  const std::optional<Dictionary>& data = std::nullopt) {
    auto refusal = refusalOf([&] { library_->sorn().logScreenWithName(name, data); });
    library_->context().performBlockAndWait([] {});
    return refusal;
  }
  bool hasNoTrace() {
    return stored("SELECT count(*) FROM SNEvent") + stored("SELECT count(*) FROM SNSession") == "00";
  }
  // The attributes of the newest event but for the library's own.
  json lastExtra() {
    json extra =
        json::parse(stored("SELECT extra FROM SNEvent WHERE action <> '+APP_OPENED' "
                           "ORDER BY id DESC LIMIT 1"));
    for (const char* own :
         {"campaign_ids", "sv", "app_version", "os_version", "authorization_status", "location_status"}) {
      EXPECT_EQ(extra.erase(own), 1u) << own;
    }
    return extra;
  }
};

TEST_F(LogTest, NamesOfTwoToFiftyOneCharactersAreTaken) {
  const std::string fifty(50, 'x');
  const std::pair<std::string, bool> cases[] = {
      {"AB", true},    {"A", false},     {"a" + fifty, true},  {"ab" + fifty, false},
      {"", false},     {"+A", false},    {"\xC3\x84x", true},  {"\nB", true},
      {"AB\n", false}, {"A\xFF", false}, {"NO_CATEGORY", true}};
  for (const auto& [name, isTaken] : cases) {
    const auto category = logged(name, "Action");
    const auto action = logged("Category", name);
    ASSERT_EQ(!category, isTaken) << name;
    ASSERT_EQ(!action, isTaken) << name;
    if (isTaken) continue;
    EXPECT_EQ(*category, SornError::invalidCategory(name));
    EXPECT_EQ(*action, SornError::invalidAction(name));
  }
  EXPECT_EQ(logged("+A", "+B"), SornError::invalidCategory("+A")) << "the category goes first";
}

TEST_F(LogTest, FaultOfTheExtraDataIsGeneralForEventsAndExactForScreens) {
  const std::pair<Dictionary, SornError> cases[] = {
      {{{"a-b", 1}}, SornError::invalidExtraKey("a-b")},
      {{{"\xFF", 1}}, SornError::invalidExtraKey("\xFF")},
      {{{"a", "$x"}}, SornError::invalidExtraValue("a")},
      {{{"a", "$"}}, SornError::invalidExtraValue("a")},
      {{{"a", nullptr}}, SornError::invalidExtraValue("a")},
      {{{"a", List{Value(1)}}}, SornError::invalidExtraValue("a")},
      {{{"a", Dictionary{}}}, SornError::invalidExtraValue("a")},
      {{{"a", "\xFF"}}, SornError::invalidExtraValue("a")},
      {{{"a", "$x"}, {"b-", 1}}, SornError::invalidExtraKey("b-")},
      {{{"ok", 1}, {"bad", "$x"}}, SornError::invalidExtraValue("bad")},
  };
  for (const auto& [data, forScreens] : cases) {
    EXPECT_EQ(logged("Category", "Action", data), SornError::plain(Code::invalidExtraData));
    EXPECT_EQ(screen("name", data), forScreens) << forScreens.what();
  }
  EXPECT_TRUE(logged("+", "Action") && logged("Category", "+") && screen("."));
  EXPECT_TRUE(hasNoTrace());
}

TEST_F(LogTest, ValuesAreTypedByTheirKeys) {
  ASSERT_FALSE(logged("Category", "Action",
                      Dictionary{{"bool", true},
                                 {"one", 1},
                                 {"half", 0.5},
                                 {"big", Decimal{"123456789012345678901234567890"}},
                                 {"when", dateSince1970(1'700'000'000.5)},
                                 {"text", "a$\"\n\xE2\x82\xAC"},
                                 {"empty", ""},
                                 {"\xC3\xA4", "umlaut"},
                                 {"sv", "mine"}}));
  EXPECT_EQ(lastExtra(), json::parse(R"({"B_bool":true,"N_one":1,"N_half":0.5,
      "N_big":123456789012345678901234567890,"D_when":1700000000.5,"S_text":"a$\"\n€","S_empty":"",
      "S_ä":"umlaut","S_sv":"mine"})"));
  EXPECT_EQ(stored("SELECT type || category || serialNumber FROM SNEvent WHERE action = 'Action'"),
            "app_usageCategory2");
  ASSERT_FALSE(logged("Category", "Action", Dictionary{}));
  EXPECT_EQ(lastExtra(), json::object());
}

TEST_F(LogTest, ScreenNamesAreDottedPaths) {
  const std::string fifty(50, 'x');
  for (const std::string& name : {std::string(), std::string("."), std::string("a..b"), fifty + "x"}) {
    EXPECT_EQ(screen(name), SornError::invalidScreenName(name));
  }
  const std::pair<std::string, std::string> cases[] = {
      {"home", R"({"screen_name":"home","screen_groups":["home"],"orientation":1})"},
      {"a.b.c d", R"({"screen_name":"c d","screen_groups":["a","b"],"orientation":1})"},
      {fifty + "." + fifty,
       R"({"screen_name":")" + fifty + R"(","screen_groups":[")" + fifty + R"("],"orientation":1})"},
      {"+x", R"({"screen_name":"+x","screen_groups":["+x"],"orientation":1})"},
  };
  for (const auto& [name, expected] : cases) {
    ASSERT_EQ(screen(name), std::nullopt) << name;
    EXPECT_EQ(lastExtra(), json::parse(expected));
  }
  ASSERT_EQ(screen("s", Dictionary{{"screen_name", "mine"}, {"n", 2}}), std::nullopt);
  EXPECT_EQ(lastExtra(), json::parse(R"({"S_screen_name":"mine","N_n":2,"screen_name":"s",
                                         "screen_groups":["s"],"orientation":1})"));
  EXPECT_EQ(stored("SELECT DISTINCT action || category FROM SNEvent WHERE action <> '+APP_OPENED'"),
            "+SCREEN_OPENEDNO_CATEGORY");
}

TEST_F(LogTest, UsageOffRefusesBothBeforeAnythingElseIsLookedAt) {
  configure("", 10, 10, false);
  launch();
  EXPECT_EQ(logged("+", "+"), SornError::plain(Code::featureNotEnabled));
  EXPECT_EQ(screen("."), SornError::plain(Code::featureNotEnabled));
  EXPECT_TRUE(hasNoTrace());
}

TEST_F(LogTest, CopyOfTheProcessRefusesWorkAndTheOriginalGoesOn) {
  ASSERT_FALSE(logged("Category", "before"));
  const auto bytesOfLog = [&] { return host_.folder.read("documents/SNSornDB.sqlite-wal"); };
  const std::string before = bytesOfLog();
  const pid_t child = ::fork();
  if (child == 0) {
    int refused = 0;
    Sorn& sorn = library_->sorn();
    for (const std::function<void()>& work : std::initializer_list<std::function<void()>>{
             [&] { sorn.logEventWith("Category", "in the copy"); }, [&] { sorn.logScreenWithName("copy"); },
             [&] { sorn.start("c"); }, [&] { sorn.defaultUser(); }, [&] { sorn.disableInAppCampaigns(); }}) {
      const auto refusal = refusalOf(work);
      if (refusal && refusal->code() == Code::serviceUnavailable) ++refused;
    }
    // Its exit handlers may tell it of the end that only the original may store.
    sorn.applicationDidEnterBackground();
    sorn.applicationWillTerminate();
    ::_exit(refused);
  }
  int status = 0;
  ASSERT_EQ(::waitpid(child, &status, 0), child);
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 5);
  EXPECT_TRUE(bytesOfLog() == before) << "the copy has written nothing";
  ASSERT_FALSE(logged("Category", "after"));
  EXPECT_EQ(stored("SELECT action FROM SNEvent WHERE category = 'Category' ORDER BY id"), "before,after");
}

}  // namespace sorn::facade
