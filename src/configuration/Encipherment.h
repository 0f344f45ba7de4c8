#pragma once

#include <optional>
#include <string>

namespace sorn::configuration {

// The enciphered values of a configuration file: the cipher with the key material of ConfigurationKeys.h, in
// Base64.

// What it means that the cipher refuses a value: to the library a fault, so that a damaged file is noticed at
// once, to a tool one more file that can't be read.
enum class WhenDamaged { fault, absent };

// The text of a value. Absent when it is no Base64 or stands for no UTF-8. For the library, which asks for a
// fault, the cipher writes its empty line to standard output.
std::optional<std::string> deciphered(const std::string& value, WhenDamaged whenDamaged);

// The value for a text.
std::string enciphered(const std::string& text);

}  // namespace sorn::configuration
