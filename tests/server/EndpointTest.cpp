#include "server/ServerFixture.h"
#include "store/entities/SNInboxItem.h"

namespace sorn::server {

using nlohmann::json;
using store::SNInboxItem;

using EndpointTest = ServerFixture;

TEST_F(EndpointTest, PathAndBodyOfEachCall) {
  struct Case {
    Endpoint endpoint;
    std::string path;
    std::string body;
  };
  const Case cases[] = {
      {PushTokenUpdate{"00ff"}, "ios/push/token/update", R"({"entity_id":"key::DEVICE","push_id":"00ff"})"},
      {PushEnable{63, 2}, "ios/push/enable",
       R"({"entity_id":"key::DEVICE","authorization_status":2,"notification_types":63})"},
      {PushEnable{0x8000000000000000, 2}, "ios/push/enable",
       R"({"entity_id":"key::DEVICE","authorization_status":2,"notification_types":9223372036854775808})"},
      {PushDisable{0, -1}, "ios/push/disable",
       R"({"entity_id":"key::DEVICE","authorization_status":-1,"notification_types":0})"},
      {PreferencesSave{{"a", "\"\xC3\xA4"}}, "ios/preferences/save",
       R"({"entity_id":"key::DEVICE","tags":["a","\"ä"]})"},
      {PreferencesSave{{}}, "ios/preferences/save", R"({"entity_id":"key::DEVICE","tags":[]})"},
      {UserActivate{"u"}, "user/activate", R"({"entity_id":"key::DEVICE","entity_os":2,"user_id":"u"})"},
      {UserActivateAnonymous{"u"}, "user/activate-anonymous",
       R"({"entity_id":"key::DEVICE","entity_os":2,"user_id":"u"})"},
      {EventReport{{{R"({"events":)", R"([{"x":1}]})"}}}, "events/report", R"({"events":[{"x":1}]})"},
      {InboxFetch{std::nullopt, 0, 12.5}, "inbox/fetch",
       R"({"entity_id":"key::DEVICE","user_id":null,"entity_os":2,"created_at":0,"timestamp":12.5})"},
      {InboxFetch{"u", 1.5, std::nullopt}, "inbox/fetch",
       R"({"entity_id":"key::DEVICE","user_id":"u","entity_os":2,"created_at":1.5,"timestamp":null})"},
      {InboxDelete{std::nullopt}, "inbox/delete", R"({"deleted":null})"},
      {InboxDelete{{{}}}, "inbox/delete", R"({"deleted":[]})"},
      {InboxRead{{}}, "inbox/read", R"({"read":[]})"},
      {ReportPlace{"u", 9'007'199'254'740'993, 1, {0, 7}, 120, 15}, "events/report-place",
       R"({"user_id":"u","entity_id":"key::DEVICE","place_id":9007199254740993,"direction":2,"delays":[0,7],
           "distance":120,"accuracy":15})"},
      {UserDeactivate{}, "user/deactivate", R"({"entity_id":"key::DEVICE","entity_os":2})"},
      {LocationRegister{}, "ios/location/register", R"({"entity_id":"key::DEVICE"})"},
      {LocationUnregister{}, "ios/location/unregister", R"({"entity_id":"key::DEVICE"})"},
  };
  for (const Case& each : cases) {
    const auto request = requestOf(each.endpoint);
    EXPECT_EQ(request.method, "POST");
    EXPECT_EQ(request.url, "http://service.test:8080/endpoints/v2/" + each.path + "/json");
    EXPECT_EQ(json::parse(textOf(request.body)), json::parse(each.body)) << each.path;
    EXPECT_EQ(headerOf(request, "Content-Type"), "application/json");
    EXPECT_EQ(headerOf(request, "Content-Length"), std::to_string(textOf(request.body).size()));
    EXPECT_EQ(request.idleTimeout.count(), 30.0);
    EXPECT_TRUE(request.staysOnOrigin);
    EXPECT_TRUE(request.readsOnlySuccess);
  }
}

