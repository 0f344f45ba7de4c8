#include "store/BulkChanges.h"

#include <algorithm>

namespace sorn::store {

bool RowRanges::contains(std::int64_t rowID) const {
  const auto after =
      std::upper_bound(ranges_.begin(), ranges_.end(), rowID,
                       [](std::int64_t id, const RowRange& range) { return id < range.first; });
  return after != ranges_.begin() && std::prev(after)->contains(rowID);
}

std::vector<RowRanges> RowRanges::split(std::int64_t ids) const {
  std::vector<RowRanges> sets;
  std::int64_t room = 0;
  for (RowRange rest : ranges_) {
    while (rest.first <= rest.last) {
      if (room == 0) {
        sets.emplace_back();
        room = ids;
      }
      const std::int64_t taken = std::min(room, rest.last - rest.first + 1);
      sets.back().ranges_.push_back({rest.first, rest.first + taken - 1});
      sets.back().count_ += static_cast<std::size_t>(taken);
      rest.first += taken;
      room -= taken;
    }
  }
  return sets;
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
