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

TEST_F(ContextTest, ScanStopsAtTheVisitorsWordAmongStoredAndUnsavedRows) {
  addEvent("a");
  ASSERT_TRUE(save());
  addEvent("b");
  addEvent("c");
  for (std::size_t limit = 1; limit <= 3; ++limit) {
    std::size_t seen = 0;
    const auto visitor = [&](const RowView&) { return ++seen < limit; };
    EXPECT_TRUE(run([&] { return context_->scan(SNEvent::entity(), {}, visitor); }));
    EXPECT_EQ(seen, limit);
  }
}

TEST_F(ContextTest, ScanKeepsToItsRangeForStoredAndUnsavedRows) {
  const auto first = addEvent("a");
  const auto second = addEvent("b");
  ASSERT_TRUE(save());
  const auto third = addEvent("c");
  addEvent("d");
  std::string seen;
  const auto visitor = [&](const RowView& row) {
    seen += row.text(SNEvent::action);
    return true;
  };
  const RowRange range{second->rowID(), third->rowID()};
  EXPECT_TRUE(run([&] { return context_->scan(SNEvent::entity(), range, visitor); }));
  EXPECT_EQ(seen, "bc");
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

TEST_F(ContextTest, ToOneThatLostItsTargetReadsAsAbsent) {
  const auto event = addEvent("a");
  run([&] {
    const auto user = context_->insert<SNUser>();
    event->set(SNEvent::user, user);
    ASSERT_TRUE(context_->save());
    context_->deleteObject(*user);
    EXPECT_EQ(event->get(SNEvent::user), nullptr) << "marked";
    EXPECT_TRUE(user->isDeleted());
    ASSERT_TRUE(context_->save());
    EXPECT_EQ(event->get(SNEvent::user), nullptr) << "deleted";
    EXPECT_FALSE(user->isDeleted());
    EXPECT_EQ(user->managedObjectContext(), nullptr);
  });
  EXPECT_EQ(fetched(), "a") << "the event itself stays";
}

TEST_F(ContextTest, EventsOutliveTheirSession) {
  const auto event = addEvent("a");
  run([&] {
    const auto session = context_->insert<SNSession>();
    event->set(SNEvent::session, session);
    EXPECT_EQ(session->get(SNSession::events), std::vector{event});
    context_->deleteObject(*session);
    ASSERT_TRUE(context_->save());
    EXPECT_EQ(event->get(SNEvent::session), nullptr);
  });
  EXPECT_EQ(storedActions(), "a");
}

TEST_F(ContextTest, SavedDeletionLeavesAnObjectWithoutValuesThatTakesNone) {
  const auto event = addEvent("a");
  ASSERT_TRUE(save());
  run([&] {
    context_->deleteObject(*event);
    EXPECT_FALSE(context_->exists(*event));
    ASSERT_TRUE(context_->save());
    EXPECT_EQ(event->get(SNEvent::action), std::nullopt);
    event->set(SNEvent::action, "b");
    EXPECT_EQ(event->get(SNEvent::action), std::nullopt);
    EXPECT_FALSE(context_->hasChanges());
  });
  EXPECT_EQ(storedActions(), "");
}

TEST_F(ContextTest, DeletedBeforeItsFirstSaveIsForgottenWithoutATrace) {
  addEvent("kept");
  const auto forgotten = addEvent("forgotten");
  run([&] { context_->deleteObject(*forgotten); });
  EXPECT_EQ(fetched(), "kept");
  EXPECT_TRUE(save());
  EXPECT_EQ(storedActions(), "kept");
  EXPECT_EQ(forgotten->managedObjectContext(), nullptr);
}

TEST_F(ContextTest, RecordsDeletedInMemoryAloneAreGoneAtOnce) {
  support::SerialQueue queue;
  ManagedObjectContext memoryOnly(queue, clock_, nullptr);
  queue.performBlockAndWait([&] {
    const auto kept = memoryOnly.insert<SNEvent>();
    std::weak_ptr<SNEvent> alone = memoryOnly.insert<SNEvent>();
    std::weak_ptr<SNEvent> oneOfMany = memoryOnly.insert<SNEvent>();
    memoryOnly.deleteObject(*alone.lock());
    memoryOnly.deleteRows(SNEvent::entity(), rowsOf({oneOfMany.lock()}));
    EXPECT_TRUE(alone.expired() && oneOfMany.expired());
    EXPECT_EQ(memoryOnly.fetchRecords<SNEvent>(), std::vector{kept});
    // Their rows are no one's: nothing is kept to be written.
    memoryOnly.setStatusOfRows(SNEvent::entity(), rowsOf({kept}), 1, clock_.now());
    EXPECT_EQ(memoryOnly.count(SNEvent::entity()), 1u);
  });
}

TEST_F(ContextTest, SaveOfNothingSucceedsEvenWithoutAStore) {
  support::SerialQueue queue;
  ManagedObjectContext memoryOnly(queue, clock_, nullptr);
  queue.performBlockAndWait([&] {
    EXPECT_TRUE(memoryOnly.save());
    memoryOnly.insert<SNUser>();
    EXPECT_FALSE(memoryOnly.save());
    EXPECT_EQ(memoryOnly.count(SNUser::entity()), 1u) << "records live on in memory";
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
  const auto sessionID = run([&] { return context_->insert<SNSession>()->get(SNSession::sessionID); });
  ASSERT_TRUE(sessionID);
  EXPECT_EQ(sessionID->size(), 36u);
  ASSERT_TRUE(save());
  reopen();
  clock_.advance(5);
  run([&] {
    const auto session = context_->fetchRecords<SNSession>().at(0);
    EXPECT_EQ(session->get(SNSession::sessionID), sessionID);
    EXPECT_EQ(session->get(SNSession::createdAt), dateSince1970(1'700'000'000));
  });
}

TEST_F(ContextTest, StatusReadsAsToldWhateverNumberIsStored) {
  struct Case {
    std::optional<std::int64_t> raw;
    ServerStatusState expected;
  };
  const auto event = addEvent("a");
  for (const Case& each : {Case{std::nullopt, ServerStatusState::isFalse},
                           {-1, ServerStatusState::isFalse},
                           {0, ServerStatusState::pending},
                           {1, ServerStatusState::isTrue},
                           {2, ServerStatusState::isFalse},
                           {-5, ServerStatusState::isFalse}}) {
    run([&] {
      event->set(SNEvent::status, each.raw);
      EXPECT_EQ(SNServerStatus::of(event)->statusState(), each.expected) << each.raw.value_or(99);
    });
  }
  clock_.advance(7);
  run([&] { SNServerStatus::of(event)->setStatus(ServerStatusState::isTrue); });
  EXPECT_EQ(SNServerStatus::of(event)->lastUpdated(), dateSince1970(1'700'000'007));
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

TEST_F(ContextTest, BlocksWithinABlockRunAtOnceAndSeeItsChanges) {
  std::string order;
  run([&] {
    context_->performBlock([&] { order += "queued"; });
    addEvent("a");
    EXPECT_EQ(fetched(), "a");
    EXPECT_TRUE(save());
    order += "inner,";
  });
  run([] {});
  EXPECT_EQ(order, "inner,queued");
}

TEST_F(ContextTest, NarrowScalarKeepsItsRangeThroughTheFile) {
  run([&] {
    const auto campaign = context_->insert<SNInAppCampaigns>();
    EXPECT_EQ(campaign->get(SNInAppCampaigns::presentationCount), 0);
    campaign->set(SNInAppCampaigns::presentationCount, -32768);
    ASSERT_TRUE(context_->save());
  });
  reopen();
  EXPECT_EQ(
      run([&] {
        return context_->fetchRecords<SNInAppCampaigns>().at(0)->get(SNInAppCampaigns::presentationCount);
      }),
      -32768);
}

}  // namespace sorn::store
