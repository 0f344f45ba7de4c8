#include "CommandLine.h"

#include <stdexcept>

#include "support/json/Json.h"

namespace sorn::console {

namespace {

constexpr std::string_view blanks = " \t\r";

// The end of the JSON string that begins at `begin`, behind its closing quote.
std::size_t endOfString(std::string_view line, std::size_t begin) {
  for (std::size_t at = begin + 1; at < line.size(); ++at) {
    if (line[at] == '\\') {
      ++at;
    } else if (line[at] == '"') {
      return at + 1;
    }
  }
  throw std::invalid_argument("a quoted argument has no end");
}

Value parse(std::string_view json) {
  const auto document = support::Document::parse(json, support::Fragments::yes);
  if (!document) throw std::invalid_argument("not JSON: " + document.error().description);
  return document->root().toValue();
}

Value withDates(Value value) {
  if (const List* list = value.as<List>()) {
    List converted;
    for (const Value& element : *list) converted.push_back(withDates(element));
    return converted;
  }
  const Dictionary* dictionary = value.as<Dictionary>();
  if (!dictionary) return value;
  if (dictionary->size() == 1 && dictionary->begin()->first == "$date") {
    if (const auto seconds = support::castDouble(dictionary->begin()->second)) return dateSince1970(*seconds);
  }
  Dictionary converted;
  for (const auto& [key, member] : *dictionary) converted.emplace(key, withDates(member));
  return converted;
}

}  // namespace

CommandLine parseCommandLine(std::string_view line) {
  CommandLine result;
  std::vector<std::string> words;
  for (std::size_t at = line.find_first_not_of(blanks); at != std::string_view::npos;
       at = line.find_first_not_of(blanks, at)) {
    std::size_t end = std::min(line.find_first_of(blanks, at), line.size());
    if (line[at] == '"') {
      end = endOfString(line, at);
      const Value text = parse(line.substr(at, end - at));
      words.push_back(*text.as<std::string>());
    } else {
      if (line[at] == '{' || line[at] == '[') end = line.find_last_not_of(blanks) + 1;
      words.emplace_back(line.substr(at, end - at));
    }
    at = end;
  }
  if (words.empty()) return result;
  result.command = std::move(words.front());
  result.arguments.assign(std::make_move_iterator(words.begin() + 1), std::make_move_iterator(words.end()));
  return result;
}

Dictionary parseDictionary(const std::string& json) {
  Value value = parse(json);
  const Dictionary* dictionary = value.as<Dictionary>();
  if (!dictionary) throw std::invalid_argument("a JSON object is wanted");
  Dictionary converted;
  for (const auto& [key, member] : *dictionary) converted.emplace(key, withDates(member));
  return converted;
}

List parseList(const std::string& json) {
  Value value = parse(json);
  const List* list = value.as<List>();
  if (!list) throw std::invalid_argument("a JSON list is wanted");
  return *list;
}

}  // namespace sorn::console
