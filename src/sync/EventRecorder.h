#pragma once

#include "store/entities/SNEvent.h"
#include "sync/NewEvent.h"

namespace sorn::sync {

// How every feature raises an event.
class EventRecorder {
 public:
  virtual ~EventRecorder() = default;

  // Stores the event and counts it towards the batch, within one turn of the store's queue. Any thread.
  virtual void record(const NewEvent& event) = 0;
};

// What looks at each event once it has been stored.
class StoredEventObserver {
 public:
  virtual ~StoredEventObserver() = default;

  // Also when the event's save failed. On the store's queue, in the event's own turn.
  virtual void handleStoredEvent(const store::SNEvent& event) = 0;
};

}  // namespace sorn::sync
