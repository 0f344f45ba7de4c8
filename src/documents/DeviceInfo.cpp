#include "documents/DeviceInfo.h"

namespace sorn::documents {

namespace {

std::string textOf(const std::string& value) { return value; }
std::string textOf(bool value) { return value ? "true" : "false"; }
std::string textOf(std::int64_t value) { return std::to_string(value); }
std::string textOf(double value) {
  std::string text;
  support::appendNumber(text, value);
  return text;
}

}  // namespace

std::map<std::string, std::string> fieldValues(const DeviceInfo& info) {
  std::map<std::string, std::string> values;
  const auto add = [&](const auto& field) {
    const auto& value = info.*(field.member);
    if (value) values.emplace(field.key, textOf(*value));
  };
  std::apply([&](const auto&... field) { (add(field), ...); }, Description<DeviceInfo>::fields);
  return values;
}

}  // namespace sorn::documents
