#pragma once

// Serves one connection until it ends: reads requests, has them answered, and misbehaves as ordered.

#include <functional>

#include "sorn-emulator/Channel.h"
#include "sorn-emulator/Core.h"

namespace sorn::emulator {

using Answerer = std::function<Reply(HttpRequest& request)>;

void serveConnection(Channel& channel, const Answerer& answerer);

}  // namespace sorn::emulator
