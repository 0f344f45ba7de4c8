#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>

#include "sorn/platform/Clock.h"
#include "store/BulkChanges.h"
#include "store/ManagedObject.h"
#include "store/PersistentStore.h"
#include "store/Predicate.h"
#include "support/SerialQueue.h"

namespace sorn::store {

// A row as a scan shows it: a stored one straight from the statement, or a record with unsaved changes.
class RowView {
 public:
  RowView(std::int64_t rowID, const sqlite::Statement* statement, std::span<const Cell> cells)
      : rowID_(rowID), statement_(statement), cells_(cells) {}

  std::int64_t rowID() const { return rowID_; }

  bool isAbsentAt(std::size_t column) const {
    return readsStatement() ? statement_->isNull(static_cast<int>(column) + 1)
                            : store::isAbsent(cells_[column]);
  }
  // Zero or empty when absent. A text is valid until the scan goes on.
  std::int64_t integerAt(std::size_t column) const {
    return readsStatement() ? statement_->integer(static_cast<int>(column) + 1)
                            : fromCell<std::int64_t>(cells_[column]).value_or(0);
  }
  double realAt(std::size_t column) const {
    return readsStatement() ? statement_->real(static_cast<int>(column) + 1)
                            : fromCell<double>(cells_[column]).value_or(0);
  }
  std::string_view textAt(std::size_t column) const {
    if (readsStatement()) return statement_->text(static_cast<int>(column) + 1);
    const auto* text = std::get_if<std::string>(&cells_[column]);
    return text ? std::string_view(*text) : std::string_view();
  }

  bool isAbsent(const auto& attribute) const { return isAbsentAt(attribute.column); }
  std::int64_t integer(const auto& attribute) const { return integerAt(attribute.column); }
  double real(const auto& attribute) const { return realAt(attribute.column); }
  std::string_view text(const Attribute<std::string>& attribute) const { return textAt(attribute.column); }

 private:
  bool readsStatement() const { return statement_ && cells_.empty(); }

  std::int64_t rowID_;
  const sqlite::Statement* statement_;
  std::span<const Cell> cells_;  // empty for a row that is read from the statement
};

// One attribute and the value that a record is looked up by, or made with.
struct Assignment {
  std::size_t column;
  Cell value;

  Predicate predicate() const { return Predicate::compare(column, Predicate::Comparison::equal, value); }
  void apply(ManagedObject& record) const { record.setCell(column, value); }
};
template <class Target>
struct RelationAssignment {
  ToOne<Target> relation;
  Ref<Target> target;

  Predicate predicate() const {
    return Predicate::compare(relation.column, Predicate::Comparison::equal, Cell(target->rowID()));
  }
  void apply(ManagedObject& record) const { record.set(relation, target); }
};
template <class T, class Value>
Assignment assign(const Attribute<T>& attribute, Value&& value) {
  return {attribute.column, toCell(std::forward<Value>(value))};
}
template <class T>
Assignment assign(const Scalar<T>& attribute, std::type_identity_t<T> value) {
  return {attribute.column, toCell(value)};
}
template <class Target>
RelationAssignment<Target> assign(const ToOne<Target>& relation, Ref<Target> target) {
  return {relation, std::move(target)};
}

// The unit of work over the store: one object a record, changes kept in memory until a save writes them all
// in one transaction. A fetch sees unsaved changes; a failed save keeps them all for the next. Everything
// runs inside blocks of the context's queue, except the two operations that submit a block.
class ManagedObjectContext {
 public:
  using StoreLost = std::function<void(const std::string& reason)>;

  // Works without persistence when there is no store: every save that has something to write then fails.
  ManagedObjectContext(support::SerialQueue& queue, const platform::Clock& clock,
                       std::unique_ptr<PersistentStore> store);
  ~ManagedObjectContext();
  ManagedObjectContext(const ManagedObjectContext&) = delete;
  ManagedObjectContext& operator=(const ManagedObjectContext&) = delete;

  void performBlock(support::SerialQueue::Block block) { queue_.performBlock(std::move(block)); }
  template <class Work>
  decltype(auto) performBlockAndWait(Work&& work) {
    return queue_.performBlockAndWait(std::forward<Work>(work));
  }
  bool isCurrentQueue() const { return queue_.isCurrent(); }
  // Puts the store under the context. Once, before the first record. When its file turns out to be damaged
  // later, the handler is told on the queue; from then on there is no store, and what was in use lives on in
  // memory.
  void setStore(std::unique_ptr<PersistentStore> store, StoreLost storeLost = {});

  template <class Record>
  Ref<Record> insert() {
    return std::static_pointer_cast<Record>(insert(Record::entity()));
  }
  // Nothing when not all of them can be read.
  template <class Record>
  std::vector<Ref<Record>> fetchRecords(const Predicate& predicate = {}) {
    std::vector<Ref<Record>> records;
    const bool isWhole = visit(Record::entity(), predicate, [&](Ref<ManagedObject> object) {
      records.push_back(std::static_pointer_cast<Record>(std::move(object)));
    });
    if (!isWhole) {
      records.clear();
      giveUpDamagedStore();
    }
    return records;
  }
  std::vector<Ref<ManagedObject>> fetchObjects(const EntityDescription& entity,
                                               const Predicate& predicate = {}) {
    std::vector<Ref<ManagedObject>> objects;
    const bool isWhole =
        visit(entity, predicate, [&](Ref<ManagedObject> object) { objects.push_back(std::move(object)); });
    if (!isWhole) {
      objects.clear();
      giveUpDamagedStore();
    }
    return objects;
  }
  // The first record, in the order of creation, whose attributes have these values; a new one with them when
  // there is none. Call as `findOrCreate<SNUser>(assign(SNUser::userID, "a"))`.
  template <class Record, class... Assignments>
  Ref<Record> findOrCreate(const Assignments&... assignments);

