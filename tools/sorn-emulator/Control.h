#pragma once

// The calls under /emulator/, by which tests and people look at the service and arrange it.

#include <string_view>

#include "sorn-emulator/Http.h"

namespace sorn::emulator {

class Core;

bool isControlCall(std::string_view path);

// Never struck by a fault, never written down. A wrong call is answered with 400, 404 or 405 and its reason.
HttpAnswer answerToControl(Core& core, const HttpRequest& request);

}  // namespace sorn::emulator
