#pragma once

#include "sorn/Value.h"

namespace sorn::settings {

// How a value of any type lies in a JSON file without losing its type. What JSON has is written as it is; the
// rest becomes an object with a single member:
//
//   double that is whole, infinite or not a number   {"$double": "2"}
//   number beyond 64-bit integers and doubles        {"$decimal": "123456789012345678901234567890"}
//   date                                             {"$date": seconds since 1970}
//   dictionary with a key that begins with "$"       {"$dictionary": {...}}

// The form that is written.
Value storedForm(const Value& value);
// The value that was meant. Objects that only look like one of these forms stay as they are.
Value restoredFrom(const Value& stored);

}  // namespace sorn::settings
