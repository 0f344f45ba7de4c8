#pragma once

// JSON texts of any origin, read and written so that none of them can end the process.

#include <optional>
#include <string>
#include <string_view>

#include <nlohmann/json_fwd.hpp>

namespace sorn::emulator {

// Values are copied and written by recursion, so a text that nests deeper is refused before it becomes one.
inline constexpr int deepestNesting = 512;

// The value of a JSON text; absent when it is none, or nests too deeply.
std::optional<nlohmann::json> parsedJson(std::string_view text);

// The same for a text that somebody gave as `what`. Throws std::invalid_argument with a sentence for them.
nlohmann::json wantedJson(std::string_view text, const std::string& what);

// The compact text of a value. What in it is not UTF-8 is replaced by U+FFFD.
std::string jsonText(const nlohmann::json& value);

}  // namespace sorn::emulator
