#pragma once

#include <optional>
#include <string_view>
#include <utility>

namespace sorn::events {

// Matchers for the names that a host gives, written out because they run for every event. Each is checked
// against the pattern in its comment, as ICU's regular expressions read it. Text that is not valid UTF-8
// matches none.

// A category or an action: ^[^\+][\x20-\x5B\x5D-\x7E]{1,50}$, so one character of any kind but "+", then 1 to
// 50 of printable ASCII without the backslash.
bool isEventName(std::string_view name);

// A dotted path: ^([\x20-\x2D\x2F-\x5B\x5D-\x7E]{1,50}\.)*+[\x20-\x2D\x2F-\x5B\x5D-\x7E]{1,50}$
bool isScreenName(std::string_view name);

// A key of extra data: ^\w+$, with the letters, marks and digits of all scripts.
bool isExtraKey(std::string_view key);

// The first match of ([^=]+)=(.+): the key before an equals sign and the value behind it, up to the line's
// end.
std::optional<std::pair<std::string_view, std::string_view>> keyAndValue(std::string_view text);

}  // namespace sorn::events
