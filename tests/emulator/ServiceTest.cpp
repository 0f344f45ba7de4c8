// What the service answers to the fifteen calls, and what it keeps of them.

#include <set>

#include <gtest/gtest.h>

#include "sorn-emulator/Encoding.h"
#include "sorn-emulator/Service.h"

namespace sorn::emulator::test {
namespace {

using nlohmann::json;

class ServiceTest : public testing::Test {
 protected:
  json call(const char* path, const json& body) {
    const auto endpoint = endpointAt(path);
    if (!endpoint) throw std::invalid_argument(path);
    const auto answer = service.call(*endpoint, body.dump());
    EXPECT_EQ(answer.status, 200) << path;
    return json::parse(answer.body);
  }

  json fetch(const char* device, const json& user) {
    return call("/inbox/fetch/json", {{"entity_id", device}, {"user_id", user}})["messages"];
  }

  Service service{false};
};

TEST_F(ServiceTest, EveryCallIsKnownWithAndWithoutPrefixAndHalfANameIsNot) {
  std::set<Endpoint> seen;
  for (const std::string path :
       {"events/report/json", "events/report-place/json", "inbox/delete/json", "inbox/fetch/json",
        "inbox/read/json", "ios/location/register/json", "ios/location/unregister/json",
        "ios/preferences/save/json", "ios/push/disable/json", "ios/push/enable/json",
        "ios/push/token/update/json", "ios/save/json", "user/activate/json", "user/activate-anonymous/json",
        "user/deactivate/json"}) {
    ASSERT_TRUE(endpointAt("/" + path)) << path;
    EXPECT_EQ(endpointAt("/" + path), endpointAt("/api/v1/" + path));
    EXPECT_FALSE(endpointAt("/x" + path)) << path;
    EXPECT_FALSE(endpointAt("/" + path + "/")) << path;
    EXPECT_TRUE(seen.insert(*endpointAt("/" + path)).second) << path;
  }
}

TEST_F(ServiceTest, SaveAnswersTheAccountAndTheSameCreationTimeEachTime) {
  const double before = now();
  const auto first = call("/ios/save/json", {{"entity_id", "D1"}, {"app_version", "1"}});
  EXPECT_GE(first["createdAt"], before);
  EXPECT_LE(first["createdAt"], now());
  EXPECT_EQ(first["configuration"], json::parse(R"({"features":{"push":true,"report_usage":true,
      "macro_location":true,"inapp":true},"events_options":{"batch_timeout":10,"batch_size":10}})"));

  service.setConfiguration(json::parse(R"({"features":{"push":0}})"));
  const auto second = call("/ios/save/json", {{"entity_id", "D1"}, {"app_version", "2"}});
  EXPECT_EQ(second["createdAt"], first["createdAt"]);
  EXPECT_EQ(second["configuration"].dump(), R"({"features":{"push":0}})");
  EXPECT_EQ(service.state()["devices"]["D1"]["app_version"], "2");

  service.setConfiguration(nullptr);
  EXPECT_FALSE(call("/ios/save/json", {{"entity_id", "D1"}}).contains("configuration"));
}

TEST_F(ServiceTest, UsersTagsPushPlacesAreKeptByDevice) {
  const std::pair<const char*, const char*> calls[] = {
      {"/user/activate/json", R"({"entity_id":"D1","user_id":"ann"})"},
      {"/user/activate-anonymous/json", R"({"entity_id":"D2","user_id":"0000"})"},
      {"/user/activate/json", R"({"entity_id":"D3","user_id":"eve"})"},
      {"/user/deactivate/json", R"({"entity_id":"D3"})"},
      {"/ios/preferences/save/json", R"({"entity_id":"D1","tags":["b","a"]})"},
      {"/ios/push/token/update/json", R"({"entity_id":"D1","push_id":"0aff"})"},
      {"/ios/push/enable/json", R"({"entity_id":"D1","authorization_status":2,"notification_types":7})"},
      {"/ios/push/disable/json", R"({"entity_id":"D2","authorization_status":1,"notification_types":0})"},
      {"/ios/location/register/json", R"({"entity_id":"D1"})"},
      {"/ios/location/unregister/json", R"({"entity_id":"D2"})"},
      {"/events/report-place/json", R"({"place_id":9,"direction":1})"},
  };
  for (const auto& [path, body] : calls) call(path, json::parse(body));
  const auto state = service.state();
  EXPECT_EQ(state["users"], json::parse(R"({"D1":{"user_id":"ann","anonymous":false},
                                            "D2":{"user_id":"0000","anonymous":true}})"));
  EXPECT_EQ(state["tags"], json::parse(R"({"D1":["b","a"]})"));
  EXPECT_EQ(state["push"]["registrations"], json::parse(R"({
      "D1":{"push_id":"0aff","enabled":true,"authorization_status":2,"notification_types":7},
      "D2":{"enabled":false,"authorization_status":1,"notification_types":0}})"));
  EXPECT_EQ(state["locations"], json::parse(R"({"D1":true,"D2":false})"));
  EXPECT_EQ(state["crossings"], json::parse(R"([{"place_id":9,"direction":1}])"));
}

TEST_F(ServiceTest, EventsKeepTheirOrderAndRepeats) {
  call("/events/report/json", json::parse(R"({"events":[{"event_id":"b"},{"event_id":"a"}]})"));
  call("/events/report/json", {{"events", json::array()}});
  call("/events/report/json", json::parse(R"({"events":[{"event_id":"b"}]})"));
  EXPECT_EQ(service.events(),
            (std::vector<std::string>{R"({"event_id":"b"})", R"({"event_id":"a"})", R"({"event_id":"b"})"}));
  EXPECT_EQ(service.eventCount(), 3u);
}

TEST_F(ServiceTest, BodiesThatAreNoCallAreRefused) {
  for (const char* body : {"", "[]", "{\"events\":", "true", "\xff"}) {
    EXPECT_EQ(service.call(Endpoint::save, body).status, 400) << body;
  }
  EXPECT_EQ(service.call(Endpoint::eventReport, R"({"events":{}})").status, 400);
  EXPECT_EQ(service.eventCount(), 0u);
  EXPECT_TRUE(service.state()["devices"].empty());
}

TEST_F(ServiceTest, LightModeCountsEventsButNotWhatIsInsideThem) {
  Service light(true);
  light.call(Endpoint::eventReport, R"({"events":[{"a":{"b":[{}]},"t":"}{\"[{"},{"c":"\\"},{}]})");
  EXPECT_EQ(light.eventCount(), 3u);
  EXPECT_TRUE(light.events().empty());
}

