#include "sorn-emulator/JsonText.h"

#include <algorithm>
#include <stdexcept>

#include <nlohmann/json.hpp>

#include "sorn-emulator/Brackets.h"

namespace sorn::emulator {

namespace {

bool nestsTooDeeply(std::string_view text) {
  int deepest = 0;
  eachOpeningBracket(text, [&](char, int level) { deepest = std::max(deepest, level); });
  return deepest > deepestNesting;
}

}  // namespace

std::optional<nlohmann::json> parsedJson(std::string_view text) {
  if (nestsTooDeeply(text)) return std::nullopt;
  auto value = nlohmann::json::parse(text, nullptr, false);
  return value.is_discarded() ? std::nullopt : std::optional(std::move(value));
}

nlohmann::json wantedJson(std::string_view text, const std::string& what) {
  if (nestsTooDeeply(text)) {
    throw std::invalid_argument(what + " nests deeper than " + std::to_string(deepestNesting) + " levels");
  }
  try {
    return nlohmann::json::parse(text);
  } catch (const nlohmann::json::exception& error) {
    throw std::invalid_argument(what + " is not valid JSON: " + error.what());
  }
}

std::string jsonText(const nlohmann::json& value) {
  return value.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace sorn::emulator
