#include "documents/ActivePlace.h"

#include "documents/Record.h"

namespace sorn::documents {

Decoded<std::vector<ActivePlace>> decodePlaces(std::string_view json) {
  return decodeDocument<std::vector<ActivePlace>>(json);
}

}  // namespace sorn::documents
