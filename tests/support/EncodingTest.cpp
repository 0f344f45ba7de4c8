#include <regex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include "fakes/TemporaryFolder.h"
#include "support/Base64.h"
#include "support/ForkGuard.h"
#include "support/Url.h"
#include "support/Uuid.h"

namespace sorn::support {
namespace {

using namespace std::string_literals;

// printf TEXT | base64
TEST(Base64, AgreesWithTheTool) {
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
}

TEST(Base64, IsStrict) {
  for (const char* text : {"YQ", "YQ=", "YQ==\n", " YQ==", "Y Q=", "YWJj=", "YWJj====", "Y===", "====", "=",
                           "YQ==YQ==", "AP_7vg==", "AP-7vg==", "Y\xc3\xa9=", "YWJ.", "=YWJ"}) {
    EXPECT_FALSE(base64Decode(text)) << text;
  }
  EXPECT_EQ(base64Decode("YR=="), "a");  // spare bits
  EXPECT_EQ(base64Decode("YWK="), "ab");
}

struct Parts {
  const char* text;
  std::optional<std::string_view> scheme;
  std::optional<std::string_view> host;
  std::optional<int> port;
  std::string path;
  std::optional<std::string_view> query;
};

TEST(Url, TellsItsParts) {
  const auto none = std::nullopt;
  const Parts cases[] = {
      {"https://api.example.com/v2/x", "https", "api.example.com", none, "/v2/x", none},
      {"http://h:8080", "http", "h", 8080, "", none},
      {"http://h:/", "http", "h", none, "/", none},
      {"http://h:8x/", "http", "h", none, "/", none},
      {"http://user:pw@h:99/a/?b=c%20d?e#f?g", "http", "h", 99, "/a", "b=c%20d?e"},
      {"http://h?", "http", "h", none, "", ""},
      {"http://[::1]:443/a//b/%20%C3%A9/", "http", "::1", 443, "/a//b/ \u00e9", none},
      {"http://h/a%2Fb%FF", "http", "h", none, "/a%2Fb%FF", none},
      {"file:///etc/x", "file", none, none, "/etc/x", none},
      {"foo", none, none, none, "foo", none},
      {"//h/p", none, "h", none, "/p", none},
      {"?a=b", none, none, none, "", "a=b"},
      {"/a:b", none, none, none, "/a:b", none},
      {"1a:b", none, none, none, "1a:b", none},
      {"mailto:a@b.c?d=e", "mailto", none, none, "", none},
      {"app:/path?q", "app", none, none, "/path", "q"},
  };
  for (const Parts& one : cases) {
    const std::optional<Url> url = Url::parse(one.text);
    ASSERT_TRUE(url) << one.text;
    EXPECT_EQ(url->scheme(), one.scheme) << one.text;
    EXPECT_EQ(url->host(), one.host) << one.text;
    EXPECT_EQ(url->port(), one.port) << one.text;
    EXPECT_EQ(url->path(), one.path) << one.text;
    EXPECT_EQ(url->query(), one.query) << one.text;
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
  EXPECT_FALSE(percentDecode("%4"));
}

TEST(Uuid, IsARandomIdentifierInUpperCaseAndEachThreadHasItsOwn) {
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
}

TEST(Fork, TheChildKnowsAndDrawsOtherIdentifiers) {
  const tests::TemporaryFolder folder;
  installForkGuard();
  makeUuid();  // the pool is part used
  const pid_t child = fork();
  ASSERT_GE(child, 0);
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
