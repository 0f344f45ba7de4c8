#include <gmock/gmock.h>

#include "store/StoreFixture.h"
#include "store/entities/SNInAppCampaigns.h"

namespace sorn::store {

using ContextTest = StoreFixture;

TEST_F(ContextTest, FetchCountAndScanSeeWhatIsUnsavedInTheOrderOfCreation) {
  const auto first = addEvent("a");
  const auto second = addEvent("b");
  addEvent("c");
  ASSERT_TRUE(save());
  addEvent("d");
  run([&] {
    context_->deleteObject(*second);
    first->set(SNEvent::action, "A");
  });
  EXPECT_EQ(fetched(), "Acd");
  EXPECT_EQ(counted(), 3u);
  EXPECT_EQ(scanned(), "A0c0d0");
  EXPECT_EQ(storedActions(), "a,b,c") << "nothing of it is saved yet";
  EXPECT_EQ(fetched(SNEvent::action == "a"), "") << "the row still says so, the record no longer does";
  EXPECT_EQ(counted(SNEvent::action == "A"), 1u);
  ASSERT_TRUE(save());
  EXPECT_EQ(storedActions(), "A,c,d");
}

TEST_F(ContextTest, ScanKeepsToItsRangeAndStopsAtTheVisitorsWordAmongStoredAndUnsavedRows) {
  addEvent("a");
  const auto second = addEvent("b");
  ASSERT_TRUE(save());
  addEvent("c");
  const auto fourth = addEvent("d");
  addEvent("e");
  for (std::size_t limit = 1; limit <= 4; ++limit) {
    std::string seen;
    const auto visitor = [&](const RowView& row) {
      seen += row.text(SNEvent::action);
      return seen.size() < limit;
    };
    const RowRange range{second->rowID(), fourth->rowID()};
    EXPECT_TRUE(run([&] { return context_->scan(SNEvent::entity(), range, visitor); }));
    EXPECT_EQ(seen, std::string("bcd").substr(0, limit));
  }
}

TEST_F(ContextTest, OneRecordIsOneObject) {
  addEvent("a");
  ASSERT_TRUE(save());
  reopen();
  run([&] {
    const auto fetchedOnce = context_->fetchRecords<SNEvent>();
    ASSERT_EQ(fetchedOnce.size(), 1u);
    fetchedOnce[0]->set(SNEvent::action, "changed");
    EXPECT_EQ(context_->fetchRecords<SNEvent>()[0], fetchedOnce[0]);
    EXPECT_EQ(context_->object(SNEvent::entity(), fetchedOnce[0]->rowID()), fetchedOnce[0]);
  });
  EXPECT_EQ(fetched(), "changed") << "a change outlives the last outside reference";
}

TEST_F(ContextTest, OneToOneRelationsKeepBothSidesInStep) {
  run([&] {
    const auto one = context_->insert<SNApplication>();
    const auto other = context_->insert<SNApplication>();
    const auto device = context_->insert<SNDevice>();
    const auto newer = context_->insert<SNDevice>();
    one->set(SNApplication::device, device);
    EXPECT_EQ(device->get(SNDevice::application), one);
    one->set(SNApplication::device, newer);
    EXPECT_EQ(device->get(SNDevice::application), nullptr) << "the old target forgets";
    other->set(SNApplication::device, newer);
    EXPECT_EQ(one->get(SNApplication::device), nullptr) << "the old owner forgets";
    newer->set(SNDevice::application, one);
    EXPECT_EQ(one->get(SNApplication::device), newer);
    EXPECT_EQ(other->get(SNApplication::device), nullptr);
    one->set(SNApplication::device, newer);
    EXPECT_EQ(newer->get(SNDevice::application), one) << "setting the same again changes nothing";
    one->set(SNApplication::device, Ref<SNDevice>());
    EXPECT_EQ(newer->get(SNDevice::application), nullptr);
  });
}

TEST_F(ContextTest, RelationsToRecordsThatAreNotLoadedAreKeptInStep) {
  run([&] {
    for (const char* key : {"one", "other"}) {
      const auto application = context_->insert<SNApplication>();
      application->set(SNApplication::applicationKey, key);
      application->set(SNApplication::device, context_->insert<SNDevice>());
    }
    ASSERT_TRUE(context_->save());
  });
  reopen();
  run([&] {
    const auto one = context_->findOrCreate<SNApplication>(assign(SNApplication::applicationKey, "one"));
    one->set(SNApplication::device, context_->fetchRecords<SNDevice>()[1]);
    ASSERT_TRUE(context_->save());
  });
  EXPECT_EQ(stored("SELECT device IS NULL FROM SNApplication ORDER BY id"), "0,1");
  EXPECT_EQ(stored("SELECT application IS NULL FROM SNDevice ORDER BY id"), "1,0");
}

TEST_F(ContextTest, SavedDeletionLeavesAnObjectWithoutValuesThatTakesNone) {
  const auto event = addEvent("a");
  run([&] {
    const auto forgotten = context_->insert<SNSession>();
    const auto session = context_->insert<SNSession>();
    event->set(SNEvent::session, session);
    EXPECT_EQ(session->get(SNSession::events), std::vector{event});
    context_->deleteObject(*forgotten);
    ASSERT_TRUE(context_->save());
    EXPECT_EQ(forgotten->managedObjectContext(), nullptr) << "deleted before its first save";
    context_->deleteObject(*session);
    EXPECT_EQ(event->get(SNEvent::session), nullptr) << "marked";
    EXPECT_TRUE(session->isDeleted());
    EXPECT_FALSE(context_->exists(*session));
    ASSERT_TRUE(context_->save());
    EXPECT_EQ(event->get(SNEvent::session), nullptr) << "deleted";
    EXPECT_FALSE(session->isDeleted());
    EXPECT_EQ(session->managedObjectContext(), nullptr);
    EXPECT_EQ(session->get(SNSession::sessionID), std::nullopt);
    session->set(SNSession::sessionID, "b");
    EXPECT_EQ(session->get(SNSession::sessionID), std::nullopt);
    EXPECT_FALSE(context_->hasChanges());
  });
  EXPECT_EQ(fetched(), "a") << "the event outlives its session";
  EXPECT_EQ(stored("SELECT count(*) FROM SNSession"), "0");
}

TEST_F(ContextTest, WithoutAStoreNothingIsKeptToBeWritten) {
  support::SerialQueue queue;
  ManagedObjectContext memoryOnly(queue, clock_, nullptr);
  queue.performBlockAndWait([&] {
    EXPECT_TRUE(memoryOnly.save());
    const auto kept = memoryOnly.insert<SNEvent>();
    EXPECT_FALSE(memoryOnly.save());
    std::weak_ptr<SNEvent> alone = memoryOnly.insert<SNEvent>();
    std::weak_ptr<SNEvent> oneOfMany = memoryOnly.insert<SNEvent>();
    memoryOnly.deleteObject(*alone.lock());
    memoryOnly.deleteRows(SNEvent::entity(), rowsOf({oneOfMany.lock()}));
    EXPECT_TRUE(alone.expired() && oneOfMany.expired());
    EXPECT_EQ(memoryOnly.fetchRecords<SNEvent>(), std::vector{kept});
    memoryOnly.setStatusOfRows(SNEvent::entity(), rowsOf({kept}), 1, clock_.now());
    EXPECT_EQ(memoryOnly.count(SNEvent::entity()), 1u);
  });
}

TEST_F(ContextTest, FindOrCreateTakesTheFirstMatchAndSetsEachValueOfANewRecord) {
  run([&] {
    const auto application = context_->insert<SNApplication>();
    const auto other = context_->insert<SNApplication>();
    std::vector<Ref<SNUser>> users;
    for (const auto& owner : {other, application, application}) {
      users.push_back(context_->insert<SNUser>());
      users.back()->set(SNUser::userID, "u");
      users.back()->set(SNUser::application, owner);
    }
    const auto find = [&](const char* userID) {
      return context_->findOrCreate<SNUser>(assign(SNUser::userID, userID),
                                            assign(SNUser::application, application));
    };
    EXPECT_EQ(find("u"), users[1]) << "before the save";
    ASSERT_TRUE(context_->save());
    EXPECT_EQ(find("u"), users[1]) << "after it";
    const auto made = find("v");
    EXPECT_EQ(made->get(SNUser::userID), "v");
    EXPECT_EQ(made->get(SNUser::application), application);
    EXPECT_EQ(context_->count(SNUser::entity()), 4u);
  });
}

TEST_F(ContextTest, InsertionWakesARecordOnceAndNoFetchWakesItAgain) {
  const auto sessionID = run([&] {
    const auto campaign = context_->insert<SNInAppCampaigns>();
    EXPECT_EQ(campaign->get(SNInAppCampaigns::presentationCount), 0);
    campaign->set(SNInAppCampaigns::presentationCount, -32768);
    return context_->insert<SNSession>()->get(SNSession::sessionID);
  });
  ASSERT_TRUE(sessionID);
  EXPECT_EQ(sessionID->size(), 36u);
  ASSERT_TRUE(save());
  reopen();
  clock_.advance(5);
  run([&] {
    const auto session = context_->fetchRecords<SNSession>().at(0);
    EXPECT_EQ(session->get(SNSession::sessionID), sessionID);
    EXPECT_EQ(session->get(SNSession::createdAt), dateSince1970(1'700'000'000));
    const auto campaign = context_->fetchRecords<SNInAppCampaigns>().at(0);
    EXPECT_EQ(campaign->get(SNInAppCampaigns::presentationCount), -32768) << "the least of a narrow scalar";
  });
}

TEST_F(ContextTest, SerialNumberOfASessionGoesToDiskOnlyAlongWithOtherChanges) {
  const auto session = run([&] { return context_->insert<SNSession>(); });
  ASSERT_TRUE(save());
  run([&] { session->set(SNSession::serialNumber, 4); });
  EXPECT_FALSE(run([&] { return context_->hasChanges(); }));
  ASSERT_TRUE(save());
  EXPECT_EQ(stored("SELECT serialNumber FROM SNSession"), "null");
  EXPECT_EQ(run([&] { return context_->fetchRecords<SNSession>().at(0)->get(SNSession::serialNumber); }), 4);
  run([&] { session->set(SNSession::pausedAt, dateSince1970(1)); });
  ASSERT_TRUE(save());
  EXPECT_EQ(stored("SELECT serialNumber FROM SNSession"), "4");
}

}  // namespace sorn::store
