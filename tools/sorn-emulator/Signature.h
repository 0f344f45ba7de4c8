#pragma once

// Checks the "Authorization" header of a call: application key, "=", and the base64 text of an HMAC-SHA256
// over host, port text, path and body, under the application's secret.

#include <string>
#include <string_view>
#include <vector>

#include "sorn-emulator/Account.h"
#include "sorn-emulator/Http.h"

namespace sorn::emulator {

enum class Verdict { valid, invalid, absent };

std::string_view textOf(Verdict verdict);

// What stands before the body in the signed text: the host of the "Host" header as it is written there (an
// IPv6 address without its brackets), ":" and the port when that is one of 1 to 9998, and the path,
// percent-decoded (unless that gives no UTF-8) and without a slash at its end. From 9999 on the port is no
// part of it.
std::string signedHead(std::string_view host, std::string_view path);

// `head` followed by `request.body` is the text that must have been signed.
Verdict verdictOn(const HttpRequest& request, std::string_view head, const std::vector<Account>& accounts);

}  // namespace sorn::emulator
