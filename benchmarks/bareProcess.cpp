// The bare counterpart of `bench-host`: the same libraries, loaded or, with an origin, each used once; SQLite
// opened and rows saved one by one. `bench-processes` measures it.
//   bench-bare FOLDER ROWS [ORIGIN]
// Prints its kilobytes of memory when it has used the libraries.

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>

#include <curl/curl.h>
#include <nettle/des.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <plist/plist.h>
#include <simdjson.h>
#include <sqlite3.h>
#include <unicode/uchar.h>
#include <unicode/unorm2.h>
#include <zlib.h>

namespace {

bool saveRows(const std::string& file, int rows) {
  sqlite3* database = nullptr;
  constexpr int flags = SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE | SQLITE_OPEN_NOMUTEX;
  if (sqlite3_open_v2(file.c_str(), &database, flags, "unix-excl") != SQLITE_OK) return false;
  sqlite3_exec(database,
               "PRAGMA page_size=2048; PRAGMA journal_mode=WAL; PRAGMA wal_autocheckpoint=0;"
               "PRAGMA synchronous=NORMAL; PRAGMA cache_size=-1024;"
               "CREATE TABLE IF NOT EXISTS bare (id INTEGER PRIMARY KEY, text TEXT)",
               nullptr, nullptr, nullptr);
  sqlite3_stmt* insert = nullptr;
  sqlite3_prepare_v3(database, "INSERT INTO bare (text) VALUES (?)", -1, SQLITE_PREPARE_PERSISTENT, &insert,
                     nullptr);
  const std::string text(600, 'x');
  bool isSaved = insert != nullptr;
  for (int row = 0; row < rows; ++row) {
    sqlite3_bind_text(insert, 1, text.data(), static_cast<int>(text.size()), SQLITE_STATIC);
    isSaved = sqlite3_step(insert) == SQLITE_DONE && isSaved;
    sqlite3_reset(insert);
  }
  return isSaved;
}

std::size_t swallow(char*, std::size_t size, std::size_t count, void*) { return size * count; }

bool askService(const std::string& origin, const std::string& body) {
  curl_global_init(CURL_GLOBAL_DEFAULT);
  CURLM* const multi = curl_multi_init();
  CURL* const curl = curl_easy_init();
  curl_easy_setopt(curl, CURLOPT_URL, (origin + "/emulator/faults").c_str());
  curl_easy_setopt(curl, CURLOPT_POSTFIELDS, body.c_str());
  curl_easy_setopt(curl, CURLOPT_PROXY, "");
  curl_easy_setopt(curl, CURLOPT_WRITEFUNCTION, &swallow);
  curl_multi_add_handle(multi, curl);
  for (int running = 1; running > 0;) {
    curl_multi_perform(multi, &running);
    curl_multi_poll(multi, nullptr, 0, 10, nullptr);
  }
  long status = 0;
  curl_easy_getinfo(curl, CURLINFO_RESPONSE_CODE, &status);
  return status == 200;
}

bool useLibraries(const std::string& folder, const std::string& origin) {
  std::ifstream stream(folder + "/Bench.plist", std::ios::binary);
  const std::string file((std::istreambuf_iterator<char>(stream)), {});
  plist_t list = nullptr;
  plist_from_memory(file.data(), static_cast<unsigned>(file.size()), &list);
  const bool isRead = list != nullptr;
  plist_free(list);

  unsigned char hash[EVP_MAX_MD_SIZE];
  HMAC(EVP_sha256(), "key", 3, reinterpret_cast<const unsigned char*>("text"), 4, hash, nullptr);
  unsigned char output[32];
  des_ctx schedule;
  des_set_key(&schedule, hash);
  des_decrypt(&schedule, sizeof output, output, hash);

  const std::string padded = "{\"a\": 1}" + std::string(simdjson::SIMDJSON_PADDING, ' ');
  simdjson::dom::parser parser;
  const bool isParsed = parser.parse(padded.data(), 8, false).error() == simdjson::SUCCESS;
  const bool isLetter = u_isalpha(0x41) != 0 && crc32(0, output, 32) != 0;
  return isRead && isParsed && isLetter && askService(origin, "[]");
}

}  // namespace

int main(int count, char** words) {
  if (count < 3) return 2;
  const std::string folder = words[1];
  if (!saveRows(folder + "/bare.sqlite", std::atoi(words[2]))) return 1;
  if (count > 3) {
    if (!useLibraries(folder, words[3])) return 1;
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
      if (line.starts_with("VmRSS:")) std::printf("memory %lld\n", std::atoll(line.c_str() + 6));
    }
  }
  return 0;
}