  Ref<ManagedObject> insert(const EntityDescription& entity);
  // The record with this row id, unless it is deleted or was never there.
  Ref<ManagedObject> object(const EntityDescription& entity, std::int64_t rowID);
  // Whether the record can still be reached.
  bool exists(const ManagedObject& object);
  void deleteObject(ManagedObject& object);
  // Records with unsaved changes included; nothing is loaded.
  std::size_t count(const EntityDescription& entity, const Predicate& predicate = {});

  // Shows every row in this range of row ids, unsaved changes included, in the order of creation, without
  // making objects. Return false from the visitor to stop. Of a stored row only the wanted columns may
  // be read. False when rows could not be read, so that some may be missing.
  [[nodiscard]] bool scan(const EntityDescription& entity, RowRange range,
                          const std::function<bool(const RowView&)>& visitor,
                          std::uint64_t wanted = allColumns);
  // Deletes all records of these rows, or changes their status, without loading them.
  void deleteRows(const EntityDescription& entity, const RowRanges& rows);
  void setStatusOfRows(const EntityDescription& entity, const RowRanges& rows, std::int64_t status, Date now);

  // Writes everything that changed in one transaction. On failure all of it stays pending.
  [[nodiscard]] bool save();
  // The same for whoever need not know: what cannot be written now goes along with a later save.
  void saveNowOrLater() { std::ignore = save(); }
  bool hasChanges() const;
  bool isPersistent() const { return store_ != nullptr; }
  // The present moment, for what a record notes of its own accord.
  Date now() const { return clock_.now(); }
  // Highest row id handed out so far.
  std::int64_t lastRowID() const { return nextRowID_ - 1; }

 private:
  friend class ManagedObject;
  using Registered = std::unordered_map<std::int64_t, std::weak_ptr<ManagedObject>>;

  void addPending(ManagedObject& object);
  bool visit(const EntityDescription& entity, const Predicate& predicate,
             const std::function<void(Ref<ManagedObject>)>& visitor);
  template <class StoredVisitor, class PendingVisitor>
  bool merge(const EntityDescription& entity, const Predicate& predicate, RowRange range,
             StoredVisitor&& stored, PendingVisitor&& pending, std::uint64_t wanted = allColumns);
  std::vector<Ref<ManagedObject>> pendingOf(const EntityDescription& entity, RowRange range) const;
  Ref<ManagedObject> registered(const EntityDescription& entity, std::int64_t rowID);
  Ref<ManagedObject> materialise(const EntityDescription& entity, std::int64_t rowID,
                                 std::vector<Cell> cells);
  void registerObject(const Ref<ManagedObject>& object);
  void forgetDeletedInserts();
  void giveUpDamagedStore();
  bool writeChanges();
  bool writeObject(ManagedObject& object);
  std::size_t statementsToWrite() const;
  void forgetWrittenChanges();
  std::int64_t takeRowID();

  support::SerialQueue& queue_;
  const platform::Clock& clock_;
  std::unique_ptr<PersistentStore> store_;
  bool isStoreDamaged_ = false;
  // Kept when it is given up, since a fetch may still be at it.
  std::unique_ptr<PersistentStore> damagedStore_;
  StoreLost storeLost_;
  std::vector<Ref<ManagedObject>> pending_;  // in the order of their first change
  std::unordered_map<const EntityDescription*, Registered> registered_;
  std::size_t sweepAt_ = 256;  // size of an identity map at which dead entries are swept out
  std::size_t registeredCount_ = 0;
  BulkChanges bulk_;
  std::int64_t nextRowID_ = 1;
  std::int64_t reservedRowIDs_ = 1;  // ids below it are in the file as handed out
};

template <class Target>
Ref<Target> ManagedObject::get(const ToOne<Target>& relation) const {
  const std::optional<std::int64_t> target = reference(relation);
  if (!context_ || !target) return nullptr;
  return std::static_pointer_cast<Target>(context_->object(Target::entity(), *target));
}

template <class Member>
std::vector<Ref<Member>> ManagedObject::get(const ToMany<Member>& relation) const {
  if (!context_) return {};
  return context_->fetchRecords<Member>(
      Predicate::compare(relation.memberColumn, Predicate::Comparison::equal, Cell(rowID_)));
}

template <class Record, class... Assignments>
Ref<Record> ManagedObjectContext::findOrCreate(const Assignments&... assignments) {
  Predicate predicate;
  ((predicate = std::move(predicate) && assignments.predicate()), ...);
  std::vector<Ref<Record>> found = fetchRecords<Record>(predicate);
  if (!found.empty()) return found.front();
  Ref<Record> created = insert<Record>();
  (assignments.apply(*created), ...);
  return created;
}

}  // namespace sorn::store
