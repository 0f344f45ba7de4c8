#include "sorn-emulator/Arguments.h"

#include <charconv>
#include <filesystem>
#include <stdexcept>

namespace sorn::emulator {

namespace {

Account accountFrom(const std::string& text) {
  const auto colon = text.find(':');
  if (colon == std::string::npos || colon == 0) throw std::invalid_argument("--account needs KEY:SECRET");
  if (text.find('=') < colon) throw std::invalid_argument("an application key must not contain \"=\"");
  return {text.substr(0, colon), text.substr(colon + 1)};
}

int portFrom(const std::string& text) {
  int port = -1;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
  if (error != std::errc() || end != text.data() + text.size() || port < 0 || port > 65535) {
    throw std::invalid_argument("--port needs a number from 0 to 65535");
  }
  return port;
}

}  // namespace

std::string usage() {
  return "Usage: sorn-emulator --account KEY:SECRET [--account KEY:SECRET]... [--port N] [--host ADDRESS]\n"
         "                     [--record FILE] [--seed FOLDER] [--light]\n"
         "\n"
         "  --account KEY:SECRET  an application that the service knows; may be repeated\n"
         "  --port N              port to listen on; 0, the default, takes a free one\n"
         "  --host ADDRESS        IPv4 address to listen on; the default is 127.0.0.1\n"
         "  --record FILE         append each request to FILE as a line of JSON\n"
         "  --seed FOLDER         begin with FOLDER's campaigns.json, places.json, configuration.json and\n"
         "                        inbox.json, as far as they are there\n"
         "  --light               keep no bodies and only count events\n";
}

Arguments parseArguments(std::span<char* const> words) {
  Arguments arguments;
  auto& options = arguments.options;
  for (std::size_t i = 0; i < words.size(); ++i) {
    const std::string name = words[i];
    const auto value = [&]() -> std::string {
      if (i + 1 == words.size()) throw std::invalid_argument(name + " needs a value");
      return words[++i];
    };
    if (name == "--help") {
      arguments.wantsHelp = true;
      return arguments;
    }
    if (name == "--account") {
      options.accounts.push_back(accountFrom(value()));
    } else if (name == "--port") {
      options.port = portFrom(value());
    } else if (name == "--host") {
      options.address = value();
    } else if (name == "--record") {
      options.record = value();
    } else if (name == "--seed") {
      options.seed = value();
      if (!std::filesystem::is_directory(options.seed)) {
        throw std::invalid_argument(options.seed + " is no folder");
      }
    } else if (name == "--light") {
      options.lightMode = true;
    } else {
      throw std::invalid_argument("unknown argument " + name);
    }
  }
  if (options.accounts.empty()) throw std::invalid_argument("at least one --account is needed");
  return arguments;
}

}  // namespace sorn::emulator
