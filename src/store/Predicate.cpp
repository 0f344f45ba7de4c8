#include "store/Predicate.h"

#include <compare>
#include <optional>

namespace sorn::store {

struct Predicate::Node {
  Kind kind = Kind::everything;
  std::size_t column = 0;
  Comparison comparison = Comparison::equal;
  Cell value;
  std::int64_t rowID = 0;
  Operand left;
  Operand right;
};

namespace {

std::optional<double> numberOf(const Cell& cell) {
  if (const auto* integer = std::get_if<std::int64_t>(&cell)) return static_cast<double>(*integer);
  if (const auto* real = std::get_if<double>(&cell)) return *real;
  return std::nullopt;
}

// The order of two present values; unordered when one is a number and the other a text.
std::partial_ordering order(const Cell& left, const Cell& right) {
  const auto* leftInteger = std::get_if<std::int64_t>(&left);
  const auto* rightInteger = std::get_if<std::int64_t>(&right);
  if (leftInteger && rightInteger) return *leftInteger <=> *rightInteger;
  const auto* leftText = std::get_if<std::string>(&left);
  const auto* rightText = std::get_if<std::string>(&right);
  if (leftText && rightText) return *leftText <=> *rightText;
  const std::optional<double> leftNumber = numberOf(left);
  const std::optional<double> rightNumber = numberOf(right);
  if (leftNumber && rightNumber) return *leftNumber <=> *rightNumber;
  return std::partial_ordering::unordered;
}

bool holds(Predicate::Comparison comparison, const Cell& cell, const Cell& value) {
  using enum Predicate::Comparison;
  if (isAbsent(cell) || isAbsent(value)) {
    const bool same = isAbsent(cell) && isAbsent(value);
    return comparison == equal ? same : comparison == notEqual && !same;
  }
  const std::partial_ordering result = order(cell, value);
  switch (comparison) {
    case equal:
      return std::is_eq(result);
    case notEqual:
      return std::is_neq(result);
    case less:
      return std::is_lt(result);
    case lessOrEqual:
      return std::is_lteq(result);
    case greater:
      return std::is_gt(result);
    case greaterOrEqual:
      return std::is_gteq(result);
  }
  return false;
}

std::string_view operatorOf(Predicate::Comparison comparison, bool withAbsent) {
  switch (comparison) {
    case Predicate::Comparison::equal:
      return withAbsent ? " IS " : " = ";
    case Predicate::Comparison::notEqual:
      return " IS NOT ";
    case Predicate::Comparison::less:
      return " < ";
    case Predicate::Comparison::lessOrEqual:
      return " <= ";
    case Predicate::Comparison::greater:
      return " > ";
    case Predicate::Comparison::greaterOrEqual:
      return " >= ";
  }
  return "";
}

// Absence and the three states of a status stand in the text itself: partial indexes are found only then.
bool isWrittenOut(const Cell& value) {
  const auto* integer = std::get_if<std::int64_t>(&value);
  return isAbsent(value) || (integer && *integer >= -1 && *integer <= 1);
}

std::string sqlOf(Predicate::Comparison comparison, const Cell& value) {
  std::string sql(operatorOf(comparison, isAbsent(value)));
  if (!isWrittenOut(value)) return sql + "?";
  const auto* integer = std::get_if<std::int64_t>(&value);
  return sql + (integer ? std::to_string(*integer) : "NULL");
}

}  // namespace

Predicate::Predicate(Node node) : root_(std::make_shared<const Node>(std::move(node))) {}

Predicate Predicate::compare(std::size_t column, Comparison comparison, Cell value) {
  return Predicate(Node{.kind = Kind::comparison,
                        .column = column,
                        .comparison = comparison,
                        .value = std::move(value),
                        .rowID = 0,
                        .left = {},
                        .right = {}});
}

Predicate Predicate::isNotRow(std::int64_t rowID) {
  Node node;
  node.kind = Kind::notRow;
  node.rowID = rowID;
  return Predicate(std::move(node));
}

Predicate operator&&(Predicate left, Predicate right) {
  if (!left.root_) return right;
  if (!right.root_) return left;
  Predicate::Node node;
  node.kind = Predicate::Kind::conjunction;
  node.left = std::move(left.root_);
  node.right = std::move(right.root_);
  return Predicate(std::move(node));
}

Predicate operator||(Predicate left, Predicate right) {
  if (!left.root_ || !right.root_) return {};
  Predicate::Node node;
  node.kind = Predicate::Kind::disjunction;
  node.left = std::move(left.root_);
  node.right = std::move(right.root_);
  return Predicate(std::move(node));
}

Predicate operator!(Predicate operand) {
  Predicate::Node node;
  node.kind = Predicate::Kind::negation;
  node.left = std::move(operand.root_);
  return Predicate(std::move(node));
}

bool Predicate::matches(std::int64_t rowID, std::span<const Cell> cells) const {
  return matches(root_.get(), rowID, cells);
}

bool Predicate::matches(const Node* node, std::int64_t rowID, std::span<const Cell> cells) {
  if (!node) return true;
  switch (node->kind) {
    case Kind::everything:
      return true;
    case Kind::comparison:
      return holds(node->comparison, cells[node->column], node->value);
    case Kind::notRow:
      return rowID != node->rowID;
    case Kind::conjunction:
      return matches(node->left.get(), rowID, cells) && matches(node->right.get(), rowID, cells);
    case Kind::disjunction:
      return matches(node->left.get(), rowID, cells) || matches(node->right.get(), rowID, cells);
    case Kind::negation:
      return !matches(node->left.get(), rowID, cells);
  }
  return false;
}

std::string Predicate::sql(std::span<const Column> columns, std::vector<const Cell*>& values) const {
  std::string text;
  appendSql(root_.get(), columns, text, values);
  return text;
}

void Predicate::appendSql(const Node* node, std::span<const Column> columns, std::string& sql,
                          std::vector<const Cell*>& values) {
  if (!node || node->kind == Kind::everything) {
    sql += "1";
    return;
  }
  sql += "(";
  switch (node->kind) {
    case Kind::comparison:
      sql.append(columns[node->column].name).append(sqlOf(node->comparison, node->value));
      if (isWrittenOut(node->value)) break;
      values.push_back(&node->value);
      break;
    case Kind::notRow:
      sql.append("id <> ").append(std::to_string(node->rowID));
      break;
    case Kind::negation:
      // An ordering of an absent value is unknown in SQL and false here.
      sql += "NOT coalesce(";
      appendSql(node->left.get(), columns, sql, values);
      sql += ", 0)";
      break;
    default:
      appendSql(node->left.get(), columns, sql, values);
      sql += node->kind == Kind::conjunction ? " AND " : " OR ";
      appendSql(node->right.get(), columns, sql, values);
  }
  sql += ")";
}

}  // namespace sorn::store
