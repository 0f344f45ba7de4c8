#include <regex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "fakes/DataFile.h"
#include "fakes/TemporaryFolder.h"
#include "support/Base64.h"
#include "support/ForkGuard.h"
#include "support/Url.h"
#include "support/Uuid.h"

namespace sorn::support {
namespace {

using namespace std::string_literals;

// printf TEXT | base64
TEST(Base64, AgreesWithTheToolAndIsStrict) {
  const std::pair<std::string, const char*> cases[] = {
      {"", ""},
      {"a", "YQ=="},
      {"ab", "YWI="},
      {"abc", "YWJj"},
      {"\x00\xff\xfb\xbe"s, "AP/7vg=="},
      {">?>?", "Pj8+Pw=="},
  };
  for (const auto& [bytes, text] : cases) {
    EXPECT_EQ(base64Encode(bytes), text);
    EXPECT_EQ(base64Decode(text), bytes);
  }
  for (const char* text : {"YQ", "YQ=", "YQ==\n", " YQ==", "Y Q=", "YWJj=", "YWJj====", "Y===", "====", "=",
                           "YQ==YQ==", "AP_7vg==", "AP-7vg==", "Y\xc3\xa9=", "YWJ.", "=YWJ"}) {
    EXPECT_FALSE(base64Decode(text)) << text;
  }
  EXPECT_EQ(base64Decode("YR=="), "a");  // spare bits
}

TEST(Url, TellsItsParts) {
  for (const auto& row : tests::dataFile("url-parts.json")) {
    const std::optional<Url> url = Url::parse(row[0].get<std::string>());
    ASSERT_TRUE(url) << row;
    EXPECT_EQ(url->scheme(), tests::cell<std::string>(row[1])) << row;
    EXPECT_EQ(url->host(), tests::cell<std::string>(row[2])) << row;
    EXPECT_EQ(url->port(), tests::cell<int>(row[3])) << row;
    EXPECT_EQ(url->path(), row[4]) << row;
    EXPECT_EQ(url->query(), tests::cell<std::string>(row[5])) << row;
  }
}

TEST(Url, RefusesCharactersThatNoAddressHolds) {
  for (const std::string& text :
       {""s, "http://h/a b"s, "\"x\""s, "a<b"s, "a>b"s, "a\\b"s, "a^b"s, "{a}"s, "a|b"s, "a`"s, "a\n"s,
        "a\0"s, "\u00e9"s, "a%"s, "a%2"s, "a%2g"s, "a#b#c"s}) {
    EXPECT_FALSE(Url::parse(text)) << text;
  }
  EXPECT_TRUE(Url::parse("!$&'()*+,-./:;=?@_~[]%aF#"));
}

TEST(Url, AppendsOneSlashAtMost) {
  const std::string cases[][3] = {
      {"https://h/endpoints/v2/", "events/report/json", "https://h/endpoints/v2/events/report/json"},
      {"https://h/endpoints/v2", "save", "https://h/endpoints/v2/save"},
      {"https://h//endpoints/v2//", "save", "https://h//endpoints/v2//save"},
      {"https://h", "a/", "https://h/a/"},
      {"https://h/a?q=1#f", "b c\u00e9%", "https://h/a/b%20c%C3%A9%25?q=1#f"},
  };
  for (const auto& [base, component, expected] : cases) {
    const Url joined = Url::parse(base)->appendPathComponent(component);
    EXPECT_EQ(joined.text(), expected);
    EXPECT_EQ(Url::parse(expected)->path(), joined.path());
  }
}

TEST(Url, PercentEncodingLeavesTheAllowedSetAlone) {
  EXPECT_EQ(percentEncode("a=1&b/\u00e9?", "?#&="), "%61=%31&%62%2F%C3%A9?");
  EXPECT_EQ(percentDecode("a%C3%A9+%2f"), "a\u00e9+/");
  EXPECT_FALSE(percentDecode("%C3"));
}

TEST(Uuid, IsARandomIdentifierInUpperCaseAndEachThreadAndChildHasItsOwn) {
  std::vector<std::vector<std::string>> drawn(4);
  std::vector<std::thread> threads;
  threads.reserve(drawn.size());
  for (auto& own : drawn) {
    threads.emplace_back([&own] {
      for (int count = 0; count < 5000; ++count) own.push_back(makeUuid());
    });
  }
  for (std::thread& thread : threads) thread.join();
  const std::regex form("[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}");
  std::set<std::string> all;
  for (const auto& own : drawn) {
    for (const std::string& uuid : own) {
      EXPECT_TRUE(std::regex_match(uuid, form)) << uuid;
      EXPECT_TRUE(all.insert(uuid).second);
    }
  }
  const tests::TemporaryFolder folder;
  installForkGuard();
  makeUuid();  // the pool is part used
  const pid_t child = fork();
  if (child == 0) {
    folder.write("uuid", makeUuid());
    _exit(isForkedChild() ? 0 : 1);
  }
  int status = -1;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_EQ(status, 0);
  EXPECT_EQ(folder.read("uuid").size(), 36u);
  EXPECT_NE(folder.read("uuid"), makeUuid());
  EXPECT_FALSE(isForkedChild());
}

}  // namespace
}  // namespace sorn::support