TEST_F(EndpointTest, SaveTellsTwentyThreeFactsOfDeviceHostAndLibrary) {
  host_.clock->jump(1'700'000'000.25);
  library().device().setBackgroundRefreshStatus(2);
  EXPECT_EQ(json::parse(textOf(requestOf(Save{}).body)),
            json::parse(R"({"timestamp":1700000000.25,"entity_id":"key::DEVICE","advertising_id":null,
      "device_type":"smartphone","device_manufacturer":"APPLE","device_model":"Model 7","screen_width":1080,
      "screen_height":2340,"screen_density":3,"network_operator":"26201","country_code":"de",
      "os_version":"12","language":"zh","region":"TW","utcoffset":-210,"app_package":"test.host",
      "app_version":"2.5","app_build":"77","sdk_version":"1.2.3","is_jailbroken":false,
      "model_identifier":"x86_64","background_refresh_status":2,"other_entity_ids":[]})"));
}

TEST_F(EndpointTest, SaveTellsWhatIsUnknownAsNullOrNotAvailable) {
  auto& facts = *host_.facts;
  facts.idiomFact = platform::DeviceIdiom::unspecified;
  facts.screenFact = std::nullopt;
  facts.secondsFact = 20'699;
  // Absent, or a text in another encoding than the service's.
  for (const std::optional<std::string>& unknown :
       {std::optional<std::string>(), std::optional<std::string>("\xE9t\xE9")}) {
    for (auto* fact : {&facts.modelFact, &facts.operatorFact, &facts.countryFact, &facts.systemFact,
                       &facts.languageFact, &facts.regionFact, &facts.machineFact}) {
      *fact = unknown;
    }
    host_.bundle->versionText = host_.bundle->buildText = host_.bundle->libraryText = unknown;
    library_.reset();
    EXPECT_EQ(json::parse(textOf(requestOf(Save{}).body)),
              json::parse(R"({"timestamp":1700000000,"entity_id":"key::DEVICE","advertising_id":null,
      "device_type":"unspecified","device_manufacturer":"APPLE","device_model":null,"screen_width":null,
      "screen_height":null,"screen_density":null,"network_operator":null,"country_code":null,
      "os_version":null,"language":"n/a","region":"n/a","utcoffset":344,"app_package":"test.host",
      "app_version":"n/a","app_build":"n/a","sdk_version":"n/a","is_jailbroken":false,
      "model_identifier":null,"background_refresh_status":0,"other_entity_ids":[]})"));
  }
}

TEST_F(EndpointTest, InboxItemsTellTheirOwnerAndTheirMoment) {
  std::vector<store::Ref<SNInboxItem>> items;
  run([&] {
    auto& context = library().context();
    const auto device = context.insert<store::SNDevice>();
    device->set(store::SNDevice::entityID, "key::OTHER");
    const auto user = context.insert<store::SNUser>();
    user->set(store::SNUser::userID, "u");
    for (int index = 0; index < 3; ++index) items.push_back(context.insert<SNInboxItem>());
    items[0]->set(SNInboxItem::device, device);
    items[0]->set(SNInboxItem::campaignID, "c");
    items[0]->set(SNInboxItem::category, 1);
    items[0]->set(SNInboxItem::readAt, dateSince1970(10.5));
    items[0]->set(SNInboxItem::deletedAt, dateSince1970(20));
    items[1]->set(SNInboxItem::user, user);
    context.saveNowOrLater();
    context.deleteObject(*items[2]);
    context.saveNowOrLater();
  });
  const json own = {{"entity_id", "key::DEVICE"}, {"entity_os", 2},     {"user_id", "u"}, {"timestamp", 0},
                    {"campaign_id", nullptr},     {"category", nullptr}};
  json others = {{"entity_id", "key::OTHER"}, {"entity_os", 2},     {"user_id", nullptr},
                 {"timestamp", 10.5},         {"campaign_id", "c"}, {"category", 1}};
  EXPECT_EQ(json::parse(textOf(requestOf(InboxRead{items}).body))["read"],
            json::array({others, own, json::object()}))
      << "a message whose record is gone keeps its place";
  others["timestamp"] = 20;
  EXPECT_EQ(json::parse(textOf(requestOf(InboxDelete{items}).body))["deleted"],
            json::array({others, own, json::object()}));
}

TEST_F(EndpointTest, BodyWithInvalidTextIsNotSent) {
  library();
  EXPECT_EQ(outcomeOf(UserActivate{"\xFF"}).substr(0, 3), "JSO");
  EXPECT_TRUE(host_.transport->requests().empty());
}

}  // namespace sorn::server
