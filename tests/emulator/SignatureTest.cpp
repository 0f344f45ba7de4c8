// The signature check against values made with other programs:
//   printf '%s' TEXT | openssl dgst -sha256 -hmac SECRET -binary | base64
// and, where the openssl command takes no empty key or the text is not ASCII, python3's hmac.

#include <gtest/gtest.h>

#include "sorn-emulator/Signature.h"

namespace sorn::emulator::test {
namespace {

struct KnownAnswer {
  const char* name;
  const char* secret;
  const char* host;
  const char* path;
  const char* body;
  const char* signature;
};

constexpr const char* tags = R"({"entity_id":"D1","tags":["news","sport"]})";
constexpr const char* tagsPath = "/v1/ios/preferences/save/json";

const KnownAnswer knownAnswers[] = {
    {"NoPort", "topsecret", "127.0.0.1", tagsPath, tags, "SxV7dnmTxdaEE7qV5QkF82CDkIzpxcnGyB/4TSADFnk="},
    {"PortBelow9999IsSigned", "topsecret", "127.0.0.1:8080", tagsPath, tags,
     "iYCKrdsql9FQvq9sPe7QDqN6FDA/tcyXyTUcaHyl+Ko="},
    {"Port9998IsSigned", "topsecret", "127.0.0.1:9998", tagsPath, tags,
     "8DEI/eVZrghPvzTuLlMnKb45gNNZr1XQVX6CGl8dB1s="},
    {"Port9999IsNotSigned", "topsecret", "127.0.0.1:9999", tagsPath, tags,
     "SxV7dnmTxdaEE7qV5QkF82CDkIzpxcnGyB/4TSADFnk="},
    {"BodyInOtherScripts", "topsecret", "localhost", "/user/activate/json", R"({"user_id":"Zoë – 東京"})",
     "Ag4I0dgTrh/IE7iGPk3noM0Qvyz+aCVcWBbgbAmYue0="},
    {"EmptySecret", "", "127.0.0.1", "/user/activate/json", "{}",
     "fTT6rlG2lYttMPQEW2I5DVUVh6sXZoLyMzIB42UjUmw="},
    {"EscapesInPathAreDecoded", "topsecret", "127.0.0.1", "/%C3%A9/user/activate/json", "{}",
     "cJlmF93YV2jN+/OFSYKM5NS70wgcay5Td50pDupp5pw="},
    {"EscapesThatAreNoTextAreNotDecoded", "topsecret", "127.0.0.1", "/%FF%41/user/activate/json", "{}",
     "qFrzixFWTxnV9oQb2JNDEaktG8vqACPhmHaOlEysV6k="},
    {"AddressOfVersion6WithoutBrackets", "topsecret", "[::1]:12345", "/user/activate/json", "{}",
     "sJynoXnC1bjV4XYGQJyAsawWoC+/GEXE3Fzcdk974OA="},
};

Verdict verdictFor(const KnownAnswer& known, const std::string& authorization) {
  HttpRequest request;
  request.headers = {{"authorization", authorization}};
  request.body = known.body;
  return verdictOn(request, signedHead(known.host, known.path), {{"other", "x"}, {"demo", known.secret}});
}

TEST(Signature, KnownOneIsValidAndForNobodyElse) {
  for (const auto& known : knownAnswers) {
    EXPECT_EQ(verdictFor(known, std::string("demo=") + known.signature), Verdict::valid) << known.name;
    EXPECT_EQ(verdictFor(known, std::string("other=") + known.signature), Verdict::invalid) << known.name;
  }
}

TEST(Signature, OneWrongByteAnywhereIsInvalid) {
  const auto& known = knownAnswers[0];
  const std::string right = std::string("demo=") + known.signature;
  const std::string wrong[] = {
      right + " ", right.substr(0, right.size() - 1), "Bearer " + right, "demo:" + right.substr(5), "",
      "demo=",     "Demo" + right.substr(4)};
  for (const auto& header : wrong) EXPECT_EQ(verdictFor(known, header), Verdict::invalid) << header;

  auto otherBody = known;
  otherBody.body = R"({"entity_id":"D1","tags":["news","sports"]})";
  EXPECT_EQ(verdictFor(otherBody, right), Verdict::invalid);
  auto otherPath = known;
  otherPath.path = "/v2/ios/preferences/save/json";
  EXPECT_EQ(verdictFor(otherPath, right), Verdict::invalid);
  EXPECT_EQ(verdictOn(HttpRequest{}, "127.0.0.1/ios/save/json", {{"demo", "topsecret"}}), Verdict::absent);
}

TEST(Signature, SignedTextEndsWithoutSlashAndKeepsTheRoot) {
  EXPECT_EQ(signedHead("h", "/a//b/"), "h/a//b");
  EXPECT_EQ(signedHead("h:80", "/"), "h:80/");
  EXPECT_EQ(signedHead("h", "/100%/x%2"), "h/100%/x%2");
}

// What python3 decodes, and what it refuses.
TEST(Signature, PathIsDecodedUpToTheEdgesOfUtf8) {
  EXPECT_EQ(signedHead("h", "/%DF%BF%E0%A0%80%ED%9F%BF%EF%BF%BF%F0%90%80%80%F4%8F%BF%BF"),
            "h/\xDF\xBF\xE0\xA0\x80\xED\x9F\xBF\xEF\xBF\xBF\xF0\x90\x80\x80\xF4\x8F\xBF\xBF");
  for (const char* path : {"/%C1%BF", "/%E0%9F%BF", "/%ED%A0%80", "/%F0%8F%BF%BF", "/%F4%90%80%80",
                           "/%F5%80%80%80", "/%C3", "/%E2%82", "/%80", "/%C3%28", "/%E2%82%28"}) {
    EXPECT_EQ(signedHead("h", path), "h" + std::string(path));
  }
}

}  // namespace
}  // namespace sorn::emulator::test
