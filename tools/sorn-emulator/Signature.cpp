#include "sorn-emulator/Signature.h"

#include <algorithm>
#include <charconv>

#include "sorn-emulator/Encoding.h"

namespace sorn::emulator {

namespace {

struct HostAndPort {
  std::string_view host;
  int port = 0;  // 0 when there is none
};

HostAndPort split(std::string_view text) {
  HostAndPort result{text, 0};
  const auto bracket = text.starts_with('[') ? text.find(']') : std::string_view::npos;
  const auto colon = text.find(':', bracket == std::string_view::npos ? 0 : bracket);
  if (colon != std::string_view::npos) {
    const auto digits = text.substr(colon + 1);
    std::from_chars(digits.data(), digits.data() + digits.size(), result.port);
    result.host = text.substr(0, colon);
  }
  if (bracket != std::string_view::npos) result.host = text.substr(1, bracket - 1);
  return result;
}

}  // namespace

std::string_view textOf(Verdict verdict) {
  switch (verdict) {
    case Verdict::valid:
      return "valid";
    case Verdict::invalid:
      return "invalid";
    case Verdict::absent:
      return "absent";
  }
  return "";
}

std::string signedHead(std::string_view host, std::string_view path) {
  const auto [name, port] = split(host);
  std::string head(name);
  if (port >= 1 && port < 9999) head.append(":").append(std::to_string(port));
  // Bytes that are no text can't be signed as one, so a path with such escapes is signed as it was sent.
  auto plain = percentDecoded(path);
  if (!isUtf8(plain)) plain = path;
  while (plain.size() > 1 && plain.ends_with('/')) plain.pop_back();
  return head.append(plain);
}

Verdict verdictOn(const HttpRequest& request, std::string_view head, const std::vector<Account>& accounts) {
  const std::string* header = request.header("Authorization");
  if (!header) return Verdict::absent;
  const auto equals = header->find('=');
  if (equals == std::string::npos) return Verdict::invalid;
  const auto key = std::string_view(*header).substr(0, equals);
  const auto account = std::ranges::find(accounts, key, &Account::key);
  if (account == accounts.end()) return Verdict::invalid;
  const auto right = base64(hmacSha256(account->secret, head, request.body));
  return std::string_view(*header).substr(equals + 1) == right ? Verdict::valid : Verdict::invalid;
}

}  // namespace sorn::emulator
