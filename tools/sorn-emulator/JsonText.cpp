#include "sorn-emulator/JsonText.h"

#include <stdexcept>

#include <nlohmann/json.hpp>

namespace sorn::emulator {

namespace {

// Counts brackets outside of quotes; whether the text is JSON at all is the parser's business.
bool nestsTooDeeply(std::string_view text) {
  int depth = 0;
  bool inText = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (inText) {
      if (c == '\\') ++i;
      inText = c != '"';
    } else if (c == '"') {
      inText = true;
    } else if (c == '{' || c == '[') {
      if (++depth > deepestNesting) return true;
    } else if (c == '}' || c == ']') {
      --depth;
    }
  }
  return false;
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
