#include "sorn/platform/HttpTransport.h"

#include <algorithm>

namespace sorn::platform {

namespace {

char lowered(char character) {
  return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a') : character;
}

bool equalsWithoutCase(std::string_view one, std::string_view other) {
  return std::equal(one.begin(), one.end(), other.begin(), other.end(),
                    [](char left, char right) { return lowered(left) == lowered(right); });
}

}  // namespace

std::optional<std::string> HttpResponse::header(std::string_view name) const {
  for (auto entry = headers.rbegin(); entry != headers.rend(); ++entry) {
    if (equalsWithoutCase(entry->first, name)) return entry->second;
  }
  return std::nullopt;
}

}  // namespace sorn::platform
