#pragma once

#include <string_view>

#include "sorn/SornError.h"
#include "sorn/Value.h"
#include "sync/EventData.h"

namespace sorn::events {

// Checks extra data and appends it with typed keys: a prefix of two characters tells the service what each
// value is. Throws the `SornError` of the first entry that is refused, in the order of the keys.
void appendExtraData(const Dictionary& data, sync::EventData& typed);

// Throws `invalidCategory` or `invalidAction`; the category goes first.
void validateEventNames(std::string_view category, std::string_view action);

// The attributes of a screen event: the host's typed data, the name's last part, the parts before it, and the
// orientation. Throws `invalidScreenName`, `invalidExtraKey` or what the data is refused for.
sync::EventData screenData(std::string_view name, const Dictionary* data, int orientation);

}  // namespace sorn::events
