#include "sorn-emulator/Http.h"

#include <algorithm>
#include <array>

#include "sorn-emulator/Encoding.h"

namespace sorn::emulator {

namespace {

std::string_view reasonOf(int status) {
  static constexpr std::array<std::pair<int, std::string_view>, 14> reasons{{
      {200, "OK"},
      {201, "Created"},
      {204, "No Content"},
      {302, "Found"},
      {304, "Not Modified"},
      {400, "Bad Request"},
      {401, "Unauthorized"},
      {404, "Not Found"},
      {405, "Method Not Allowed"},
      {406, "Not Acceptable"},
      {413, "Content Too Large"},
      {429, "Too Many Requests"},
      {500, "Internal Server Error"},
      {503, "Service Unavailable"},
  }};
  for (const auto& [code, reason] : reasons) {
    if (code == status) return reason;
  }
  return "Status";
}

}  // namespace

bool sameName(std::string_view one, std::string_view other) {
  auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; };
  return std::ranges::equal(one, other, [&](char a, char b) { return lower(a) == lower(b); });
}

const std::string* HttpRequest::header(std::string_view name) const {
  for (const auto& [key, value] : headers) {
    if (sameName(key, name)) return &value;
  }
  return nullptr;
}

HttpAnswer jsonAnswer(int status, std::string text) {
  return {status, {{"Content-Type", "application/json"}}, std::move(text)};
}

bool mayHaveBody(int status) { return status >= 200 && status != 204 && status != 304; }

std::string headOf(const HttpAnswer& answer, std::size_t length, bool keepAlive) {
  std::string head = "HTTP/1.1 " + std::to_string(answer.status) + ' ';
  head.append(reasonOf(answer.status)).append("\r\n");
  for (const auto& [name, value] : answer.headers)
    head.append(name).append(": ").append(value).append("\r\n");
  if (mayHaveBody(answer.status))
    head.append("Content-Length: ").append(std::to_string(length)).append("\r\n");
  head.append(keepAlive ? "Connection: keep-alive\r\n\r\n" : "Connection: close\r\n\r\n");
  return head;
}

std::vector<std::pair<std::string, std::string>> queryItems(std::string_view query) {
  std::vector<std::pair<std::string, std::string>> items;
  while (!query.empty()) {
    const auto item = query.substr(0, query.find('&'));
    query.remove_prefix(std::min(query.size(), item.size() + 1));
    if (item.empty()) continue;
    const auto equals = item.find('=');
    const auto value = equals == std::string_view::npos ? std::string_view{} : item.substr(equals + 1);
    items.emplace_back(percentDecoded(item.substr(0, equals)), percentDecoded(value));
  }
  return items;
}

}  // namespace sorn::emulator
