#pragma once

// What the emulator keeps of each request, control calls excepted.

#include <string>

#include <nlohmann/json_fwd.hpp>

#include "sorn-emulator/Http.h"

namespace sorn::emulator {

struct RequestRecord {
  double at = 0;  // seconds since 1970
  std::string method;
  std::string path;
  Headers headers;
  std::string raw;         // the body's bytes; empty in light mode
  int status = 0;          // 0 when no HTTP answer was given
  std::string signature;   // "valid", "invalid" or "absent"
  std::string signedHead;  // the signed text before the body; empty when no call of the service was asked for
  std::string fault;       // the kind of fault that struck, else empty

  // The body as JSON; null when it is none, or nests too deeply.
  nlohmann::json body() const;
  // The text that should have been signed; empty when nothing should.
  std::string expected() const;
  // The value of the first header of this name, in any case; empty when there is none.
  std::string header(std::string_view name) const;
};

nlohmann::json toJson(const RequestRecord& record);

}  // namespace sorn::emulator
