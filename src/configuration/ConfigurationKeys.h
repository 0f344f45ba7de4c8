#pragma once

#include <string_view>

namespace sorn::configuration {

// What the library and the tool that writes configuration files must agree on: the keys of the property list,
// and the key material for its three enciphered values. The material is plain text of hexadecimal digits; it
// hides the values from a glance at the file, no more.
inline constexpr std::string_view configurationKeyText = "C7F2A91E04D3B868";
inline constexpr std::string_view configurationVectorText = "3A5C09E7B1D264F0";

inline constexpr const char* applicationKeyEntry = "application_key";        // enciphered, Base64
inline constexpr const char* applicationSecretEntry = "application_secret";  // enciphered, Base64
inline constexpr const char* modeEntry = "mode";                             // plain
inline constexpr const char* environmentEntry = "environment";               // enciphered, Base64

inline constexpr std::string_view developmentMode = "development";
inline constexpr std::string_view productionMode = "production";

}  // namespace sorn::configuration
