#pragma once

#include <concepts>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <vector>

#include "documents/Description.h"
#include "documents/OptionalBox.h"
#include "support/json/JsonWriter.h"

// A JSON Schema (draft 2020-12) from the tables of records, so that editors accept exactly what the decoder
// accepts. For the tools; nothing of it is part of the library.
namespace sorn::documents {

class SchemaWriter {
 public:
  // The schema of a document that is one value of this type.
  template <class Document>
  static std::string schemaText(std::string_view title) {
    std::string text;
    SchemaWriter schema(text);
    schema.writer_.beginObject();
    schema.entry("$schema", "https://json-schema.org/draft/2020-12/schema");
    schema.entry("title", title);
    schema.form(Form<Document>{});
    schema.define();
    schema.writer_.endObject();
    return text;
  }

 private:
  template <class T>
  struct Form {};

  explicit SchemaWriter(std::string& text) : writer_(text, support::Writer::Form::pretty) {}

  void entry(std::string_view key, std::string_view value) {
    writer_.key(key);
    writer_.text(value);
  }

  // The keywords of a type, into the object that is open. An optional value may be null as well.
  template <class T>
  void form(Form<T>, bool nullable = false) {
    if constexpr (Described<T>) {
      reference<T>(nullable);
    } else if constexpr (Enumerated<T>) {
      enumeration<T>(nullable);
    } else if constexpr (std::same_as<T, bool>) {
      type("boolean", nullable);
    } else if constexpr (std::integral<T>) {
      type("integer", nullable);
      writer_.key("minimum");
      writer_.integer(std::numeric_limits<T>::min());
      writer_.key("maximum");
      writer_.integer(std::numeric_limits<T>::max());
    } else if constexpr (std::floating_point<T>) {
      type("number", nullable);
      writer_.key("minimum");
      writer_.number(std::numeric_limits<T>::lowest());
      writer_.key("maximum");
      writer_.number(std::numeric_limits<T>::max());
    } else {
      static_assert(std::same_as<T, std::string>, "a type that has a form in the schema");
      type("string", nullable);
    }
  }
  template <class T>
  void form(Form<std::optional<T>>) {
    form(Form<T>{}, true);
  }
  template <class T>
  void form(Form<OptionalBox<T>>) {
    form(Form<T>{}, true);
  }
  template <class T>
  void form(Form<std::vector<T>>, bool nullable = false) {
    type("array", nullable);
    writer_.key("items");
    writer_.beginObject();
    form(Form<T>{});
    writer_.endObject();
  }
  template <class T>
  void form(Form<std::map<std::string, T>>, bool nullable = false) {
    type("object", nullable);
    writer_.key("additionalProperties");
    writer_.beginObject();
    form(Form<T>{});
    writer_.endObject();
  }

  void type(std::string_view name, bool nullable) {
    writer_.key("type");
    if (!nullable) return writer_.text(name);
    writer_.beginArray();
    writer_.text(name);
    writer_.text("null");
    writer_.endArray();
  }

  template <Enumerated T>
  void enumeration(bool nullable) {
    writer_.key("enum");
    writer_.beginArray();
    for (const std::string_view text : Description<T>::texts) writer_.text(text);
    if (nullable) writer_.null();
    writer_.endArray();
  }

  template <Described T>
  void reference(bool nullable) {
    if (named_.insert(Description<T>::name).second) pending_.push_back(&SchemaWriter::definition<T>);
    const std::string target = "#/$defs/" + std::string(Description<T>::name);
    if (!nullable) return entry("$ref", target);
    writer_.key("anyOf");
    writer_.beginArray();
    writer_.beginObject();
    entry("$ref", target);
    writer_.endObject();
    writer_.beginObject();
    entry("type", "null");
    writer_.endObject();
    writer_.endArray();
  }

  // Every record that was referred to; a definition may refer to further ones.
  void define() {
    writer_.key("$defs");
    writer_.beginObject();
    for (std::size_t i = 0; i < pending_.size(); ++i) (this->*pending_[i])();
    writer_.endObject();
  }

  template <Described T>
  void definition() {
    writer_.key(Description<T>::name);
    writer_.beginObject();
    entry("type", "object");
    writer_.key("properties");
    writer_.beginObject();
    eachField<T>([this](const auto& field) { this->property(field); });
    writer_.endObject();
    writer_.key("required");
    writer_.beginArray();
    eachField<T>([this](const auto& field) {
      if (field.presence == Presence::required) this->writer_.text(field.key);
    });
    writer_.endArray();
    writer_.endObject();
  }

  template <class Record, class Member, class Codec>
  void property(const Field<Record, Member, Codec>& field) {
    static_assert(std::same_as<Codec, ByType>, "a field whose form its type tells");
    writer_.key(field.key);
    writer_.beginObject();
    if (!field.help.empty()) entry("description", field.help);
    form(Form<Member>{});
    writer_.endObject();
  }

  template <Described T, class Visit>
  static void eachField(Visit visit) {
    std::apply([&](const auto&... field) { (visit(field), ...); }, Description<T>::fields);
  }

  support::Writer writer_;
  std::set<std::string_view> named_;
  std::vector<void (SchemaWriter::*)()> pending_;
};

}  // namespace sorn::documents
