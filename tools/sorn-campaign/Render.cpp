// `sorn-campaign render`: a picture of a campaign as its user will see it, without a display.

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>

#include "sorn-campaign/CampaignFile.h"
#include "sorn-campaign/Lengths.h"
#include "sorn-campaign/Options.h"
#include "sorn-campaign/Renderer.h"
#include "sorn-campaign/Subcommand.h"

namespace sorn::tool {

namespace {

struct Question {
  std::string file;
  std::string out;
  std::optional<std::string> id;
  Renderer::Options options{{390, 844}, 1, std::nullopt};
  bool watches = false;
};

template <class Value>
bool take(std::optional<Value> read, Value& value) {
  if (!read) return false;
  value = *std::move(read);
  return true;
}

std::optional<double> readScale(std::string_view text) {
  constexpr double largest = 16;
  const auto scale = readLength(text);
  return scale && *scale > 0 && *scale <= largest ? scale : std::nullopt;
}

Taken readOption(std::string_view option, std::string_view value, Question& question) {
  const auto taken = [](bool isRead) { return isRead ? Taken::withValue : Taken::refused; };
  const auto word = value.empty() ? std::nullopt : std::optional(std::string(value));
  if (option == "--watch") {
    question.watches = true;
    return Taken::alone;
  }
  if (option == "--out") return taken(take(word, question.out));
  if (option == "--size") return taken(take(readSize(value), question.options.size));
  if (option == "--scale") return taken(take(readScale(value), question.options.scale));
  if (option == "--id") return taken((question.id = word).has_value());
  if (option == "--font") return taken((question.options.family = word).has_value());
  return Taken::unknown;
}

int renderOnce(const Question& question, Renderer& renderer) {
  auto campaign = readCampaign(question.file, question.id);
  if (!campaign) return failed;
  if (draw::writePng(renderer.render(*std::move(campaign)), question.out)) return done;
  std::fprintf(stderr, "sorn-campaign: %s: the picture can't be written\n", question.out.c_str());
  return failed;
}

// What changes when somebody saves the file, also by putting another in its place.
struct Trace {
  std::filesystem::file_time_type written;
  std::uintmax_t size = 0;

  static Trace of(const std::string& file) {
    std::error_code error;
    return {std::filesystem::last_write_time(file, error), std::filesystem::file_size(file, error)};
  }
  bool operator==(const Trace&) const = default;
};

// Until the process is ended.
[[noreturn]] void watch(const Question& question, Renderer& renderer) {
  using namespace std::chrono_literals;
  Trace seen;
  for (;; std::this_thread::sleep_for(100ms)) {
    const Trace now = Trace::of(question.file);
    if (now == seen) continue;
    seen = now;
    if (renderOnce(question, renderer) != done) continue;
    std::printf("%s\n", question.out.c_str());
    std::fflush(stdout);
  }
}

}  // namespace

int runRender(Arguments arguments) {
  Question question;
  const auto handler = [&](auto option, auto value) { return readOption(option, value, question); };
  if (const auto reason = readOptions(arguments, question.file, handler)) return refuse(*reason);
  if (question.out.empty()) return refuse("--out PNG is wanted");
  Renderer renderer(question.options);
  if (question.watches) watch(question, renderer);
  return renderOnce(question, renderer);
}

}  // namespace sorn::tool
