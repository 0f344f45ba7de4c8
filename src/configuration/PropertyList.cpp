#include "configuration/PropertyList.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <memory>
#include <utility>

#include <plist/plist.h>

#include "support/json/Json.h"

namespace sorn::configuration {

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

// The table of a binary file's objects, which ends with a trailer: size of an offset (byte 6), size of a
// reference (7), number of objects (8 to 15), root (16 to 23), place of the table (24 to 31). An object's
// first byte has its type in the upper half and its length in the lower one; 15 announces a length of 1, 2,
// 4 or 8 bytes behind it.
class BinaryObjects {
 public:
  // `bytes` has a trailer.
  explicit BinaryObjects(std::string_view bytes) : bytes_(bytes) {
    const std::string_view trailer = bytes.substr(bytes.size() - trailerLength);
    offsetSize_ = static_cast<unsigned char>(trailer[6]);
    referenceSize_ = static_cast<unsigned char>(trailer[7]);
    count_ = *numberAt(trailer, 8, 8);
    root_ = *numberAt(trailer, 16, 8);
    table_ = *numberAt(trailer, 24, 8);
  }

  // Whether the root is the only container, and the texts that it refers to are not too long together.
  bool isFlat() const {
    if (root_ >= count_ || count_ > bytes_.size() || table_ > bytes_.size()) return false;
    for (std::uint64_t index = 0; index < count_; ++index) {
      const auto found = object(index);
      if (!found || found->isContainer() != (index == root_)) return false;
    }
    return expandsTo(*object(root_)) <= mostExpandedBytes;
  }

 private:
  struct Object {
    std::uint64_t type;
    std::uint64_t length;  // in characters or entries
    std::uint64_t content;

    bool isContainer() const { return type >= 0xA && type <= 0xD; }
    // Two bytes of UTF-16 become at most three of UTF-8.
    std::uint64_t bytes() const { return bytesForNode + (type == 5 ? length : 3 * length); }
  };
  // What a value costs beside its content.
  static constexpr std::uint64_t bytesForNode = 128;

  std::optional<Object> object(std::uint64_t index) const {
    const auto offset = numberAt(bytes_, table_ + index * offsetSize_, offsetSize_);
    const auto marker = offset ? numberAt(bytes_, *offset, 1) : std::nullopt;
    if (!marker) return std::nullopt;
    Object found{*marker >> 4, *marker & 0xF, *offset + 1};
    const bool hasLength = found.type >= 4;
    if (!hasLength || found.length < 0xF) return found;
    const auto sizeMarker = numberAt(bytes_, found.content, 1);
    if (!sizeMarker || (*sizeMarker & 0xF) > 3) return std::nullopt;
    const std::size_t size = std::size_t{1} << (*sizeMarker & 0xF);
    const auto length = numberAt(bytes_, found.content + 1, size);
    if (!length || *length > bytes_.size()) return std::nullopt;
    return Object{found.type, *length, found.content + 1 + size};
  }

  // The sum over the keys and the values of a dictionary, each as often as it is named. More than is allowed
  // for references to nowhere.
  std::uint64_t expandsTo(const Object& dictionary) const {
    std::uint64_t sum = 0;
    for (std::uint64_t entry = 0; entry < 2 * dictionary.length && sum <= mostExpandedBytes; ++entry) {
      const auto index = numberAt(bytes_, dictionary.content + entry * referenceSize_, referenceSize_);
      const auto found = index && *index < count_ ? object(*index) : std::nullopt;
      sum += found ? found->bytes() : mostExpandedBytes + 1;
    }
    return sum;
  }

  const std::string_view bytes_;
  std::size_t offsetSize_ = 0;
  std::size_t referenceSize_ = 0;
  std::uint64_t count_ = 0;
  std::uint64_t root_ = 0;
  std::uint64_t table_ = 0;
};

bool isFlatBinary(std::string_view bytes) {
  return bytes.size() >= binaryMark.size() + trailerLength && BinaryObjects(bytes).isFlat();
}

// Where the markup that begins at `at` ends; comments and the like may hold brackets.
std::size_t endOfMarkup(std::string_view text, std::size_t at) {
  constexpr std::pair<std::string_view, std::string_view> wholes[] = {
      {"<!--", "-->"}, {"<![CDATA[", "]]>"}, {"<?", "?>"}, {"<", ">"}};
  for (const auto& [begin, end] : wholes) {
    if (!text.substr(at).starts_with(begin)) continue;
    const std::size_t found = text.find(end, at + begin.size());
    return found == std::string_view::npos ? found : found + end.size();
  }
  return std::string_view::npos;
}

// libplist takes any of its elements as the root and looks at nothing behind it.
bool isOnePlistElement(std::string_view text) {
  bool isOpen = false;
  for (std::size_t at = text.find('<'); at != std::string_view::npos;) {
    const std::string_view rest = text.substr(at);
    const std::size_t end = endOfMarkup(text, at);
    if (end == std::string_view::npos) return false;
    if (rest.starts_with("</plist")) {
      return isOpen && text.find_first_not_of(" \t\r\n", end) == std::string_view::npos;
    }
    isOpen = isOpen || rest.starts_with("<plist");
    if (!isOpen && !rest.starts_with("<?") && !rest.starts_with("<!")) return false;
    at = text.find('<', end);
  }
  return false;
}

bool isSoundXml(std::string_view text) {
  return isShallowXml(text) && support::isValidUtf8(text) && isOnePlistElement(text);
}

OwnedPlist parse(std::string_view bytes) {
  constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
  if (bytes.starts_with(byteOrderMark)) bytes.remove_prefix(byteOrderMark.size());
  if (bytes.empty() || bytes.size() > longestFile) return nullptr;
  if (!(bytes.starts_with(binaryMark) ? isFlatBinary(bytes) : isSoundXml(bytes))) return nullptr;
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
    // One number fails the whole: half a configuration would start a library that reaches nobody.
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

}  // namespace sorn::configuration
