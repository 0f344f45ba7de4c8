#pragma once

#include <string>

#include "BareStore.h"

using CURL = void;  // as libcurl has it

namespace sorn::bench {

// The least that reporting what waits costs: reading the rows, one hash, one POST, one deleting transaction.
class BareReport {
 public:
  explicit BareReport(std::string origin);
  ~BareReport();
  BareReport(const BareReport&) = delete;
  BareReport& operator=(const BareReport&) = delete;

  // Throws unless the service takes it.
  void send(BareStore& store);

 private:
  std::string origin_;
  CURL* curl_;
};

}  // namespace sorn::bench
