#pragma once

#include <fstream>
#include <optional>
#include <stdexcept>
#include <string>

#include <nlohmann/json.hpp>

namespace sorn::tests {

// A table of cases from the folder `data` beside the test, as JSON with comments.
inline nlohmann::json dataFile(const std::string& name) {
  std::ifstream file(SORN_TEST_FOLDER "/data/" + name);
  nlohmann::json rows = nlohmann::json::parse(file, nullptr, true, true);
  if (rows.empty()) throw std::invalid_argument(name + " has no cases");
  return rows;
}

// A cell of a row; absent for null.
template <class T>
std::optional<T> cell(const nlohmann::json& value) {
  return value.is_null() ? std::nullopt : std::optional(value.get<T>());
}

}  // namespace sorn::tests
