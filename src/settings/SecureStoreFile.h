#pragma once

#include <filesystem>
#include <mutex>
#include <optional>
#include <string_view>

#include "settings/JsonFile.h"
#include "sorn/platform/SecureStore.h"

namespace sorn::settings {

// Secrets in a file that only the user may read (0600): a JSON object from the service's name to the item's
// bytes in Base64. Each operation reads the file anew, so another process's items are seen, and changes are
// made under a lock, so they are kept. Any thread.
//
// A damaged file reads as `ioFailure`; the next `add` puts it aside and begins a new one. A file that the
// system refuses to give is left alone.
class SecureStoreFile final : public platform::SecureStore {
 public:
  // Without a file, because there is no home for it, every operation is `ioFailure`.
  explicit SecureStoreFile(const std::optional<std::filesystem::path>& file);

  ReadResult read(std::string_view service) const override;
  Status add(std::string_view service, std::string_view bytes) override;
  Status remove(std::string_view service) override;

 private:
  Status save(const JsonFile::Content& content) const;

  const std::optional<JsonFile> file_;
  std::mutex changing_;
};

}  // namespace sorn::settings
