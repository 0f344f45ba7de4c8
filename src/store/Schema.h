#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <span>
#include <string_view>

namespace sorn::store {

class ManagedObject;

enum class ColumnType : std::uint8_t { text, integer, real, reference };

// When a change of a column goes to disk.
enum class WriteOut : std::uint8_t {
  eachSave,
  // Together with another change of the same row. For what is worthless after the process has died.
  withOthers,
};

struct Column {
  std::string_view name;
  ColumnType type = ColumnType::text;
  WriteOut writeOut = WriteOut::eachSave;
  // For one side of a one-to-one relation: the other side's column in the target's row.
  std::string_view inverse = {};
};

// An index that answers a lookup which runs often.
struct Index {
  std::string_view name;
  std::string_view columns;         // as in SQL
  std::string_view condition = {};  // of a partial index, empty for a whole one
};

// A set of an entity's columns, a bit for each.
inline constexpr std::uint64_t allColumns = ~std::uint64_t{0};
constexpr std::uint64_t columnSet(const auto&... attributes) {
  return (std::uint64_t{0} | ... | (std::uint64_t{1} << attributes.column));
}

// What the store knows about one entity. Row ids are never reused and grow in the order of creation.
struct EntityDescription {
  static constexpr std::size_t noStatus = std::numeric_limits<std::size_t>::max();

  std::string_view name;  // also the table's
  std::span<const Column> columns;
  std::span<const Index> indexes;
  // Column that says whether a status record exists; its status and its time of change are the two columns
  // behind it. `noStatus` for entities without one.
  std::size_t statusColumn = noStatus;
  std::shared_ptr<ManagedObject> (*make)() = nullptr;
  // A bit for each column whose change is reason enough for a save.
  std::uint64_t columnsOfEachSave = 0;

  // Position of the column of this name; the count of columns when there is none.
  std::size_t columnNamed(std::string_view column) const {
    std::size_t position = 0;
    while (position < columns.size() && columns[position].name != column) ++position;
    return position;
  }
};

// Every entity that has a table, in the order of their creation.
std::span<const EntityDescription* const> allEntities();

}  // namespace sorn::store
