#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "sorn/Value.h"

namespace sorn::support {

// Writing JSON straight to the end of a text. "/" goes out as "\/", other controls than \b \f \n \r \t as
// \u00xx, everything outside ASCII as it is.

// Appends the text in quotes. False when it is not valid UTF-8; nothing is appended then.
bool appendText(std::string& out, std::string_view text);
// The same for a prefix, which must need no escape, and the text as one.
bool appendText(std::string& out, std::string_view prefix, std::string_view text);

// Appends the number; a double in the shortest form that reads back the same, without a point when it is
// whole. False for NaN and the infinities, with nothing appended.
void appendNumber(std::string& out, std::int64_t number);
bool appendNumber(std::string& out, double number);

// Appends any value that JSON can hold. False, with nothing appended, for dates, decimals that are no
// numbers, NaN, infinities, texts that are not UTF-8 and too deep a nesting.
bool appendValue(std::string& out, const Value& value);

// The document of a list or dictionary, compact or with a member a line; absent when it cannot be written.
std::optional<std::string> compactText(const Value& value);
std::optional<std::string> prettyText(const Value& value);

// Appends a document piece by piece. The caller opens and closes in pairs and writes a key before each value
// of an object; commas and, in the pretty form, line ends come by themselves.
class Writer {
 public:
  // Pretty: two blanks a level, `"key" : value`, one member a line, a blank line in empty containers.
  enum class Form { compact, pretty };

  explicit Writer(std::string& out, Form form = Form::compact) : out_(out), form_(form) {}

  void beginObject() { begin('{'); }
  void endObject() { end('}'); }
  void beginArray() { begin('['); }
  void endArray() { end(']'); }
  void key(std::string_view name);

  void null();
  void boolean(bool value);
  void integer(std::int64_t value);
  void number(double value);
  void text(std::string_view value);
  void value(const Value& value);
  // Appends a finished piece of JSON as one value.
  void raw(std::string_view json);

  // Whether everything so far could be written. What could not stands as null.
  bool isValid() const { return valid_; }

 private:
  void separate();
  void begin(char bracket);
  void end(char bracket);
  void breakLine();
  void checked(bool written);

  std::string& out_;
  Form form_;
  std::size_t depth_ = 0;
  bool first_ = true;  // nothing stands in the innermost container yet
  bool afterKey_ = false;
  bool valid_ = true;
};

}  // namespace sorn::support
