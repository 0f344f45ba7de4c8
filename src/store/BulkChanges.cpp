#include "store/BulkChanges.h"

#include <algorithm>

namespace sorn::store {

bool RowRanges::contains(std::int64_t rowID) const {
  const auto after =
      std::upper_bound(ranges_.begin(), ranges_.end(), rowID,
                       [](std::int64_t id, const RowRange& range) { return id < range.first; });
  return after != ranges_.begin() && std::prev(after)->contains(rowID);
}

bool BulkChanges::touches(const EntityDescription& entity) const {
  return std::any_of(changes_.begin(), changes_.end(),
                     [&](const BulkChange& change) { return change.entity == &entity; });
}

bool BulkChanges::apply(const EntityDescription& entity, std::int64_t rowID, std::vector<Cell>& cells) const {
  for (const BulkChange& change : changes_) {
    if (change.entity != &entity || !change.rows.contains(rowID)) continue;
    if (!change.status) return false;
    cells[entity.statusColumn + 1] = *change.status;
    cells[entity.statusColumn + 2] = change.date;
  }
  return true;
}

}  // namespace sorn::store
