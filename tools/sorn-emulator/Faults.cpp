#include "sorn-emulator/Faults.h"

#include <array>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "sorn-emulator/JsonText.h"
#include "sorn-emulator/Paths.h"

namespace sorn::emulator {

namespace {

using nlohmann::json;

constexpr std::array<std::pair<std::string_view, Fault::Kind>, 7> kinds{{
    {"status", Fault::Kind::status},
    {"delay", Fault::Kind::delay},
    {"slow", Fault::Kind::slow},
    {"hang", Fault::Kind::hang},
    {"cut", Fault::Kind::cut},
    {"reset", Fault::Kind::reset},
    {"garbage", Fault::Kind::garbage},
}};

Fault::Kind kindNamed(const std::string& name) {
  for (const auto& [text, kind] : kinds) {
    if (text == name) return kind;
  }
  throw std::invalid_argument("unknown kind of fault: " + name);
}

int whole(const json& value, const std::string& name, int lowest, int highest) {
  if (!value.is_number_integer() || value < lowest || value > highest) {
    throw std::invalid_argument(name + " must be a whole number from " + std::to_string(lowest) + " to " +
                                std::to_string(highest));
  }
  return value.get<int>();
}

double duration(const json& value) {
  if (!value.is_number() || value < 0 || value > 86400) {
    throw std::invalid_argument("seconds must be a number from 0 to 86400");
  }
  return value.get<double>();
}

Headers headersFrom(const json& value) {
  if (!value.is_object()) throw std::invalid_argument("headers must be an object of texts");
  Headers headers;
  for (const auto& [name, text] : value.items()) headers.emplace_back(name, text.get<std::string>());
  for (const auto& [name, text] : headers) {
    if ((name + text).find_first_of("\r\n") != std::string::npos) {
      throw std::invalid_argument("a header must not contain a line end");
    }
  }
  return headers;
}

void readMember(Fault& fault, const std::string& name, const json& value) {
  if (name == "path") {
    fault.path = value.get<std::string>();
  } else if (name == "kind") {
    fault.kind = kindNamed(value.get<std::string>());
  } else if (name == "status") {
    fault.status = whole(value, name, 200, 599);
  } else if (name == "seconds") {
    fault.seconds = duration(value);
  } else if (name == "times") {
    fault.times = whole(value, name, 0, 1'000'000);
  } else if (name == "kept") {
    fault.kept = value.get<bool>();
  } else if (name == "framed") {
    fault.framed = value.get<bool>();
  } else if (name == "raw") {
    fault.raw = value.get<bool>();
  } else if (name == "headers") {
    fault.headers = headersFrom(value);
  } else if (name == "body") {
    fault.body = value.get<std::string>();
  } else {
    throw std::invalid_argument("a fault has no member \"" + name + "\"");
  }
}

Fault faultFrom(const json& object) {
  if (!object.is_object()) throw std::invalid_argument("a fault must be an object");
  for (const char* name : {"path", "kind"}) {
    if (object.value(name, json()).is_null()) {
      throw std::invalid_argument("a fault needs \"path\" and \"kind\"");
    }
  }
  Fault fault;
  for (const auto& [name, value] : object.items()) {
    if (!value.is_null()) readMember(fault, name, value);
  }
  return fault;
}

}  // namespace

bool Fault::takesContent() const {
  if (kept) return *kept;
  return kind != Kind::status && kind != Kind::hang && kind != Kind::reset;
}

void FaultPlan::replace(std::string_view text) {
  std::vector<Fault> faults;
  try {
    const auto list = wantedJson(text, "the list of faults");
    if (!list.is_array()) throw std::invalid_argument("faults must be a list");
    for (const auto& object : list) faults.push_back(faultFrom(object));
  } catch (const json::exception& error) {
    throw std::invalid_argument(error.what());
  }
  const std::lock_guard lock(mutex_);
  faults_ = std::move(faults);
}

void FaultPlan::clear() {
  const std::lock_guard lock(mutex_);
  faults_.clear();
}

std::optional<Fault> FaultPlan::take(std::string_view path, bool isStorage) {
  const std::lock_guard lock(mutex_);
  for (auto& fault : faults_) {
    const bool fits = fault.path == "*" || (fault.path == "storage" ? isStorage : endsIn(path, fault.path));
    if (!fits || fault.times == 0) continue;
    if (fault.times) --*fault.times;
    return fault;
  }
  return std::nullopt;
}

}  // namespace sorn::emulator
