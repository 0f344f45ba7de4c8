#include "fakes/RawDatabase.h"
#include "server/ServerFixture.h"
#include "store/entities/SNEvent.h"
#include "sync/EventReportBuilder.h"

namespace sorn::server {

using nlohmann::json;
using store::SNEvent;

class EventReportTest : public ServerFixture {
 protected:
  std::vector<store::Ref<SNEvent>> addEvents(int count) {
    std::vector<store::Ref<SNEvent>> events;
    run([&] {
      for (int index = 0; index < count; ++index) {
        events.push_back(library().context().insert<SNEvent>());
        events.back()->set(SNEvent::action, std::to_string(index));
      }
    });
    return events;
  }
  std::string textOfAll() { return textOf(build(store::RowRanges({1, library().context().lastRowID()}, 1))); }
  json report() { return json::parse(textOfAll())["events"]; }
  platform::HttpBody build(const store::RowRanges& rows) { return builder().build(rows).value(); }
  sync::EventReportBuilder builder() { return {library().context(), *host_.defaults, library().logger()}; }
};

TEST_F(EventReportTest, EventWithEverythingHasThirteenMembers) {
  const auto event = addEvents(1)[0];
  run([&] {
    const auto user = library().context().insert<store::SNUser>();
    user->set(store::SNUser::userID, "u\"1");
    const auto device = library().context().insert<store::SNDevice>();
    device->set(store::SNDevice::entityID, "key::D");
    device->set(store::SNDevice::utcOffset, -210);
    event->set(SNEvent::eventID, "E");
    event->set(SNEvent::type, "inapp_campaign");
    event->set(SNEvent::category, "+RETAIL");
    event->set(SNEvent::action, "a\\b\n\xE2\x82\xAC");
    event->set(SNEvent::user, user);
    event->set(SNEvent::device, device);
    event->set(SNEvent::campaignID, "c");
    event->set(SNEvent::campaignType, 3);
    event->set(SNEvent::timestamp, dateSince1970(1'700'000'000.125));
    event->set(SNEvent::sessionID, "S");
    event->set(SNEvent::serialNumber, 9);
    event->set(SNEvent::extra, R"({"N_a":1.5,"sv":7})");
  });
  const json expected = json::parse(R"([{"event_id":"E","type":"inapp_campaign","category":"+RETAIL",
      "action":"a\\b\n€","user_id":"u\"1","entity_id":"key::D","entity_os":2,"campaign_id":"c",
      "timestamp":1700000000.125,"utcoffset":-210,"session_id":"S","sequence":9,
      "extra":{"N_a":1.5,"sv":7,"campaign_subtype":3,"inapp_status":1}}])");
  EXPECT_EQ(report(), expected) << "before it is saved";
  ASSERT_TRUE(run([&] { return library().context().save(); }));
  EXPECT_EQ(report(), expected) << "from the file";
}

TEST_F(EventReportTest, EventWithNothingOrWithDamagedTextsTellsTheDefaults) {
  const auto event = addEvents(1)[0];
  run([&] {
    event->set(SNEvent::action, std::nullopt);
    event->set(SNEvent::eventID, std::nullopt);
  });
  const json expected = json::parse(R"([{"event_id":null,"type":null,"category":"NO_CATEGORY","action":null,
      "user_id":null,"entity_id":null,"entity_os":2,"campaign_id":"NO_CAMPAIGN","timestamp":null,
      "utcoffset":0,"session_id":"NO_SESSION","sequence":0,"extra":{"inapp_status":1}}])");
  EXPECT_EQ(report(), expected);
  run([&] {
    event->set(SNEvent::action, "\xC3");
    event->set(SNEvent::category, "\xFF");
  });
  EXPECT_EQ(report(), expected);
}

