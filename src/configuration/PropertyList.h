#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace sorn::configuration {

// Property lists that hold a dictionary of texts and nothing else, in the XML and the binary form.
using TextDictionary = std::map<std::string, std::string>;

// Reads the file, in whichever form it is. Absent when the file can't be read, is longer than 1 MiB, is no
// property list, or holds anything but a dictionary whose values are all texts; one number fails the whole.
// Texts are not trimmed. An empty dictionary is a result.
std::optional<TextDictionary> readPropertyList(const std::filesystem::path& file);

// The same for bytes that have been read.
std::optional<TextDictionary> parsePropertyList(std::string_view bytes);

enum class PropertyListForm { xml, binary };

// The bytes of a file with these texts, which must be valid UTF-8 without zero bytes.
std::string propertyListText(const TextDictionary& texts, PropertyListForm form);

}  // namespace sorn::configuration
