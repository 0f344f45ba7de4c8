#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "support/PropertyList.h"

namespace sorn::config {

// The plain contents of a configuration file.
struct Account {
  std::string key;
  std::string secret;
  std::string mode;
  std::string environment;
};

// The bytes of the file, with key, secret and environment enciphered.
std::string configurationText(const Account& account, support::PropertyListForm form);

// Reads such a file back. Absent when something in it would keep the library from starting; the reason goes
// to `error`.
std::optional<Account> readConfiguration(const std::filesystem::path& file, std::string& error);

}  // namespace sorn::config
