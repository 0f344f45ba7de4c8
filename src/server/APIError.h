#pragma once

#include <cstdint>
#include <string>
#include <variant>

namespace sorn::server {

// An error of the platform by its domain and number. Transport errors are negative, the JSON parser's is
// 3840.
struct PlatformError {
  static constexpr const char* transportDomain = "Transport";
  // The records that a call is about could not be read.
  static constexpr const char* storeDomain = "Store";
  static constexpr int unreadable = 256;

  std::string domain;
  int code = 0;

  std::string localizedDescription() const {
    return "The operation couldn't be completed. (" + domain + " error " + std::to_string(code) + ".)";
  }
};

// What the call layer itself refuses or finds in an answer.
struct APIError {
  enum class Case : std::uint8_t {
    businessError,  // any status but 200
    missingApplicationKey,
    missingApplicationSecret,
    invalidHost,
    invalidPayload,
    invalidRequest,
    invalidResponse,
    invalidObjectsForDeletion,
    invalidEndpoint,
  };

  Case kind = Case::businessError;
  int statusCode = 0;  // of a business error

  bool operator==(const APIError&) const = default;
};

// Why a call has no answer. As a platform error an `APIError` has the position of its case as code, so the
// status of a refusal never shows in `code`.
class CallError {
 public:
  CallError(APIError error) : error_(error) {}
  CallError(PlatformError error) : error_(std::move(error)) {}

  const APIError* apiError() const { return std::get_if<APIError>(&error_); }

  PlatformError asPlatformError() const {
    if (const APIError* error = apiError()) return {"APIError", static_cast<int>(error->kind)};
    return std::get<PlatformError>(error_);
  }
  int code() const { return asPlatformError().code; }
  std::string localizedDescription() const { return asPlatformError().localizedDescription(); }

 private:
  std::variant<APIError, PlatformError> error_;
};

}  // namespace sorn::server
