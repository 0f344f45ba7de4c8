#pragma once

#include <concepts>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "store/Attribute.h"
#include "store/Cell.h"

namespace sorn::store {

// A condition on the attributes of one entity's records. It is answered in SQL for stored rows and in memory
// for records with unsaved changes, with the same outcome: an absent value equals only an absent one, and no
// ordering holds for it.
class Predicate {
 public:
  enum class Comparison : std::uint8_t { equal, notEqual, less, lessOrEqual, greater, greaterOrEqual };

  // Holds for every record.
  Predicate() = default;
  bool isEverything() const { return !root_; }
  static Predicate compare(std::size_t column, Comparison comparison, Cell value);
  // Holds for all records but the one with this row id.
  static Predicate isNotRow(std::int64_t rowID);

  friend Predicate operator&&(Predicate left, Predicate right);
  friend Predicate operator||(Predicate left, Predicate right);
  friend Predicate operator!(Predicate operand);

  bool matches(std::int64_t rowID, std::span<const Cell> cells) const;
  // The condition as SQL, with `?` for each value; the values are appended in their order.
  std::string sql(std::span<const Column> columns, std::vector<const Cell*>& values) const;

 private:
  enum class Kind : std::uint8_t { everything, comparison, notRow, conjunction, disjunction, negation };
  struct Node;
  using Operand = std::shared_ptr<const Node>;

  explicit Predicate(Node node);
  static bool matches(const Node* node, std::int64_t rowID, std::span<const Cell> cells);
  static void appendSql(const Node* node, std::span<const Column> columns, std::string& sql,
                        std::vector<const Cell*>& values);

  Operand root_;
};

template <class T, class Value>
Predicate operator==(const Attribute<T>& attribute, Value value) {
  return Predicate::compare(attribute.column, Predicate::Comparison::equal, toCell(std::move(value)));
}
template <class T, class Value>
Predicate operator!=(const Attribute<T>& attribute, Value value) {
  return Predicate::compare(attribute.column, Predicate::Comparison::notEqual, toCell(std::move(value)));
}
template <class T, class Value>
Predicate operator<(const Attribute<T>& attribute, Value value) {
  return Predicate::compare(attribute.column, Predicate::Comparison::less, toCell(std::move(value)));
}
template <class T, class Value>
Predicate operator<=(const Attribute<T>& attribute, Value value) {
  return Predicate::compare(attribute.column, Predicate::Comparison::lessOrEqual, toCell(std::move(value)));
}
template <class T, class Value>
Predicate operator>(const Attribute<T>& attribute, Value value) {
  return Predicate::compare(attribute.column, Predicate::Comparison::greater, toCell(std::move(value)));
}
template <class T, class Value>
Predicate operator>=(const Attribute<T>& attribute, Value value) {
  return Predicate::compare(attribute.column, Predicate::Comparison::greaterOrEqual,
                            toCell(std::move(value)));
}
template <class T, class Value>
Predicate operator==(const Scalar<T>& attribute, Value value) {
  return Predicate::compare(attribute.column, Predicate::Comparison::equal, toCell(std::move(value)));
}
template <class T>
Predicate isAbsent(const Attribute<T>& attribute) {
  return Predicate::compare(attribute.column, Predicate::Comparison::equal, Cell());
}

}  // namespace sorn::store
