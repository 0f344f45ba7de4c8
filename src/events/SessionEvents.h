#pragma once

#include "store/SessionObserver.h"
#include "sync/EventRecorder.h"

namespace sorn::events {

// Tells the service of a session's begin and end, each by an event.
class SessionEvents final : public store::SessionObserver {
 public:
  explicit SessionEvents(sync::EventRecorder& recorder) : recorder_(recorder) {}

  void sessionBegan() override { recorder_.record({.action = documents::EventAction::appOpened}); }
  void sessionEnds() override { recorder_.record({.action = documents::EventAction::appClosed}); }

 private:
  sync::EventRecorder& recorder_;
};

}  // namespace sorn::events
