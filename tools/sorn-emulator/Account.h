#pragma once

// One application that the service knows.

#include <string>

namespace sorn::emulator {

struct Account {
  std::string key;
  std::string secret;
};

}  // namespace sorn::emulator
