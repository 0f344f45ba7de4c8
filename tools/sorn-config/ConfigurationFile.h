#pragma once

#include <filesystem>
#include <string>

#include "configuration/PropertyList.h"
#include "support/Result.h"

namespace sorn::config {

// The plain contents of a configuration file.
struct Account {
  std::string key;
  std::string secret;
  std::string mode;
  std::string environment;
};

// Why a library with such an account would not start, or would start and never reach its service; empty when
// neither is so.
std::string faultOf(const Account& account);

// The bytes of the file, with key, secret and environment enciphered.
std::string configurationText(const Account& account, configuration::PropertyListForm form);

// Reads such a file back. Fails, with the reason, when it is none, or its account has a fault.
support::Result<Account, std::string> readConfiguration(const std::filesystem::path& file);

}  // namespace sorn::config
