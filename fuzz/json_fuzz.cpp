// Any bytes: the reader takes or refuses them without harm, what it took is written and read back the same,
// and the quick check for objects that may be spliced never takes what the reader refuses.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "support/Fault.h"
#include "support/json/Json.h"
#include "support/json/JsonCheck.h"
#include "support/json/JsonWriter.h"

using sorn::support::appendValue;
using sorn::support::Document;
using sorn::support::fault;
using sorn::support::Fragments;

namespace {

constexpr std::string_view reserved[] = {"a", "inapp_status"};

// Whether every number in it is far from the bounds of a double: what lies beyond them is not written, and
// the quick check leaves what comes near to the reader.
bool isModerate(const sorn::Value& value) {
  const auto isFar = [](double number) {
    const double magnitude = std::abs(number);
    return magnitude == 0 || (magnitude > 1e-99 && magnitude < 1e99);
  };
  if (value.as<sorn::Decimal>()) return false;
  if (const auto* number = value.as<double>()) return isFar(*number);
  if (const auto* list = value.as<sorn::List>()) return std::ranges::all_of(*list, isModerate);
  if (const auto* dictionary = value.as<sorn::Dictionary>()) {
    return std::ranges::all_of(*dictionary, [](const auto& member) { return isModerate(member.second); });
  }
  return true;
}

// Writing makes whole doubles integers, so the first pass may change a value; the second may not.
void checkRoundTrip(const sorn::Value& value) {
  std::string once;
  if (!appendValue(once, value)) {
    if (isModerate(value)) fault("a value that was read can be written");
    return;
  }
  const auto back = Document::parse(once, Fragments::yes);
  if (!back) fault("what was written can be read");
  std::string twice;
  if (!appendValue(twice, back->root().toValue()) || once != twice)
    fault("writing twice gives the same text");
}

void checkPlainObject(std::string_view text,
                      const sorn::support::Result<Document, sorn::support::JsonError>& document) {
  if (!sorn::support::isPlainObjectWithout(text, reserved)) return;
  if (!document || !document->root().isObject()) fault("a plain object can be read");
  for (const std::string_view key : reserved) {
    if (document->root().find(key)) fault("a plain object has no reserved key");
  }
  const std::string spliced = "{\"x\":[" + std::string(text) + "," + std::string(text) + "]}";
  if (!Document::parse(spliced)) fault("a plain object can be spliced");
}

// The compact form of an object without the keys must be taken, so that the quick way is the usual one.
void checkIsTaken(const sorn::Value& value) {
  const auto* dictionary = value.as<sorn::Dictionary>();
  if (!dictionary || !isModerate(value)) return;
  std::string text;
  if (!appendValue(text, value) || text.size() > 4000) return;
  for (const auto& [key, member] : *dictionary) {
    if (key == reserved[0] || key == reserved[1] || key.find_first_of("\"\\/") != std::string::npos) return;
    for (const char character : key) {
      if (static_cast<unsigned char>(character) < 0x20) return;
    }
  }
  std::size_t open = 0;
  for (const char character : text) open += character == '[' || character == '{';
  if (open <= 64 && !sorn::support::isPlainObjectWithout(text, reserved)) fault("a compact object is plain");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const auto document = Document::parse(text, Fragments::yes);
  checkPlainObject(text, document);
  if (!document) return 0;
  const sorn::Value value = document->root().toValue();
  checkRoundTrip(value);
  checkIsTaken(value);
  return 0;
}
