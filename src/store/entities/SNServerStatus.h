#pragma once

#include <cstdint>
#include <optional>

#include "sorn/Value.h"
#include "store/ManagedObject.h"

namespace sorn::store {

// Whether the service has the current state of a record. The raw value is the position less one.
enum class ServerStatusState : std::uint8_t { isFalse, pending, isTrue };

constexpr std::int64_t rawValue(ServerStatusState state) { return static_cast<std::int64_t>(state) - 1; }

// How far the service has accepted the record that owns it. It lies in its owner's row and goes with it; this
// is a view, valid while its owner is. An owner may be without one.
class SNServerStatus {
 public:
  // The owner's status record; absent when nobody has given it one, or the owner is gone.
  static std::optional<SNServerStatus> of(const Ref<ManagedObject>& owner);
  // The same, made without a status when there is none yet.
  static SNServerStatus findOrCreate(const Ref<ManagedObject>& owner);

  // An absent status and an unknown number read as `isFalse`.
  ServerStatusState statusState() const;
  std::optional<std::int64_t> status() const;
  std::optional<Date> lastUpdated() const;

  // Writes the status, and the present moment as that of its change; one is never written without the other.
  void setStatus(std::int64_t raw);
  void setStatus(ServerStatusState state) { setStatus(rawValue(state)); }

  const Ref<ManagedObject>& owner() const { return owner_; }

 private:
  explicit SNServerStatus(Ref<ManagedObject> owner)
      : owner_(std::move(owner)), column_(owner_->entity().statusColumn) {}

  Ref<ManagedObject> owner_;
  std::size_t column_;
};

}  // namespace sorn::store
