#pragma once

#include <string>

#include "store/ManagedObject.h"

namespace sorn::store {

class SNApplication;
class SNEvent;

// One run of the application in the foreground.
class SNSession final : public ManagedObject {
 public:
  static const EntityDescription& entity();
  SNSession() : ManagedObject(entity()) {}

  static constexpr Attribute<std::string> sessionID{0, "sessionID"};
  static constexpr Attribute<Date> createdAt{1, "createdAt"};
  // Declared; neither read nor written.
  static constexpr Attribute<Date> pausedAt{2, "pausedAt"};
  // Count of events so far; absent counts as 0. It goes to disk with other changes only: a session that a
  // dead process left behind is deleted unread.
  static constexpr Attribute<std::int64_t> serialNumber{3, "serialNumber", WriteOut::withOthers};

  static constexpr ToOne<SNApplication> application{4, "application"};

  static constexpr ToMany<SNEvent> events{13};

  static constexpr auto columns = columnsOf(sessionID, createdAt, pausedAt, serialNumber, application);

 protected:
  void awakeFromInsert(ManagedObjectContext& context) override;
};

}  // namespace sorn::store
