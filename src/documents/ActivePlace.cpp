#include "documents/ActivePlace.h"

#include "documents/Record.h"

namespace sorn::documents {

std::optional<std::vector<ActivePlace>> decodePlaces(std::string_view json, DecodingFailure& failure) {
  return decodeDocument<std::vector<ActivePlace>>(json, failure);
}

}  // namespace sorn::documents
