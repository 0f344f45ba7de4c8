#include "BareReport.h"

#include <array>
#include <stdexcept>
#include <utility>

#include <curl/curl.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>

#include "Host.h"

namespace sorn::bench {

namespace {

constexpr std::string_view reportPath = "/endpoints/v2/events/report/json";

std::size_t swallow(char*, std::size_t size, std::size_t count, void*) { return size * count; }

// What is signed before the body: host, port when it is small enough to be signed, path.
std::string signedHead(const std::string& origin) {
  constexpr int firstUnsignedPort = 9999;
  std::string place = origin.substr(std::string_view("http://").size());
  const std::size_t colon = place.find(':');
  if (std::stoi(place.substr(colon + 1)) >= firstUnsignedPort) place.resize(colon);
  return place.append(reportPath);
}

std::string signatureHeader(const std::string& text) {
  std::array<unsigned char, EVP_MAX_MD_SIZE> hash{};
  unsigned length = 0;
  HMAC(EVP_sha256(), accountSecret.data(), static_cast<int>(accountSecret.size()),
       reinterpret_cast<const unsigned char*>(text.data()), text.size(), hash.data(), &length);
  std::array<unsigned char, 64> base64{};
  EVP_EncodeBlock(base64.data(), hash.data(), static_cast<int>(length));
  return "Authorization: " + std::string(accountKey) + "=" + reinterpret_cast<const char*>(base64.data());
}

}  // namespace

BareReport::BareReport(std::string origin) : origin_(std::move(origin)), curl_(curl_easy_init()) {}

BareReport::~BareReport() { curl_easy_cleanup(curl_); }

void BareReport::send(BareStore& store) {
  std::string text = signedHead(origin_);
  const std::size_t body = text.size();
  text += "{\"events\":[";
  store.appendAll(text);
  text += "]}";
  curl_slist* headers = curl_slist_append(nullptr, signatureHeader(text).c_str());
  headers = curl_slist_append(headers, "Content-Type: application/json");
  headers = curl_slist_append(headers, "Expect:");
  const std::string url = origin_ + std::string(reportPath);
  curl_easy_setopt(curl_, CURLOPT_URL, url.c_str());
  curl_easy_setopt(curl_, CURLOPT_PROXY, "");
  curl_easy_setopt(curl_, CURLOPT_HTTPHEADER, headers);
  curl_easy_setopt(curl_, CURLOPT_POSTFIELDSIZE_LARGE, static_cast<curl_off_t>(text.size() - body));
  curl_easy_setopt(curl_, CURLOPT_POSTFIELDS, text.data() + body);
  curl_easy_setopt(curl_, CURLOPT_WRITEFUNCTION, &swallow);
  long status = 0;
  const CURLcode code = curl_easy_perform(curl_);
  curl_easy_getinfo(curl_, CURLINFO_RESPONSE_CODE, &status);
  curl_slist_free_all(headers);
  if (code != CURLE_OK || status != 200) throw std::runtime_error("the bare report was refused");
  store.removeAll();
}

}  // namespace sorn::bench