TEST_F(EventReportTest, StoredAttributesWithTheTwoKeysOfTheMoment) {
  struct Case {
    std::optional<std::string> extra;
    std::optional<int> campaignType;
    std::string expected;
  };
  const Case cases[] = {
      {std::nullopt, std::nullopt, R"({"inapp_status":1})"},
      {std::nullopt, 2, R"({"campaign_subtype":2,"inapp_status":1})"},
      {"{}", std::nullopt, R"({"inapp_status":1})"},
      {"{}", 2, R"({"campaign_subtype":2,"inapp_status":1})"},
      {" { } ", 2, R"({"campaign_subtype":2,"inapp_status":1})"},
      {R"({"a":[1,{"b":null}],"c":"}"})", std::nullopt, R"({"a":[1,{"b":null}],"c":"}","inapp_status":1})"},
      {R"({"inapp_status":7,"campaign_subtype":9,"a":1})", 2,
       R"({"a":1,"campaign_subtype":2,"inapp_status":1})"},
      {R"({"\u0069napp_status":7})", std::nullopt, R"({"inapp_status":1})"},
      {R"({"campaign_subtype":9})", std::nullopt, R"({"inapp_status":1})"},
      {R"([1,2])", std::nullopt, R"({"inapp_status":1})"},
      {R"("text")", std::nullopt, R"({"inapp_status":1})"},
      {"", std::nullopt, R"({"inapp_status":1})"},
      {R"({"a":1)", std::nullopt, R"({"inapp_status":1})"},
      {R"({"a":1}})", std::nullopt, R"({"inapp_status":1})"},
      {R"({"a":01})", std::nullopt, R"({"inapp_status":1})"},
      {"{\"a\":\"\xFF\"}", std::nullopt, R"({"inapp_status":1})"},
      {R"({"a":1}],"injected":[{"b":2})", 2, R"({"campaign_subtype":2,"inapp_status":1})"},
  };
  const auto events = addEvents(std::size(cases));
  run([&] {
    for (std::size_t index = 0; index < std::size(cases); ++index) {
      events[index]->set(SNEvent::extra, cases[index].extra);
      events[index]->set(SNEvent::campaignType, cases[index].campaignType);
    }
  });
  const json reported = report();
  ASSERT_EQ(reported.size(), std::size(cases)) << "one bad row spoils no other";
  for (std::size_t index = 0; index < std::size(cases); ++index) {
    EXPECT_EQ(reported[index]["extra"], json::parse(cases[index].expected))
        << cases[index].extra.value_or("absent");
  }
  const std::string text = textOfAll();
  std::size_t found = 0;
  for (auto at = text.find("inapp_status"); at != std::string::npos; at = text.find("inapp_status", at + 1)) {
    ++found;
  }
  EXPECT_EQ(found, std::size(cases)) << "no key stands twice";
}

TEST_F(EventReportTest, SwitchForCampaignsIsToldAsItStandsAtTheReport) {
  addEvents(1);
  library().sorn().disableInAppCampaigns();
  EXPECT_EQ(report()[0]["extra"]["inapp_status"], 0);
  library().sorn().enableInAppCampaigns();
  EXPECT_EQ(report()[0]["extra"]["inapp_status"], 1);
}

TEST_F(EventReportTest, ThousandEventsKeepTheirOrderOverAllPieces) {
  auto events = addEvents(500);
  ASSERT_TRUE(run([&] { return library().context().save(); }));
  for (const auto& event : addEvents(500)) events.push_back(event);
  const auto body = build(store::RowRanges({1, library().context().lastRowID()}, 1000));
  EXPECT_GT(body.pieces.size(), 10u) << "nobody waits for the store through all of it";
  const json reported = json::parse(textOf(body))["events"];
  ASSERT_EQ(reported.size(), 1000u);
  for (int index = 0; index < 1000; ++index) {
    ASSERT_EQ(reported[index]["action"], std::to_string(index % 500)) << index;
  }
}

TEST_F(EventReportTest, RangesLeaveOutWhatLiesBetweenAndWhatIsGone) {
  const auto events = addEvents(200);
  store::RowRanges rows;
  for (const int index : {0, 1, 3, 70, 199}) rows.append(events[index]->rowID(), index != 1);
  ASSERT_TRUE(run([&] {
    library().context().deleteObject(*events[70]);
    return library().context().save();
  }));
  std::string actions;
  const json reported = json::parse(textOf(build(rows)));
  for (const json& event : reported["events"]) {
    actions += event["action"].get<std::string>() + " ";
  }
  EXPECT_EQ(actions, "0 1 3 199 ");
}

TEST_F(EventReportTest, RowsThatCannotBeReadAreNotTakenForTheEnd) {
  for (const auto& event : addEvents(500)) event->set(SNEvent::category, std::string(200, 'x'));
  ASSERT_TRUE(run([&] { return library().context().save(); }));
  library_.reset();
  tests::spoilMiddle(host_.databaseFile());
  EXPECT_FALSE(builder().build(store::RowRanges({1, 500}, 500)));
}

TEST_F(EventReportTest, NothingAtAllIsAnEmptyList) { EXPECT_EQ(textOf(build({})), R"({"events":[]})"); }

}  // namespace sorn::server
