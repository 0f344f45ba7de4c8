#pragma once

#include "push/PushRecords.h"
#include "support/Logger.h"
#include "sync/StartStep.h"

namespace sorn::push {

// After a change of the library's version the token counts as unsent again.
class TokenStep final : public sync::StartStep {
 public:
  TokenStep(PushRecords& records, support::Logger& logger) : records_(records), logger_(logger) {}

  void run(sync::StartFindings& findings) override;

 private:
  PushRecords& records_;
  support::Logger& logger_;
};

}  // namespace sorn::push
