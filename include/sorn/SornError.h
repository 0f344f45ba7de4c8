#pragma once

#include <cstddef>
#include <exception>
#include <optional>
#include <string>

#include "sorn/Export.h"

namespace sorn {

// Why a public operation refused its work. Every failure of a synchronous operation is one of these; its text
// is final and begins with "[SORN] ", so a host may log it as it stands.
class SORN_EXPORT SornError : public std::exception {
 public:
  enum class Code {
    maxUserIDReached,
    maxTagsReached,
    maxTagLengthReached,
    invalidScreenName,
    invalidExtraKey,
    emptyExtraKey,
    invalidExtraValue,
    invalidCategory,
    invalidAction,
    serviceUnavailable,
    featureNotEnabled,
    invalidExtraData,
    invalidConfigurationFile,
    invalidConfigurationArguments,
    undefinedMode,
    invalidAppKey,
    invalidAppSecret,
    invalidEnvironment,
    invalidPlaceData,
    invalidCoreDataContext,
    invalidInAppCampaignData,
  };

  static SornError maxUserIDReached(std::size_t supplied, std::size_t max);
  static SornError maxTagsReached(std::size_t supplied, std::size_t max);
  static SornError maxTagLengthReached(std::string tag);
  static SornError invalidScreenName(std::string supplied);
  static SornError invalidExtraKey(std::string supplied);
  static SornError emptyExtraKey(std::string supplied);
  static SornError invalidExtraValue(std::string key);
  static SornError invalidCategory(std::string supplied);
  static SornError invalidAction(std::string supplied);
  // One of the codes that carry nothing (`serviceUnavailable` and those after it).
  static SornError plain(Code code);

  SornError(const SornError&);
  SornError(SornError&&) noexcept;
  SornError& operator=(const SornError&);
  SornError& operator=(SornError&&) noexcept;
  ~SornError() override;

  Code code() const { return code_; }
  // What the host gave: the text or key that was refused, or the length or count in decimal. Empty for codes
  // that carry nothing.
  const std::string& supplied() const { return supplied_; }
  // The limit that was passed; absent where the code names none.
  std::optional<std::size_t> max() const { return max_; }

  const std::string& localizedDescription() const { return description_; }
  const char* what() const noexcept override { return description_.c_str(); }

  bool operator==(const SornError& other) const {
    return code_ == other.code_ && supplied_ == other.supplied_ && max_ == other.max_;
  }

 private:
  SornError(Code code, std::string supplied, std::optional<std::size_t> max);

  Code code_;
  std::string supplied_;
  std::optional<std::size_t> max_;
  std::string description_;
};

// An error that is not the library's own, such as a failed connection or an answer that is no JSON, as the
// asynchronous operations pass it on. Transport errors have negative codes (time-out -1001, cancelled -999,
// cannot connect -1004, connection lost -1005, offline -1009, bad answer -1011).
class SORN_EXPORT ForwardedError : public std::exception {
 public:
  ForwardedError(std::string domain, int code);
  ForwardedError(const ForwardedError&);
  ForwardedError& operator=(const ForwardedError&);
  ~ForwardedError() override;

  const std::string& domain() const { return domain_; }
  int code() const { return code_; }
  const std::string& localizedDescription() const { return description_; }
  const char* what() const noexcept override { return description_.c_str(); }

 private:
  std::string domain_;
  int code_;
  std::string description_;
};

}  // namespace sorn
