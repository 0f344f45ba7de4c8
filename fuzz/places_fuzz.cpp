// Any bytes as the file of the published places: one failure with a description, or places that are written
// and decoded to the same, as many as the list has elements.

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "documents/ActivePlace.h"
#include "documents/Record.h"
#include "support/Fault.h"
#include "support/json/Json.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace sorn::documents;
  using sorn::support::fault;
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  const auto places = decodePlaces(text);
  if (!places) {
    const DecodingFailure& failure = places.error();
    if (failure.count() != 1 || failure.description().empty()) fault("one failure that says what is wrong");
    return 0;
  }
  const auto document = sorn::support::Document::parse(text);
  if (!document || document->root().size() != places->size()) fault("a place for each element");
  const std::optional<std::string> encoded = encodeDocument(*places);
  if (!encoded) fault("places can be written");
  const auto again = decodePlaces(*encoded);
  if (!again || *again != *places) fault("places survive being written and read");
  return 0;
}
