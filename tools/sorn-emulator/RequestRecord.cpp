#include "sorn-emulator/RequestRecord.h"

#include <nlohmann/json.hpp>

#include "sorn-emulator/Encoding.h"
#include "sorn-emulator/JsonText.h"

namespace sorn::emulator {

nlohmann::json RequestRecord::body() const { return parsedJson(raw).value_or(nlohmann::json()); }

std::string RequestRecord::expected() const { return signedHead.empty() ? std::string() : signedHead + raw; }

std::string RequestRecord::header(std::string_view name) const {
  HttpRequest request;
  request.headers = headers;
  const auto* value = request.header(name);
  return value ? *value : std::string();
}

nlohmann::json toJson(const RequestRecord& record) {
  auto headers = nlohmann::json::object();
  for (const auto& [name, value] : record.headers) {
    if (headers.contains(name)) {
      headers[name] = headers[name].get<std::string>() + ", " + value;
    } else {
      headers[name] = value;
    }
  }
  nlohmann::json object = {
      {"at", record.at},         {"method", record.method},       {"path", record.path},
      {"headers", headers},      {"body", record.body()},         {"raw", base64(record.raw)},
      {"status", record.status}, {"signature", record.signature}, {"expected", nullptr}};
  if (!record.signedHead.empty()) object["expected"] = record.expected();
  if (!record.fault.empty()) object["fault"] = record.fault;
  return object;
}

}  // namespace sorn::emulator
