#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace sorn::support {

// A web address in the parts of RFC 3986, read leniently: no scheme is needed, and nothing is normalised.
class Url {
 public:
  // Absent when the text is empty or holds a character that no address may hold: blanks, quotes, controls,
  // anything outside ASCII, a "%" without two hexadecimal digits, a second "#".
  static std::optional<Url> parse(std::string text);

  const std::string& text() const { return text_; }

  // Parts that the address lacks are absent. The host stands as written, an IPv6 address without its
  // brackets; the query is not decoded, and empty after a bare "?". "scheme:rest" without a slash has a
  // scheme alone.
  std::optional<std::string_view> scheme() const { return part(scheme_); }
  std::optional<std::string_view> host() const { return part(host_); }
  std::optional<int> port() const { return port_; }
  std::optional<std::string_view> query() const { return part(query_); }

  // The path decoded and without a slash at its end, unless it is nothing else; empty when there is none.
  std::string path() const;
  // The path as it stands in the text.
  std::string_view encodedPath() const { return std::string_view(text_).substr(path_.begin, path_.length); }

  // This address with the component behind its path, with exactly one slash added between them unless the
  // path ends in one. Characters that a path may not hold are encoded; slashes of the component stay.
  Url appendPathComponent(std::string_view component) const;

  bool operator==(const Url& other) const { return text_ == other.text_; }

 private:
  // A stretch of the text; absent when it begins nowhere.
  struct Part {
    std::size_t begin = std::string::npos;
    std::size_t length = 0;
  };

  explicit Url(std::string text);
  std::optional<std::string_view> part(Part part) const;
  std::size_t readScheme();
  std::size_t readAuthority(std::size_t from);

  std::string text_;
  Part scheme_;
  Part host_;
  Part path_{0, 0};
  Part query_;
  std::optional<int> port_;
};

// Encodes the UTF-8 bytes of every character that is not in the set, letters and digits included, as "%" and
// two upper-case digits.
std::string percentEncode(std::string_view text, std::string_view allowed);
// Absent when a "%" is not followed by two hexadecimal digits, or the result is not valid UTF-8.
std::optional<std::string> percentDecode(std::string_view text);

}  // namespace sorn::support
