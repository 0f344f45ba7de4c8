#include "sorn-emulator/Core.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "sorn-emulator/Control.h"
#include "sorn-emulator/JsonText.h"

namespace sorn::emulator {

namespace {

using nlohmann::json;

HttpAnswer refusal(int status, const std::string& reason) {
  return jsonAnswer(status, jsonText(json{{"error", reason}}));
}

std::optional<std::string> contentsOf(const std::filesystem::path& file) {
  if (!std::filesystem::exists(file)) return std::nullopt;
  std::ifstream stream(file, std::ios::binary);
  std::string text{std::istreambuf_iterator<char>(stream), {}};
  if (!stream) throw std::runtime_error("cannot read " + file.string());
  return text;
}

void plant(Core& core, const std::filesystem::path& folder) {
  if (const auto text = contentsOf(folder / "campaigns.json")) {
    core.publications.publish(Document::campaigns, *text, std::nullopt, std::nullopt);
  }
  if (const auto text = contentsOf(folder / "places.json")) {
    core.publications.publish(Document::places, *text, std::nullopt, std::nullopt);
  }
  try {
    if (const auto text = contentsOf(folder / "configuration.json")) core.setConfiguration(*text);
    if (const auto text = contentsOf(folder / "inbox.json")) core.setInbox(*text);
  } catch (const std::invalid_argument& error) {
    throw std::runtime_error(folder.string() + ": " + error.what());
  }
}

// The answer that a fault puts in place of the right one, and the status that the journal notes for it.
void spoil(Reply& reply) {
  const auto& fault = *reply.fault;
  if (fault.kind == Fault::Kind::status) {
    reply.answer = refusal(fault.status, "ordered by a fault");
    if (fault.body) reply.answer.body = *fault.body;
    reply.answer.headers.insert(reply.answer.headers.end(), fault.headers.begin(), fault.headers.end());
  } else if (fault.kind == Fault::Kind::garbage) {
    reply.answer.status = 200;
    reply.answer.body = "<html>\x01\x02 this is neither JSON nor gzip {]";
  }
}

bool givesNoAnswer(const Fault& fault) {
  return fault.kind == Fault::Kind::hang || fault.kind == Fault::Kind::reset ||
         (fault.kind == Fault::Kind::garbage && fault.raw);
}

}  // namespace

Core::Core(std::vector<Account> accounts, const std::string& recordFile, const std::string& seed,
           bool lightMode)
    : journal(recordFile), service(lightMode), accounts_(std::move(accounts)), lightMode_(lightMode) {
  if (!seed.empty()) plant(*this, seed);
}

Reply Core::answer(HttpRequest& request) {
  if (isControlCall(request.path)) return {answerToControl(*this, request), std::nullopt};
  const auto file = publishedFileAt(request.path);
  const auto endpoint = file ? std::nullopt : endpointAt(request.path);
  const auto* host = request.header("Host");
  const auto head = file ? std::string() : signedHead(host ? *host : "", request.path);
  const auto verdict = verdictOn(request, head, accounts_);

  Reply reply;
  reply.fault = faults.take(request.path, file.has_value());
  reply.answer = file ? answerToFile(request, *file) : answerToCall(request, endpoint, verdict, reply.fault);
  if (reply.fault) spoil(reply);
  write(request, reply, verdict, endpoint ? head : std::string());
  return reply;
}

HttpAnswer Core::answerToCall(const HttpRequest& request, std::optional<Endpoint> endpoint, Verdict verdict,
                              const std::optional<Fault>& fault) {
  if (!endpoint) return refusal(404, "there is no such call");
  if (request.method != "POST") return refusal(405, "calls are made with POST");
  if (verdict == Verdict::absent) return refusal(401, "the call is not signed");
  if (verdict == Verdict::invalid) return refusal(401, "the signature is wrong");
  if (fault && !fault->takesContent()) return jsonAnswer(200, "{}");
  return service.call(*endpoint, request.body);
}

HttpAnswer Core::answerToFile(const HttpRequest& request, const PublishedFile& file) {
  if (request.method != "GET") return refusal(405, "published files are only read");
  const bool known = std::ranges::find(accounts_, file.applicationKey, &Account::key) != accounts_.end();
  return known ? publications.answer(file.document) : Publications::missing();
}

void Core::write(HttpRequest& request, const Reply& reply, Verdict verdict, std::string signedHead) {
  static constexpr const char* kinds[] = {"status", "delay", "slow", "hang", "cut", "reset", "garbage"};
  RequestRecord record;
  record.at = request.at;
  record.method = request.method;
  record.path = request.path;
  record.headers = std::move(request.headers);
  record.status = reply.fault && givesNoAnswer(*reply.fault) ? 0 : reply.answer.status;
  record.signature = textOf(verdict);
  if (reply.fault) record.fault = kinds[static_cast<std::size_t>(reply.fault->kind)];
  if (!lightMode_) {
    record.raw = std::move(request.body);
    record.signedHead = std::move(signedHead);
  }
  journal.append(std::move(record));
}

void Core::reset() {
  journal.clear();
  service.clear();
  publications.clear();
  faults.clear();
}

void Core::setConfiguration(std::string_view text) {
  service.setConfiguration(wantedJson(text, "the configuration"));
}

void Core::setInbox(std::string_view text) {
  const auto messages = wantedJson(text, "the inbox");
  if (!messages.is_array()) throw std::invalid_argument("the inbox must be a list of messages");
  service.setInbox(messages);
}

void Core::addPush(std::string_view text) {
  auto push = wantedJson(text, "the push");
  if (!push.is_object()) throw std::invalid_argument("a push must be a dictionary");
  service.addPush(std::move(push));
}

json Core::state() const {
  auto state = service.state();
  state["requests"] = json::array();
  for (const auto& record : journal.records()) state["requests"].push_back(toJson(*record));
  return state;
}

}  // namespace sorn::emulator
