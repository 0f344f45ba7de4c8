#pragma once

#include "store/ManagedObjectContext.h"
#include "sync/StartStep.h"

namespace sorn::sync {

// Deletes events and inbox items without a category at each start: only a store of an older version holds
// any.
class LocalRecords final : public StartStep {
 public:
  explicit LocalRecords(store::ManagedObjectContext& context) : context_(context) {}

  void run(StartFindings& findings) override;

 private:
  store::ManagedObjectContext& context_;
};

}  // namespace sorn::sync
