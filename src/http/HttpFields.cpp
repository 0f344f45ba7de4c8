#include "http/HttpFields.h"

#include <algorithm>
#include <array>
#include <string>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <strings.h>

namespace sorn::http {

bool sameName(std::string_view left, std::string_view right) {
  return left.size() == right.size() && strncasecmp(left.data(), right.data(), left.size()) == 0;
}

std::string_view trimmedField(std::string_view text) {
  constexpr std::string_view blanks = " \t\r\n";
  const std::size_t first = text.find_first_not_of(blanks);
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

bool isReservedField(std::string_view name) {
  constexpr std::array<std::string_view, 4> reserved{"Content-Length", "Transfer-Encoding", "Accept-Encoding",
                                                     "Expect"};
  return std::ranges::any_of(reserved, [name](std::string_view other) { return sameName(name, other); });
}

bool isSafeField(std::string_view name, std::string_view value) {
  constexpr std::string_view lineEnds("\r\n\0", 3);
  return !name.empty() && name.find_first_of(": \t") == std::string_view::npos &&
         name.find_first_of(lineEnds) == std::string_view::npos &&
         value.find_first_of(lineEnds) == std::string_view::npos;
}

bool isRedirect(int status) {
  return status == 301 || status == 302 || status == 303 || status == 307 || status == 308;
}

bool isLoopback(std::string_view host) {
  in_addr address{};
  const bool isNumber = ::inet_pton(AF_INET, std::string(host).c_str(), &address) == 1;
  return host == "localhost" || host == "[::1]" ||
         (isNumber && ntohl(address.s_addr) >> 24 == IN_LOOPBACKNET);
}

}  // namespace sorn::http
