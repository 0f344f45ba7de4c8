#include "support/PropertyList.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <memory>

#include <plist/plist.h>

namespace sorn::support {

namespace {

constexpr std::size_t longestFile = std::size_t{1} << 20;

// libplist frees nested containers by recursion, about a hundred bytes of stack a level, so that a short file
// can exhaust the stack. A dictionary of texts nests nothing: the number of containers bounds the depth.
constexpr std::size_t mostContainers = 500;
// A binary file may refer to one long text from many places, each of which becomes a copy.
constexpr std::uint64_t mostExpandedBytes = std::uint64_t{64} << 20;

constexpr std::string_view binaryMark = "bplist0";
constexpr std::size_t trailerLength = 32;

struct FreePlist {
  void operator()(void* node) const { plist_free(node); }
};
using OwnedPlist = std::unique_ptr<void, FreePlist>;

std::size_t occurrences(std::string_view text, std::string_view part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string_view::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

bool isShallowXml(std::string_view text) {
  return occurrences(text, "<dict") + occurrences(text, "<array") <= mostContainers;
}

// A big-endian number of up to eight bytes; bytes beyond the text count as absent.
std::optional<std::uint64_t> numberAt(std::string_view bytes, std::uint64_t offset, std::size_t size) {
  if (size == 0 || size > 8 || offset > bytes.size() || bytes.size() - offset < size) return std::nullopt;
  std::uint64_t number = 0;
  for (const char byte : bytes.substr(offset, size)) number = number << 8 | static_cast<unsigned char>(byte);
  return number;
}

// Walks the table of the binary form's objects, which ends with a trailer: size of an offset (byte 6), size
// of a reference (7), number of objects (8 to 15), root (16 to 23), place of the table (24 to 31). An
// object's first byte has its type in the upper half. The root must be the only container.
bool isFlatBinary(std::string_view bytes) {
  if (bytes.size() < binaryMark.size() + trailerLength) return false;
  const std::string_view trailer = bytes.substr(bytes.size() - trailerLength);
  const auto offsetSize = static_cast<std::size_t>(static_cast<unsigned char>(trailer[6]));
  const std::uint64_t count = *numberAt(trailer, 8, 8);
  const std::uint64_t root = *numberAt(trailer, 16, 8);
  const std::uint64_t table = *numberAt(trailer, 24, 8);
  if (root >= count || count > bytes.size() || table > bytes.size()) return false;
  std::uint64_t references = 0;
  for (std::uint64_t object = 0; object < count; ++object) {
    const auto offset = numberAt(bytes, table + object * offsetSize, offsetSize);
    const auto marker = offset ? numberAt(bytes, *offset, 1) : std::nullopt;
    if (!marker) return false;
    const std::uint64_t type = *marker >> 4;
    const bool isContainer = type >= 0xA && type <= 0xD;
    if (isContainer != (object == root)) return false;
    if (!isContainer) continue;
    // Up to 14 entries stand in the marker; 15 announces a number of 1, 2, 4 or 8 bytes behind it.
    references = *marker & 0xF;
    if (references < 0xF) continue;
    const auto sizeMarker = numberAt(bytes, *offset + 1, 1);
    if (!sizeMarker || (*sizeMarker & 0xF) > 3) return false;
    const auto size = numberAt(bytes, *offset + 2, std::size_t{1} << (*sizeMarker & 0xF));
    if (!size || *size > bytes.size()) return false;
    references = *size;
  }
  return 2 * references * bytes.size() <= mostExpandedBytes;
}

OwnedPlist parse(std::string_view bytes) {
  constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
  if (bytes.starts_with(byteOrderMark)) bytes.remove_prefix(byteOrderMark.size());
  if (bytes.empty() || bytes.size() > longestFile) return nullptr;
  if (!(bytes.starts_with(binaryMark) ? isFlatBinary(bytes) : isShallowXml(bytes))) return nullptr;
  plist_t node = nullptr;
  plist_from_memory(bytes.data(), static_cast<std::uint32_t>(bytes.size()), &node);
  return OwnedPlist(node);
}

std::optional<std::string> textOf(plist_t node) {
  if (!node || plist_get_node_type(node) != PLIST_STRING) return std::nullopt;
  std::uint64_t length = 0;
  const char* text = plist_get_string_ptr(node, &length);
  return text ? std::optional(std::string(text, length)) : std::nullopt;
}

}  // namespace

std::optional<TextDictionary> parsePropertyList(std::string_view bytes) {
  const OwnedPlist root = parse(bytes);
  if (!root || plist_get_node_type(root.get()) != PLIST_DICT) return std::nullopt;
  plist_dict_iter made = nullptr;
  plist_dict_new_iter(root.get(), &made);
  const std::unique_ptr<void, void (*)(void*)> iterator(made, std::free);
  TextDictionary texts;
  while (true) {
    char* found = nullptr;
    plist_t value = nullptr;
    plist_dict_next_item(root.get(), made, &found, &value);
    if (!found) return texts;
    const std::unique_ptr<char, void (*)(void*)> key(found, std::free);
    std::optional<std::string> text = textOf(value);
    if (!text) return std::nullopt;
    texts.insert_or_assign(key.get(), std::move(*text));
  }
}

std::optional<TextDictionary> readPropertyList(const std::filesystem::path& file) {
  std::error_code error;
  // A pipe would keep its reader waiting.
  if (!std::filesystem::is_regular_file(file, error)) return std::nullopt;
  const std::uintmax_t size = std::filesystem::file_size(file, error);
  if (error || size > longestFile) return std::nullopt;
  std::ifstream stream(file, std::ios::binary);
  std::string bytes(static_cast<std::size_t>(size), '\0');
  if (!stream.read(bytes.data(), static_cast<std::streamsize>(bytes.size()))) return std::nullopt;
  return parsePropertyList(bytes);
}

std::string propertyListText(const TextDictionary& texts, PropertyListForm form) {
  const OwnedPlist dictionary(plist_new_dict());
  for (const auto& [key, text] : texts) {
    plist_dict_set_item(dictionary.get(), key.c_str(), plist_new_string(text.c_str()));
  }
  char* bytes = nullptr;
  std::uint32_t length = 0;
  if (form == PropertyListForm::binary) {
    plist_to_bin(dictionary.get(), &bytes, &length);
  } else {
    plist_to_xml(dictionary.get(), &bytes, &length);
  }
  const std::unique_ptr<char, void (*)(void*)> owned(bytes, std::free);
  return bytes ? std::string(bytes, length) : std::string();
}

}  // namespace sorn::support
