#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <vector>

#include "store/Cell.h"
#include "store/Schema.h"

namespace sorn::store {

// All row ids from the first to the last, both included.
struct RowRange {
  std::int64_t first = 0;
  std::int64_t last = std::numeric_limits<std::int64_t>::max();

  bool contains(std::int64_t rowID) const { return first <= rowID && rowID <= last; }
};

// A set of rows of one entity, as few ranges as possible, in ascending order. A range stands for the rows
// that were there when it was made: ids in between that belong to no row of the entity do no harm, since ids
// are never handed out again.
class RowRanges {
 public:
  RowRanges() = default;
  RowRanges(RowRange all, std::size_t count) : ranges_{all}, count_(count) {}

  // The row that follows the last one seen by the caller; `afterGap` says whether rows in between were left
  // out.
  void append(std::int64_t rowID, bool afterGap) {
    ++count_;
    if (ranges_.empty() || afterGap) {
      ranges_.push_back({rowID, rowID});
    } else {
      ranges_.back().last = rowID;
    }
  }

  bool contains(std::int64_t rowID) const;
  // The same rows in sets of at most so many ids, in their order; the count of each is an upper bound.
  std::vector<RowRanges> split(std::int64_t ids) const;
  const std::vector<RowRange>& ranges() const { return ranges_; }
  // The number of rows in all ranges.
  std::size_t count() const { return count_; }
  bool empty() const { return ranges_.empty(); }

 private:
  std::vector<RowRange> ranges_;
  std::size_t count_ = 0;
};

// A deletion or a change of status of many rows that has not been saved yet.
struct BulkChange {
  const EntityDescription* entity;
  RowRanges rows;
  std::optional<std::int64_t> status;  // absent for a deletion
  double date = 0;                     // of the change of status
};

// The bulk changes that wait for a save. Rows read from the file go through here, so that a fetch sees them.
class BulkChanges {
 public:
  void add(BulkChange change) { changes_.push_back(std::move(change)); }
  void clear() { changes_.clear(); }
  const std::vector<BulkChange>& changes() const { return changes_; }
  bool touches(const EntityDescription& entity) const;

  // Brings the cells of a stored row up to date; false when the row is deleted.
  bool apply(const EntityDescription& entity, std::int64_t rowID, std::vector<Cell>& cells) const;

 private:
  std::vector<BulkChange> changes_;
};

}  // namespace sorn::store
