#pragma once

#include <string>

#include "sorn/Value.h"

namespace sorn::console {

// Records the event of this operation, such as "purchase", with the arguments by their labels. Throws
// std::invalid_argument for an operation or arguments that do not exist, SornError for what the library
// refuses.
void logRetail(const std::string& operation, const Dictionary& arguments);
void logContent(const std::string& operation, const Dictionary& arguments);

}  // namespace sorn::console
