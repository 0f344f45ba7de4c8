#include "store/ManagedObjectContext.h"

#include <algorithm>
#include <cassert>

namespace sorn::store {

namespace {

// Ids reserved at a time: the mark in the file moves once for so many records.
constexpr std::int64_t rowIDBlock = 1024;

std::vector<Cell> cellsOf(const EntityDescription& entity, const sqlite::Statement& row) {
  std::vector<Cell> cells(entity.columns.size());
  for (std::size_t column = 0; column < cells.size(); ++column) {
    cells[column] = row.cell(static_cast<int>(column) + 1);
  }
  return cells;
}

}  // namespace

ManagedObjectContext::ManagedObjectContext(support::SerialQueue& queue, const platform::Clock& clock,
                                           std::unique_ptr<PersistentStore> store)
    : queue_(queue), clock_(clock) {
  setStore(std::move(store));
}

ManagedObjectContext::~ManagedObjectContext() {
  for (const auto& [entity, objects] : registered_) {
    for (const auto& [rowID, object] : objects) {
      if (const auto alive = object.lock()) alive->context_ = nullptr;
    }
  }
}

void ManagedObjectContext::setStore(std::unique_ptr<PersistentStore> store, StoreLost storeLost) {
  store_ = std::move(store);
  storeLost_ = std::move(storeLost);
  if (store_) nextRowID_ = reservedRowIDs_ = store_->reservedRowIDs();
}

std::int64_t ManagedObjectContext::takeRowID() { return nextRowID_++; }

Ref<ManagedObject> ManagedObjectContext::insert(const EntityDescription& entity) {
  assert(isCurrentQueue());
  Ref<ManagedObject> object = entity.make();
  object->context_ = this;
  object->rowID_ = takeRowID();
  object->isInserted_ = true;
  registerObject(object);
  addPending(*object);
  object->awakeFromInsert(*this);
  return object;
}

void ManagedObjectContext::addPending(ManagedObject& object) {
  object.isPending_ = true;
  pending_.push_back(object.shared_from_this());
}

void ManagedObjectContext::registerObject(const Ref<ManagedObject>& object) {
  Registered& objects = registered_[&object->entity_];
  objects[object->rowID_] = object;
  if (++registeredCount_ < sweepAt_) return;
  registeredCount_ = 0;
  for (auto& [entity, held] : registered_) {
    std::erase_if(held, [](const auto& entry) { return entry.second.expired(); });
    registeredCount_ += held.size();
  }
  sweepAt_ = 256 + 2 * registeredCount_;
}

Ref<ManagedObject> ManagedObjectContext::registered(const EntityDescription& entity, std::int64_t rowID) {
  const auto objects = registered_.find(&entity);
  if (objects == registered_.end()) return nullptr;
  const auto found = objects->second.find(rowID);
  return found == objects->second.end() ? nullptr : found->second.lock();
}

Ref<ManagedObject> ManagedObjectContext::materialise(const EntityDescription& entity, std::int64_t rowID,
                                                     std::vector<Cell> cells) {
  Ref<ManagedObject> object = entity.make();
  object->context_ = this;
  object->rowID_ = rowID;
  object->cells_ = std::move(cells);
  registerObject(object);
  return object;
}

// Shows stored rows and records with unsaved changes together, in the order of their ids. A record's row in
// the file counts for nothing while it has unsaved changes. The visitors return false to stop. False when not
// all rows could be read.
template <class StoredVisitor, class PendingVisitor>
bool ManagedObjectContext::merge(const EntityDescription& entity, const Predicate& predicate, RowRange range,
                                 StoredVisitor&& stored, PendingVisitor&& pending, std::uint64_t wanted) {
  const std::vector<Ref<ManagedObject>> objects = pendingOf(entity, range);
  auto next = objects.begin();
  bool goesOn = true;
  const auto showPendingBefore = [&](std::int64_t rowID) {
    while (goesOn && next != objects.end() && (*next)->rowID_ < rowID) {
      const Ref<ManagedObject>& object = *next++;
      if (!object->isDeleted_ && predicate.matches(object->rowID_, object->cells_)) goesOn = pending(object);
    }
  };
  // An unsaved bulk change may alter what the condition looks at: then every row is read and judged here.
  const bool judgesHere = bulk_.touches(entity);
  std::vector<Cell> cells;
  if (store_) {
    const auto show = [&](const sqlite::Statement& row) {
      const std::int64_t rowID = row.integer(0);
      showPendingBefore(rowID);
      if (!goesOn) return false;
      if (next != objects.end() && (*next)->rowID_ == rowID) return true;
      if (judgesHere) {
        cells = cellsOf(entity, row);
        if (!bulk_.apply(entity, rowID, cells) || !predicate.matches(rowID, cells)) return true;
      }
      goesOn = stored(row, cells);
      return goesOn;
    };
    const bool isWhole = judgesHere ? store_->select(entity, {}, range, allColumns, show)
                                    : store_->select(entity, predicate, range, wanted, show);
    if (!isWhole) {
      isStoreDamaged_ = isStoreDamaged_ || store_->isDamaged();
      return false;
    }
  }
  showPendingBefore(std::numeric_limits<std::int64_t>::max());
  return true;
}

Ref<ManagedObject> ManagedObjectContext::object(const EntityDescription& entity, std::int64_t rowID) {
  assert(isCurrentQueue());
  if (Ref<ManagedObject> known = registered(entity, rowID)) return known->isDeleted_ ? nullptr : known;
  Ref<ManagedObject> found;
  merge(
      entity, {}, {rowID, rowID},
      [&](const sqlite::Statement& row, std::vector<Cell>& cells) {
        found = materialise(entity, rowID, cells.empty() ? cellsOf(entity, row) : std::move(cells));
        return true;
      },
      [](const Ref<ManagedObject>&) { return true; });
  return found;
}

void ManagedObjectContext::deleteObject(ManagedObject& object) {
  assert(isCurrentQueue());
  if (!object.isAlive()) return;
  object.isDeleted_ = true;
  if (object.isInserted_) {
    forgetDeletedInserts();
  } else if (!object.isPending_) {
    addPending(object);
  }
}

// A record that never was in the file leaves nothing to save.
void ManagedObjectContext::forgetDeletedInserts() {
  std::erase_if(pending_, [this](const Ref<ManagedObject>& object) {
    if (!object->isInserted_ || !object->isDeleted_) return false;
    registered_[&object->entity_].erase(object->rowID_);
    object->context_ = nullptr;
    object->isDeleted_ = object->isInserted_ = object->isPending_ = false;
    return true;
  });
}

std::vector<Ref<ManagedObject>> ManagedObjectContext::pendingOf(const EntityDescription& entity,
                                                                RowRange range) const {
  std::vector<Ref<ManagedObject>> objects;
  for (const Ref<ManagedObject>& object : pending_) {
    if (&object->entity_ == &entity && range.contains(object->rowID_)) objects.push_back(object);
  }
  std::sort(objects.begin(), objects.end(),
            [](const auto& left, const auto& right) { return left->rowID_ < right->rowID_; });
  return objects;
}

bool ManagedObjectContext::exists(const ManagedObject& object) {
  if (!object.isAlive()) return false;
  if (object.isInserted_) return true;
  bool isThere = false;
  merge(
      object.entity_, {}, {object.rowID_, object.rowID_},
      [&](const sqlite::Statement&, std::vector<Cell>&) { return !(isThere = true); },
      [&](const Ref<ManagedObject>&) { return !(isThere = true); });
  return isThere;
}

bool ManagedObjectContext::visit(const EntityDescription& entity, const Predicate& predicate,
                                 const std::function<void(Ref<ManagedObject>)>& visitor) {
  assert(isCurrentQueue());
  return merge(
      entity, predicate, {},
      [&](const sqlite::Statement& row, std::vector<Cell>& cells) {
        const std::int64_t rowID = row.integer(0);
        Ref<ManagedObject> object = registered(entity, rowID);
        if (!object) {
          object = materialise(entity, rowID, cells.empty() ? cellsOf(entity, row) : std::move(cells));
        }
        visitor(std::move(object));
        return true;
      },
      [&](const Ref<ManagedObject>& object) {
        visitor(object);
        return true;
      });
}

bool ManagedObjectContext::scan(const EntityDescription& entity, RowRange range,
                                const std::function<bool(const RowView&)>& visitor, std::uint64_t wanted) {
  assert(isCurrentQueue());
  const bool isWhole = merge(
      entity, {}, range,
      [&](const sqlite::Statement& row, std::vector<Cell>& cells) {
        return visitor(RowView(row.integer(0), &row, cells));
      },
      [&](const Ref<ManagedObject>& object) {
        return visitor(RowView(object->rowID_, nullptr, object->cells_));
      },
      wanted);
  giveUpDamagedStore();
  return isWhole;
}

std::size_t ManagedObjectContext::count(const EntityDescription& entity, const Predicate& predicate) {
  assert(isCurrentQueue());
  const bool fileIsCurrent = pendingOf(entity, {}).empty() && !bulk_.touches(entity);
  if (fileIsCurrent) return store_ ? store_->count(entity, predicate) : 0;
  std::size_t count = 0;
  merge(
      entity, predicate, {},
      [&](const sqlite::Statement&, std::vector<Cell>&) {
        ++count;
        return true;
      },
      [&](const Ref<ManagedObject>&) {
        ++count;
        return true;
      });
  return count;
}

void ManagedObjectContext::deleteRows(const EntityDescription& entity, const RowRanges& rows) {
  assert(isCurrentQueue());
  if (rows.empty()) return;
  for (const auto& [rowID, held] : registered_[&entity]) {
    if (!rows.contains(rowID)) continue;
    const auto object = held.lock();
    if (!object || !object->isAlive()) continue;
    object->isDeleted_ = true;
    if (!object->isPending_) addPending(*object);
  }
  forgetDeletedInserts();
  if (store_) bulk_.add({&entity, rows, std::nullopt});
}

void ManagedObjectContext::setStatusOfRows(const EntityDescription& entity, const RowRanges& rows,
                                           std::int64_t status, Date now) {
  assert(isCurrentQueue());
  if (rows.empty()) return;
  for (const auto& [rowID, held] : registered_[&entity]) {
    if (!rows.contains(rowID)) continue;
    const auto object = held.lock();
    if (!object || object->isDeleted_) continue;
    // The row itself is changed with the others, so a record without other changes stays clean.
    object->cells_[entity.statusColumn + 1] = status;
    object->cells_[entity.statusColumn + 2] = secondsSince1970(now);
  }
  if (store_) bulk_.add({&entity, rows, status, secondsSince1970(now)});
}

bool ManagedObjectContext::hasChanges() const { return statementsToWrite() > 0; }

// Counts up to two: whether there is nothing, one thing or several to write.
std::size_t ManagedObjectContext::statementsToWrite() const {
  std::size_t statements = 0;
  for (const BulkChange& change : bulk_.changes()) statements += change.rows.ranges().size();
  if (nextRowID_ > reservedRowIDs_) ++statements;
  for (const Ref<ManagedObject>& object : pending_) {
    if (statements > 1) break;
    if (object->isDeleted_) {
      if (!object->isInserted_) ++statements;
    } else if (object->isInserted_ || (object->changedColumns_ & object->entity_.columnsOfEachSave) != 0) {
      ++statements;
    }
  }
  return statements;
}

bool ManagedObjectContext::save() {
  assert(isCurrentQueue());
  const std::size_t statements = statementsToWrite();
  if (statements > 0) {
    if (!store_) return false;
    const bool isWritten =
        statements == 1 ? writeChanges() : store_->inTransaction([this] { return writeChanges(); });
    if (!isWritten) {
      isStoreDamaged_ = isStoreDamaged_ || store_->isDamaged();
      giveUpDamagedStore();
      return false;
    }
    if (store_->checkpointIfLong()) queue_.runQuietHandlerSoon();
  }
  forgetWrittenChanges();
  return true;
}

// A damaged file fails again and again. What of it is in use goes on as records that were never saved; what a
// fetch in vain has read should be forgotten by then.
void ManagedObjectContext::giveUpDamagedStore() {
  if (!isStoreDamaged_ || !store_) return;
  damagedStore_ = std::move(store_);
  bulk_.clear();
  for (const Ref<ManagedObject>& object : pending_) object->isInserted_ = true;
  forgetDeletedInserts();
  for (const auto& [entity, objects] : registered_) {
    for (const auto& [rowID, held] : objects) {
      const auto object = held.lock();
      if (!object || object->isPending_) continue;
      object->isInserted_ = true;
      addPending(*object);
    }
  }
  if (storeLost_) storeLost_("the file is damaged");
}

bool ManagedObjectContext::writeChanges() {
  if (nextRowID_ > reservedRowIDs_ && !store_->reserveRowIDs(nextRowID_ + rowIDBlock)) return false;
  // What was changed record by record is newer than a change of many rows, or equal to it.
  for (const BulkChange& change : bulk_.changes()) {
    if (!store_->apply(change)) return false;
  }
  for (const Ref<ManagedObject>& object : pending_) {
    if (!writeObject(*object)) return false;
  }
  return true;
}

bool ManagedObjectContext::writeObject(ManagedObject& object) {
  const EntityDescription& entity = object.entity_;
  if (object.isDeleted_) return object.isInserted_ || store_->remove(entity, object.rowID_);
  if (object.isInserted_) return store_->insert(entity, object.rowID_, object.cells_);
  if ((object.changedColumns_ & entity.columnsOfEachSave) == 0) return true;
  return store_->update(entity, object.rowID_, object.changedColumns_, object.cells_);
}

void ManagedObjectContext::forgetWrittenChanges() {
  if (nextRowID_ > reservedRowIDs_) reservedRowIDs_ = nextRowID_ + rowIDBlock;
  bulk_.clear();
  std::erase_if(pending_, [this](const Ref<ManagedObject>& object) {
    if (object->isDeleted_) {
      registered_[&object->entity_].erase(object->rowID_);
      object->context_ = nullptr;
      object->isDeleted_ = false;
      std::fill(object->cells_.begin(), object->cells_.end(), Cell());
    } else if (!object->isInserted_ && (object->changedColumns_ & object->entity_.columnsOfEachSave) == 0) {
      return false;
    }
    object->isInserted_ = false;
    object->isPending_ = false;
    object->changedColumns_ = 0;
    return true;
  });
}

}  // namespace sorn::store
