// sorn-config writes the configuration file that a host ships, and shows what is in one. Exit status: 0 done,
// 1 failed, 2 bad usage.

#include <cstdio>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <system_error>

#include "sorn-config/ConfigurationFile.h"
#include "sorn-config/Options.h"
#include "support/AtomicFile.h"
#include "support/json/JsonWriter.h"

namespace {

int failed(const std::string& file, const std::string& reason) {
  std::fprintf(stderr, "sorn-config: %s: %s\n", file.c_str(), reason.c_str());
  return 1;
}

int show(const std::string& file) {
  const auto account = sorn::config::readConfiguration(file);
  if (!account) return failed(file, account.error());
  const std::optional<std::string> json = sorn::support::compactText(sorn::Dictionary{
      {"key", account->key},
      {"secret", account->secret},
      {"mode", account->mode},
      {"environment", account->environment},
  });
  if (!json) return failed(file, "a text in it is not valid UTF-8");
  if (std::printf("%s\n", json->c_str()) < 0 || std::fflush(stdout) != 0)
    return failed("standard output", "full");
  return 0;
}

int write(const sorn::config::Options& options) {
  using std::filesystem::perms;
  const std::filesystem::path out = options.out;
  std::error_code error;
  // Replacing a device or a folder by a file is never what was meant.
  if (std::filesystem::exists(out, error) && !std::filesystem::is_regular_file(out, error)) {
    return failed(options.out, "this is no regular file");
  }
  if (out.has_parent_path() && !std::filesystem::is_directory(out.parent_path(), error)) {
    return failed(options.out, "the folder does not exist");
  }
  const auto form = options.isBinary ? sorn::configuration::PropertyListForm::binary
                                     : sorn::configuration::PropertyListForm::xml;
  const std::string text =
      sorn::config::configurationText({options.key, options.secret, options.mode, options.environment}, form);
  const auto written = sorn::support::writeAtomically(out, text);
  if (!written) return failed(options.out, written.error().message());
  // A resource of the host, which every user of the program reads.
  constexpr perms readable = perms::owner_read | perms::owner_write | perms::group_read | perms::others_read;
  std::filesystem::permissions(out, readable, error);
  return 0;
}

}  // namespace

int main(int count, char** arguments) {
  const auto options =
      sorn::config::parseOptions({arguments + 1, static_cast<std::size_t>(count > 0 ? count - 1 : 0)});
  if (!options) {
    std::fprintf(stderr, "sorn-config: %s\n%s", options.error().c_str(), sorn::config::usage);
    return 2;
  }
  if (options->wantsHelp) {
    std::fputs(sorn::config::usage, stdout);
    return 0;
  }
  return options->show.empty() ? write(*options) : show(options->show);
}
