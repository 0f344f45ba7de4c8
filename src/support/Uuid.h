#pragma once

#include <string>

namespace sorn::support {

// A fresh random identifier (RFC 4122, version 4) in its text form: 36 characters, upper case. Any thread;
// takes no lock and seldom a system call. A forked child never repeats its parent's identifiers.
std::string makeUuid();

}  // namespace sorn::support
