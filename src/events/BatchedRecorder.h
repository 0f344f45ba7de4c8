#pragma once

#include "events/EventBatch.h"
#include "events/EventStore.h"
#include "sync/EventRecorder.h"

namespace sorn::events {

// Every event's way into the store and on into the batch.
class BatchedRecorder final : public sync::EventRecorder {
 public:
  BatchedRecorder(EventStore& events, EventBatch& batch, store::ManagedObjectContext& context)
      : events_(events), batch_(batch), context_(context) {}

  void record(const sync::NewEvent& event) override {
    context_.performBlockAndWait([&] { batch_.batchEvent(events_.createEvent(event)); });
  }

 private:
  EventStore& events_;
  EventBatch& batch_;
  store::ManagedObjectContext& context_;
};

}  // namespace sorn::events
