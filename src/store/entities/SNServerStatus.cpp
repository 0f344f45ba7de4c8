#include "store/entities/SNServerStatus.h"

#include "store/ManagedObjectContext.h"

namespace sorn::store {

std::optional<SNServerStatus> SNServerStatus::of(const Ref<ManagedObject>& owner) {
  if (!owner || owner->entity().statusColumn == EntityDescription::noStatus) return std::nullopt;
  SNServerStatus status(owner);
  if (fromCell<std::int64_t>(owner->cells()[status.column_]) != 1) return std::nullopt;
  return status;
}

SNServerStatus SNServerStatus::findOrCreate(const Ref<ManagedObject>& owner) {
  SNServerStatus status(owner);
  if (fromCell<std::int64_t>(owner->cells()[status.column_]) != 1) {
    owner->setCell(status.column_, std::int64_t{1});
  }
  return status;
}

ServerStatusState SNServerStatus::statusState() const {
  const std::optional<std::int64_t> raw = status();
  if (raw == 0) return ServerStatusState::pending;
  return raw == 1 ? ServerStatusState::isTrue : ServerStatusState::isFalse;
}

std::optional<std::int64_t> SNServerStatus::status() const {
  return fromCell<std::int64_t>(owner_->cells()[column_ + 1]);
}

std::optional<Date> SNServerStatus::lastUpdated() const {
  return fromCell<Date>(owner_->cells()[column_ + 2]);
}

void SNServerStatus::setStatus(std::int64_t raw) {
  const ManagedObjectContext* context = owner_->managedObjectContext();
  if (!context) return;
  owner_->setCell(column_ + 1, raw);
  owner_->setCell(column_ + 2, secondsSince1970(context->now()));
}

}  // namespace sorn::store
