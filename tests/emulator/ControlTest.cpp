// The control calls and the published files, over HTTP as a script would use them.

#include <fstream>

#include "emulator/EmulatorFixture.h"
#include "fakes/TemporaryFolder.h"

namespace sorn::emulator::test {
namespace {

using nlohmann::json;

constexpr const char* save = "/v1/ios/save/json";
// printf '127.0.0.1/v1/ios/save/json{"entity_id":"D1"}' | openssl dgst -sha256 -hmac topsecret -binary |
// base64
constexpr const char* saveSigned = "Authorization: demo=rIDkU7ziIUS0lwh6skE7Hm5UEpnnMZZlAC1aHe9EOZ4=\r\n";
constexpr const char* places = "/127.files/places/demo/active_places.json.gz";

class ControlTest : public EmulatorFixture {
 protected:
  RawAnswer saveDevice() { return post(save, R"({"entity_id":"D1"})", saveSigned); }
  json state() { return json::parse(get("/emulator/state").body); }
};

TEST_F(ControlTest, StateShowsRequestsWithVerdictAndExpectedText) {
  EXPECT_EQ(saveDevice().status, 200);
  EXPECT_EQ(post(save, "\xff\x01", saveSigned).status, 401);
  EXPECT_EQ(get(save).status, 405);
  EXPECT_EQ(post("/nothing/here", "{}").status, 404);
  EXPECT_EQ(get(campaigns).status, 404);
  EXPECT_EQ(post(campaigns, "[]").status, 405);

  const auto requests = state()["requests"];
  ASSERT_EQ(requests.size(), 6u);
  const auto& first = requests[0];
  EXPECT_EQ(first["method"], "POST");
  EXPECT_EQ(first["path"], save);
  EXPECT_EQ(first["headers"]["Authorization"], "demo=rIDkU7ziIUS0lwh6skE7Hm5UEpnnMZZlAC1aHe9EOZ4=");
  EXPECT_EQ(first["body"], json::parse(R"({"entity_id":"D1"})"));
  EXPECT_EQ(first["raw"], "eyJlbnRpdHlfaWQiOiJEMSJ9");
  EXPECT_EQ(first["expected"], R"(127.0.0.1/v1/ios/save/json{"entity_id":"D1"})");
  EXPECT_EQ(first["signature"], "valid");
  EXPECT_EQ(first["status"], 200);
  EXPECT_GT(first["at"], 1.7e9);

  EXPECT_EQ(requests[1]["signature"], "invalid");
  EXPECT_EQ(requests[1]["body"], nullptr);
  EXPECT_EQ(requests[1]["raw"], "/wE=");
  EXPECT_EQ(requests[2]["signature"], "absent");
  EXPECT_EQ(requests[4]["expected"], nullptr) << "a published file is not signed";
}

TEST_F(ControlTest, WhatIsArrangedIsAnsweredAndResetForgetsIt) {
  EXPECT_EQ(post("/emulator/configuration", R"({"features":{}})").status, 200);
  EXPECT_EQ(post("/emulator/inbox", R"([{"campaign_id":"1"}])").status, 200);
  EXPECT_EQ(post("/emulator/push", R"({"-":"1"})").status, 200);
  EXPECT_EQ(post("/emulator/campaigns", "[]").status, 200);
  EXPECT_EQ(post("/emulator/faults", R"([{"path":"user/activate/json","kind":"reset"}])").status, 200);
  EXPECT_EQ(json::parse(saveDevice().body)["configuration"], json::parse(R"({"features":{}})"));
  auto before = state();
  EXPECT_EQ(before["inbox"], json::parse(R"([{"campaign_id":"1"}])"));
  EXPECT_EQ(before["push"]["messages"], json::parse(R"([{"-":"1"}])"));
  EXPECT_EQ(sendEvents().status, 200);
  EXPECT_EQ(get("/emulator/events").body, R"([{"event_id":"1"},{"event_id":"1"}])");

  EXPECT_EQ(post("/emulator/reset", "").status, 200);
  EXPECT_EQ(state(),
            json::parse(R"({"requests":[],"devices":{},"users":{},"tags":{},"inbox":[],"locations":{},
      "crossings":[],"push":{"registrations":{},"messages":[]}})"));
  EXPECT_EQ(get("/emulator/events").body, "[]");
  EXPECT_EQ(get(campaigns).status, 404);
  EXPECT_EQ(post("/user/activate/json", "{}").status, 401) << "the fault is gone too";
  EXPECT_EQ(json::parse(saveDevice().body)["configuration"]["features"].size(), 4u);
}

TEST_F(ControlTest, WrongControlCallsSayWhy) {
  struct Case {
    const char* method;
    const char* target;
    const char* body;
    int status;
  };
  const Case cases[] = {
      {"GET", "/emulator/nothing", "", 404},        {"GET", "/emulator/reset", "", 405},
      {"POST", "/emulator/state", "", 405},         {"POST", "/emulator/inbox", "{}", 400},
      {"POST", "/emulator/configuration", "", 400}, {"POST", "/emulator/push", "[]", 400},
      {"POST", "/emulator/push", "[1e999]", 400},   {"POST", "/emulator/faults", "\xff", 400},
      {"POST", "/emulator/faults", "{}", 400},      {"POST", "/emulator/places?etag=%0D%0Ax", "[]", 400}};
  for (const auto& wrong : cases) {
    const auto answer = exchange(emulator.port(), wrong.method, wrong.target, wrong.body);
    EXPECT_EQ(answer.status, wrong.status) << wrong.target;
    EXPECT_FALSE(json::parse(answer.body)["error"].get<std::string>().empty());
  }
  EXPECT_TRUE(emulator.requests().empty()) << "control calls are not written down";
}

// printf '127.0.0.1/v1/ios/save/json{"entity_id":"D1","d":%s}' "$LISTS" | openssl dgst -sha256 -hmac
// topsecret -binary | base64, with 511 and with 512 brackets of each kind as LISTS
TEST_F(ControlTest, WhatNestsTooDeeplyIsRefusedAndReadByNobody) {
  const auto lists = [](std::size_t depth) { return std::string(depth, '[') + std::string(depth, ']'); };
  const auto saved = [&](std::size_t depth) { return R"({"entity_id":"D1","d":)" + lists(depth) + "}"; };
  EXPECT_EQ(
      post(save, saved(511), "Authorization: demo=ArdrCAzoDm1hbcFy3rkwgYHEC1l/7zzP7v72nEls0bM=\r\n").status,
      200);
  EXPECT_EQ(
      post(save, saved(512), "Authorization: demo=TdpwMSQzJtx0Pnefw0azKWKbKZcZP3nVX+RJDT7dtYc=\r\n").status,
      400);
  EXPECT_EQ(post("/x", lists(200'000)).status, 404);
  for (const char* call : {"inbox", "configuration", "push", "faults"}) {
    EXPECT_EQ(post(std::string("/emulator/") + call, lists(200'000)).status, 400) << call;
  }
  EXPECT_EQ(post("/emulator/configuration", '"' + std::string(600, '[') + '"').status, 200) << "only a text";
  const auto requests = state()["requests"];
  EXPECT_EQ(requests[0]["body"], json::parse(saved(511)));
  EXPECT_EQ(requests[1]["body"], nullptr);
  EXPECT_EQ(requests[2]["body"], nullptr);
}

TEST_F(ControlTest, FilesArePublishedAsTheyAreWithTheirHeaders) {
  post("/emulator/campaigns?etag=%22v%201%22&timestamp=1700000000", "[ broken \xff");
  const auto file = get(campaigns);
  EXPECT_EQ(file.headers.at("Content-Encoding"), "gzip");
  EXPECT_EQ(file.headers.at("Etag"), "\"v 1\"");
  EXPECT_EQ(file.headers.at("x-goog-meta-timestamp"), "1700000000");
  EXPECT_EQ(unpacked(file.body), "[ broken \xff");
  EXPECT_EQ(get(places).status, 404);

  post("/emulator/places?etag=&timestamp=", "[]");
  const auto bare = get(places);
  EXPECT_FALSE(bare.headers.contains("Etag"));
  EXPECT_FALSE(bare.headers.contains("x-goog-meta-timestamp"));

  post("/emulator/places", "[]");
  // printf '[]' | sha256sum | cut -c1-16
  EXPECT_EQ(get(places).headers.at("Etag"), "\"4f53cda18c2baa0c\"");
  EXPECT_GE(std::stol(get(places).headers.at("x-goog-meta-timestamp")), 1'700'000'000);
}

TEST_F(ControlTest, OnlyTheRightPathsLeadToTheFiles) {
  emulator.publishCampaigns("[]");
  emulator.publishPlaces("[]");
  EXPECT_EQ(get("/any-bucket/inapp/public/demo/active.json.gz").status, 200);
  EXPECT_EQ(get("/b/places/d%65mo/active_places.json.gz").status, 200);
  for (const char* wrong : {"/b/inapp/public/other/active.json.gz", "/b/inapp/demo/active.json.gz",
                            "/inapp/public/demo/active.json.gz", "/b/c/places/demo/active_places.json.gz",
                            "/b/places/demo/active.json.gz", "//places/demo/active_places.json.gz"}) {
    EXPECT_EQ(get(wrong).status, 404) << wrong;
  }
}

TEST(Seed, FolderIsWhatTheServiceBeginsWith) {
  const sorn::tests::TemporaryFolder folder;
  folder.write("campaigns.json", "[1]");
  folder.write("inbox.json", R"([{"campaign_id":"7"}])");
  folder.write("configuration.json", "null");
  Emulator emulator({.accounts = {{"demo", "topsecret"}}, .seed = folder.path()});
  EXPECT_EQ(unpacked(exchange(emulator.port(), "GET", campaigns).body), "[1]");
  EXPECT_EQ(exchange(emulator.port(), "GET", places).status, 404);
  EXPECT_EQ(emulator.state()["inbox"][0]["campaign_id"], "7");
  const auto answer = exchange(emulator.port(), "POST", save, R"({"entity_id":"D1"})", saveSigned);
  EXPECT_FALSE(json::parse(answer.body).contains("configuration"));

  folder.write("inbox.json", "{");
  EXPECT_THROW(Emulator({.accounts = {{"demo", "topsecret"}}, .seed = folder.path()}), std::runtime_error);
}

TEST(RecordFile, GetsALineForEachRequestBehindWhatWasThere) {
  const sorn::tests::TemporaryFolder folder;
  const auto file = folder.write("record.jsonl", "{\"before\":true}\n");
  {
    Emulator emulator({.accounts = {{"demo", "topsecret"}}, .record = file});
    exchange(emulator.port(), "POST", save, R"({"entity_id":"D1"})", saveSigned);
    exchange(emulator.port(), "POST", "/x", "\xff\n");
  }
  std::ifstream stream(file);
  std::vector<json> lines;
  for (std::string line; std::getline(stream, line);) lines.push_back(json::parse(line));
  ASSERT_EQ(lines.size(), 3u);
  EXPECT_EQ(lines[1]["expected"], R"(127.0.0.1/v1/ios/save/json{"entity_id":"D1"})");
  EXPECT_EQ(lines[2]["raw"], "/wo=");
  EXPECT_THROW(Emulator({.record = folder.path() / "no" / "file"}), std::runtime_error);
}

}  // namespace
}  // namespace sorn::emulator::test
