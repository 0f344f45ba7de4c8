#include "sorn/SornError.h"

#include <utility>

namespace sorn {

namespace {

using Code = SornError::Code;

std::string described(Code code, const std::string& supplied, const std::string& max) {
  switch (code) {
    case Code::maxUserIDReached:
      return "The length of the user id you have supplied (" + supplied +
             ") exceeds the maximum allowed length (" + max + ")";
    case Code::maxTagsReached:
      return "The number of tags you have supplied (" + supplied + ") exceeds the maximum allowed tags (" +
             max + ")";
    case Code::maxTagLengthReached:
      return "Tag '" + supplied + "' exceeds maximum tag length";
    case Code::invalidScreenName:
      return "Screen name '" + supplied + "' is invalid (doesn't match a domain pattern)";
    case Code::invalidExtraKey:
      return "Key '" + supplied + "' is invalid";
    case Code::emptyExtraKey:
      return "Key '" + supplied + "' is empty";
    case Code::invalidExtraValue:
      return "The value for key '" + supplied + "' is invalid";
    case Code::invalidCategory:
      return "Category '" + supplied + "' is invalid";
    case Code::invalidAction:
      return "Action '" + supplied + "' is invalid";
    case Code::serviceUnavailable:
      return "Service is unavailable";
    case Code::featureNotEnabled:
      return "This feature is not enabled for your account";
    case Code::invalidExtraData:
      return "Invalid Extra Data";
    case Code::invalidConfigurationFile:
      return "The Sorn configuration file provided could not be found in your target";
    case Code::invalidConfigurationArguments:
      return "The arguments you have supplied for Sorn's configuration (`start`) via a configuration plist "
             "file "
             "are invalid";
    case Code::undefinedMode:
      return "Cannot start with undefined mode";
    case Code::invalidAppKey:
      return "Invalid application key";
    case Code::invalidAppSecret:
      return "Invalid application secret";
    case Code::invalidEnvironment:
      return "Invalid environment";
    case Code::invalidPlaceData:
      return "Invalid place data";
    case Code::invalidCoreDataContext:
      return "Invalid Core Data context";
    case Code::invalidInAppCampaignData:
      return "Invalid In-App Campaign data";
  }
  return {};
}

}  // namespace

SornError::SornError(Code code, std::string supplied, std::optional<std::size_t> max)
    : code_(code),
      supplied_(std::move(supplied)),
      max_(max),
      description_("[SORN] " + described(code_, supplied_, max_ ? std::to_string(*max_) : std::string())) {}

SornError SornError::maxUserIDReached(std::size_t supplied, std::size_t max) {
  return {Code::maxUserIDReached, std::to_string(supplied), max};
}
SornError SornError::maxTagsReached(std::size_t supplied, std::size_t max) {
  return {Code::maxTagsReached, std::to_string(supplied), max};
}
SornError SornError::maxTagLengthReached(std::string tag) {
  return {Code::maxTagLengthReached, std::move(tag), std::nullopt};
}
SornError SornError::invalidScreenName(std::string supplied) {
  return {Code::invalidScreenName, std::move(supplied), std::nullopt};
}
SornError SornError::invalidExtraKey(std::string supplied) {
  return {Code::invalidExtraKey, std::move(supplied), std::nullopt};
}
SornError SornError::emptyExtraKey(std::string supplied) {
  return {Code::emptyExtraKey, std::move(supplied), std::nullopt};
}
SornError SornError::invalidExtraValue(std::string key) {
  return {Code::invalidExtraValue, std::move(key), std::nullopt};
}
SornError SornError::invalidCategory(std::string supplied) {
  return {Code::invalidCategory, std::move(supplied), std::nullopt};
}
SornError SornError::invalidAction(std::string supplied) {
  return {Code::invalidAction, std::move(supplied), std::nullopt};
}
SornError SornError::plain(Code code) { return {code, {}, std::nullopt}; }

SornError::SornError(const SornError&) = default;
SornError::SornError(SornError&&) noexcept = default;
SornError& SornError::operator=(const SornError&) = default;
SornError& SornError::operator=(SornError&&) noexcept = default;
SornError::~SornError() = default;

ForwardedError::ForwardedError(std::string domain, int code)
    : domain_(std::move(domain)),
      code_(code),
      description_("The operation couldn't be completed. (" + domain_ + " error " + std::to_string(code_) +
                   ".)") {}

ForwardedError::ForwardedError(const ForwardedError&) = default;
ForwardedError& ForwardedError::operator=(const ForwardedError&) = default;
ForwardedError::~ForwardedError() = default;

}  // namespace sorn
