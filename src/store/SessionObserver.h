#pragma once

#include <functional>
#include <vector>

namespace sorn::store {

// What wants to know of a session's begin and end. Called on the context's queue.
class SessionObserver {
 public:
  virtual ~SessionObserver() = default;

  // A session has been opened and is the current one; its record is not saved yet.
  virtual void sessionBegan() = 0;
  // The session that is open is about to be cleared. Not called where none is open.
  virtual void sessionEnds() = 0;
};

using SessionObservers = std::vector<std::reference_wrapper<SessionObserver>>;

}  // namespace sorn::store