TEST_F(ServiceTest, FetchHandsOutWhatHasNotExpiredWithStarredOwnersFilledIn) {
  auto inbox = json::parse(R"([
      {"owner":{"type":"user","id":"*"},"campaign_id":"1"},
      {"owner":{"type":"device","id":"*"},"campaign_id":"2","expiresAt":0},
      {"owner":{"type":"user","id":"bob"},"campaign_id":"3","readAt":0},
      {"campaign_id":"4"}, 5])");
  inbox.push_back({{"campaign_id", "future"}, {"expiresAt", now() + 60}});
  inbox.push_back({{"campaign_id", "past"}, {"expiresAt", now() - 1}});
  service.setInbox(inbox);
  const auto answer = call("/inbox/fetch/json", {{"entity_id", "D1"}, {"user_id", "ann"}});
  EXPECT_NEAR(answer["server_time"].get<double>(), now(), 2);
  inbox.erase(6);
  inbox[0]["owner"]["id"] = "ann";
  inbox[1]["owner"]["id"] = "D1";
  EXPECT_EQ(answer["messages"], inbox);
}

TEST_F(ServiceTest, ReadsAreAnsweredItemByItemInTheirOrder) {
  service.setInbox(json::parse(R"([{"owner":{"type":"user","id":"ann"},"campaign_id":"1"},
                                   {"owner":{"type":"device","id":"D1"},"campaign_id":"2"}])"));
  const auto answer = call("/inbox/read/json", json::parse(R"({"read":[
      {"campaign_id":"2","entity_id":"D1","user_id":null,"timestamp":100.5},
      {"campaign_id":"unknown","entity_id":"D1","user_id":"ann","timestamp":1},
      {},
      {"campaign_id":"1","entity_id":"D9","user_id":"ann","timestamp":200},
      {"campaign_id":"1","entity_id":"D1","user_id":"bob","timestamp":300}]})"));
  EXPECT_EQ(answer, json::parse(R"({"read":[{"id":"2","status":true},{"id":"unknown","status":false},
      {"id":null,"status":false},{"id":"1","status":true},{"id":"1","status":false}]})"));
  const auto messages = fetch("D1", "ann");
  EXPECT_EQ(messages[0]["readAt"], 200);
  EXPECT_EQ(messages[1]["readAt"], 100.5);
}

TEST_F(ServiceTest, DeletedMessagesLeaveTheirDeviceAndReachTheOthersAsDeleted) {
  service.setInbox(json::parse(R"([{"owner":{"type":"user","id":"ann"},"campaign_id":"1"}])"));
  const json item = {{"campaign_id", "1"}, {"entity_id", "D1"}, {"user_id", "ann"}, {"timestamp", 50}};
  const auto expected = json::parse(R"({"deleted":[{"id":"1","status":true}]})");
  EXPECT_EQ(call("/inbox/delete/json", {{"deleted", json::array({item})}}), expected);
  EXPECT_EQ(call("/inbox/delete/json", {{"deleted", json::array({item})}}), expected) << "told twice";
  EXPECT_EQ(call("/inbox/delete/json", {{"deleted", nullptr}}), json::parse(R"({"deleted":[]})"));
  EXPECT_TRUE(fetch("D1", "ann").empty());
  EXPECT_EQ(fetch("D2", "ann")[0]["deletedAt"], 50);
}

}  // namespace
}  // namespace sorn::emulator::test
