#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "fakes/FakeClock.h"
#include "fakes/RawDatabase.h"
#include "fakes/TemporaryFolder.h"
#include "store/ManagedObjectContext.h"
#include "store/entities/SNApplication.h"
#include "store/entities/SNDevice.h"
#include "store/entities/SNEvent.h"
#include "store/entities/SNServerStatus.h"
#include "store/entities/SNSession.h"
#include "store/entities/SNUser.h"

namespace sorn::store {

// A context over a file in a folder of its own. Every verb is one block of the context's queue.
class StoreFixture : public ::testing::Test {
 protected:
  StoreFixture() { reopen(); }
  ~StoreFixture() override { close(); }

  std::filesystem::path file() const { return folder_ / "SNSornDB.sqlite"; }

  void close() {
    context_.reset();
    queue_.reset();
  }
  // What a next process finds: everything unsaved is gone.
  void reopen() {
    close();
    queue_ = std::make_unique<support::SerialQueue>();
    auto store = PersistentStore::open(file(), platform::Durability::process);
    EXPECT_TRUE(store) << store.error();
    context_ = std::make_unique<ManagedObjectContext>(*queue_, clock_, *std::move(store));
  }
  decltype(auto) run(auto&& work) { return context_->performBlockAndWait(work); }

  Ref<SNEvent> addEvent(const std::string& action) {
    return run([&] {
      Ref<SNEvent> event = context_->insert<SNEvent>();
      event->set(SNEvent::action, action);
      SNServerStatus::findOrCreate(event).setStatus(ServerStatusState::pending);
      return event;
    });
  }
  bool save() {
    return run([&] { return context_->save(); });
  }
  // The actions of the events that a fetch finds, in its order.
  std::string fetched(const Predicate& predicate = {}) {
    return run([&] {
      std::string actions;
      for (const auto& event : context_->fetchRecords<SNEvent>(predicate)) {
        actions += event->get(SNEvent::action).value_or("-");
      }
      return actions;
    });
  }
  // The same by a scan, with the raw status behind each.
  std::string scanned() {
    return run([&] {
      std::string actions;
      const bool isWhole = context_->scan(SNEvent::entity(), {}, [&](const RowView& row) {
        actions.append(row.text(SNEvent::action)).append(std::to_string(row.integer(SNEvent::status)));
        return true;
      });
      return isWhole ? actions : "unreadable";
    });
  }
  std::size_t counted(const Predicate& predicate = {}) {
    return run([&] { return context_->count(SNEvent::entity(), predicate); });
  }
  // What is in the file, as SQLite tells it.
  std::string stored(const std::string& sql) { return tests::RawDatabase(file()).column(sql); }
  std::string storedActions() { return stored("SELECT action FROM SNEvent ORDER BY id"); }
  void execute(const std::string& sql) { tests::RawDatabase(file()).execute(sql); }

  static RowRanges rowsOf(const std::vector<Ref<SNEvent>>& events) {
    RowRanges rows;
    for (const auto& event : events) rows.append(event->rowID(), true);
    return rows;
  }

  tests::FakeClock clock_;
  const tests::TemporaryFolder folder_;
  std::unique_ptr<support::SerialQueue> queue_;
  std::unique_ptr<ManagedObjectContext> context_;
};

}  // namespace sorn::store
