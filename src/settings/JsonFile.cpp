#include "settings/JsonFile.h"

#include <cstddef>
#include <optional>
#include <string>
#include <utility>

#include "support/AtomicFile.h"
#include "support/BoundedFile.h"
#include "support/json/Json.h"

namespace sorn::settings {

namespace {

// Settings and secrets are a few kilobytes; a longer file is not one of ours.
constexpr std::size_t longestFile = std::size_t{16} << 20;

}  // namespace

JsonFile::Content JsonFile::load() const {
  std::error_code error;
  const std::string text = support::readBounded(file_, longestFile, error);
  if (error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory) return {};
  if (error == std::errc::file_too_large) return {State::damaged, {}};
  if (error) return {State::unreadable, {}};
  const std::optional<support::Document> document = support::Document::parse(text);
  if (!document || !document->root().isObject()) return {State::damaged, {}};
  Value value = document->root().toValue();
  return {State::whole, std::move(*value.as<Dictionary>())};
}

std::error_code JsonFile::save(std::string_view json, State replaced, platform::Durability durability) const {
  if (replaced == State::damaged) {
    std::filesystem::path aside = file_;
    aside += ".damaged";
    std::error_code ignored;
    std::filesystem::rename(file_, aside, ignored);
  }
  return support::writeAtomically(file_, json, durability);
}

}  // namespace sorn::settings
