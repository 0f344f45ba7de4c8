#include "settings/JsonFile.h"

#include <cstddef>
#include <string>
#include <utility>

#include "support/BoundedFile.h"
#include "support/json/Json.h"

namespace sorn::settings {

namespace {

// Settings and secrets are a few kilobytes; a longer file is not one of ours.
constexpr std::size_t longestFile = std::size_t{16} << 20;

}  // namespace

JsonFile::Content JsonFile::load() const {
  const auto text = support::readBounded(file_, longestFile);
  if (!text) {
    const std::error_code& error = text.error();
    if (error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory) return {};
    return {error == std::errc::file_too_large ? State::damaged : State::unreadable, {}};
  }
  const auto document = support::Document::parse(*text);
  if (!document || !document->root().isObject()) return {State::damaged, {}};
  Value value = document->root().toValue();
  return {State::whole, std::move(*value.as<Dictionary>())};
}

support::FileResult JsonFile::save(std::string_view json, State replaced,
                                   platform::Durability durability) const {
  if (replaced == State::damaged) {
    // A failure here is no reason to lose the new content.
    std::filesystem::path aside = file_;
    aside += ".damaged";
    std::error_code ignored;
    std::filesystem::rename(file_, aside, ignored);
  }
  return support::writeAtomically(file_, json, durability);
}

}  // namespace sorn::settings
