#pragma once

#include <cstddef>
#include <string_view>

namespace sorn::emulator {

// Calls visit(bracket, level) for each opening bracket outside of quotes; the outermost is of level 1.
// Whether the text is JSON at all is a parser's business.
template <class Visit>
void eachOpeningBracket(std::string_view text, Visit visit) {
  int level = 0;
  bool inText = false;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (inText) {
      if (c == '\\') ++i;
      inText = c != '"';
    } else if (c == '"') {
      inText = true;
    } else if (c == '{' || c == '[') {
      visit(c, ++level);
    } else if (c == '}' || c == ']') {
      --level;
    }
  }
}

}  // namespace sorn::emulator
