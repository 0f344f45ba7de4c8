#pragma once

#include <string>
#include <string_view>

namespace sorn::http {

// The small rules of HTTP's header fields and hosts (RFC 9110).

// Names are compared without regard to case.
bool sameName(std::string_view left, std::string_view right);
// Without blanks and line ends on both sides.
std::string_view trimmedField(std::string_view text);
// Fields that follow from the request itself and so are never taken from the caller.
bool isReservedField(std::string_view name);
// A line end inside a field would begin a field or a request of somebody else's making.
bool isSafeField(std::string_view name, std::string_view value);
// Statuses that send the client to the address in "Location".
bool isRedirect(int status);
// Whether the host, in lower case and as it stands in an address, is this machine.
bool isLoopback(std::string_view host);

}  // namespace sorn::http
