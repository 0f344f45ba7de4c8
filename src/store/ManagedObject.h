#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "store/Attribute.h"
#include "store/Predicate.h"
#include "store/Schema.h"

namespace sorn::store {

class ManagedObjectContext;

// A record held by whoever uses it. The context keeps only records with unsaved changes alive by itself.
template <class Record>
using Ref = std::shared_ptr<Record>;

// One record of the store. It belongs to a context and is read and written only on that context's queue;
// elsewhere it may be passed on and released, nothing more.
class ManagedObject : public std::enable_shared_from_this<ManagedObject> {
 public:
  ManagedObject(const EntityDescription& entity) : entity_(entity), cells_(entity.columns.size()) {}
  virtual ~ManagedObject() = default;
  ManagedObject(const ManagedObject&) = delete;
  ManagedObject& operator=(const ManagedObject&) = delete;

  const EntityDescription& entity() const { return entity_; }
  std::int64_t rowID() const { return rowID_; }
  // Null once the record's deletion has been saved: it then reads as absent everywhere.
  ManagedObjectContext* managedObjectContext() const { return context_; }
  // True from the deletion until it has been saved.
  bool isDeleted() const { return isDeleted_; }
  // Whether the record is there: it has a context and is not deleted.
  bool isAlive() const { return context_ && !isDeleted_; }

  template <class T>
  std::optional<T> get(const Attribute<T>& attribute) const {
    return fromCell<T>(cells_[attribute.column]);
  }
  template <class T>
  T get(const Scalar<T>& attribute) const {
    return fromCell<T>(cells_[attribute.column]).value_or(T());
  }
  // The text without a copy, valid until the next change; null when absent.
  const std::string* text(const Attribute<std::string>& attribute) const {
    return std::get_if<std::string>(&cells_[attribute.column]);
  }
  template <class T, class Value>
    requires requires(Value&& value) { toCell(std::forward<Value>(value)); }
  void set(const Attribute<T>& attribute, Value&& value) {
    setCell(attribute.column, toCell(std::forward<Value>(value)));
  }
  template <class T, class Value>
  void set(const Attribute<T>& attribute, const std::optional<Value>& value) {
    setCell(attribute.column, value ? toCell(*value) : Cell());
  }
  template <class T>
  void set(const Attribute<T>& attribute, std::nullopt_t) {
    setCell(attribute.column, Cell());
  }
  template <class T>
  void set(const Scalar<T>& attribute, std::type_identity_t<T> value) {
    setCell(attribute.column, toCell(value));
  }

  template <class Target>
  Ref<Target> get(const ToOne<Target>& relation) const;
  template <class Target>
  void set(const ToOne<Target>& relation, const Ref<Target>& target) {
    setReference(relation.column, target.get(), [] { return &Target::entity(); });
  }
  template <class Target>
  std::optional<std::int64_t> reference(const ToOne<Target>& relation) const {
    return fromCell<std::int64_t>(cells_[relation.column]);
  }
  template <class Member>
  std::vector<Ref<Member>> get(const ToMany<Member>& relation) const;

  std::span<const Cell> cells() const { return cells_; }
  void setCell(std::size_t column, Cell value);

  // Entity, row id and attributes, for the log.
  std::string description() const;

 protected:
  // Runs once, when the record is inserted; not when it is fetched later.
  virtual void awakeFromInsert(ManagedObjectContext& /*context*/) {}

 private:
  friend class ManagedObjectContext;

  void setReference(std::size_t column, ManagedObject* target, const EntityDescription* (*targetEntity)());

  const EntityDescription& entity_;
  ManagedObjectContext* context_ = nullptr;
  std::int64_t rowID_ = 0;
  std::vector<Cell> cells_;
  std::uint64_t changedColumns_ = 0;  // a bit for each column
  bool isInserted_ = false;           // not in the file yet
  bool isDeleted_ = false;
  bool isPending_ = false;  // among the context's unsaved changes
};

}  // namespace sorn::store
