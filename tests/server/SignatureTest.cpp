#include "server/ServerFixture.h"
#include "server/SignedRequest.h"

namespace sorn::server {

using SignatureTest = ServerFixture;

// Expected values: printf '%s' "HOST[:PORT]/PATH$BODY" | openssl dgst -sha256 -hmac SECRET -binary | base64,
// with the body {"tags":["ä€"]}.
TEST_F(SignatureTest, CoversHostPortPathAndBody) {
  struct Case {
    std::string origin;
    std::string signature;
    std::string end = "/endpoints/v2/";
    std::string secret = "geheim";
  };
  const std::string plain = "lPvFsSeJQh51PzjTPjmE+WcxbLmoys7PvgoHhLBiFxk=";
  const Case cases[] = {
      {"https://service.test", plain},
      {"http://service.test", plain, "/endpoints/v2"},
      {"http://service.test", "mbWY4mdQZiT2qY4CDsjAjeOwdut0YGnZOlFIujWwGzk=", "/endpoints/v2/", ""},
      {"http://service.test:8080", "tudKo7QdcAJjf035x4J5m08Ak9VbDx7774KYy4eXd+U="},
      {"http://service.test:1", "Pd8eASErngR6MB6fAVlJ0LMo+Ksh9FOS4kARb7bkoZ8="},
      {"http://service.test:9998", "N0R9B2FvGlLshGgkiQDN5er1dRcKD9LfYZvUBhDfQGM="},
      {"http://service.test:9999", plain},
      {"http://service.test:65535", plain},
      {"http://service.test/pre/fix", "xuE12qmYDpQWjyxzWyGf0qpL1tTU9e6UcDUAWSH4wwE="},
      {"http://service.test:8080/", "CHt7ylSSmabAaiS1OBRCynkwOkvPedAPVD0xe8yh1E4="},
  };
  for (const Case& each : cases) {
    support::Account account;
    account.set({"key", each.secret, "", each.origin + each.end});
    const platform::HttpBody body{{"{\"tags\":[\"\xC3\xA4\xE2\x82", "\xAC\"]}"}};
    const auto request = signedRequest("ios/save/json", body, account);
    ASSERT_TRUE(request) << each.origin;
    const platform::HttpRequest& ready = *request;
    EXPECT_EQ(ready.url, each.origin + "/endpoints/v2/ios/save/json");
    EXPECT_EQ(headerOf(ready, "Authorization"), "key=" + each.signature) << each.origin;
    EXPECT_EQ(headerOf(ready, "Content-Length"), "18");
  }
}

TEST_F(SignatureTest, AddressWithoutAHostIsRefusedBeforeAnythingIsSent) {
  host_.credentials.baseURL = "file:///endpoints/v2/";
  library();
  EXPECT_EQ(outcomeOf(LocationRegister{}), "APIError 3 status 0");
  EXPECT_TRUE(host_.transport->requests().empty());
}

}  // namespace sorn::server
