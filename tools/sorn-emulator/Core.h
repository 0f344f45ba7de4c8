#pragma once

// The emulator without its sockets: a request in, an answer and perhaps a fault out. Any thread may call.

#include <optional>
#include <string>
#include <vector>

#include "sorn-emulator/Account.h"
#include "sorn-emulator/Faults.h"
#include "sorn-emulator/Http.h"
#include "sorn-emulator/Journal.h"
#include "sorn-emulator/Publications.h"
#include "sorn-emulator/Service.h"
#include "sorn-emulator/Signature.h"

namespace sorn::emulator {

struct Reply {
  HttpAnswer answer;
  std::optional<Fault> fault;
};

class Core {
 public:
  // `seed` is a folder, or empty: its files campaigns.json, places.json, configuration.json and inbox.json,
  // each optional, are what is published and answered from the beginning. Throws std::runtime_error when one
  // can't be read, or the record file can't be written.
  Core(std::vector<Account> accounts, const std::string& recordFile, const std::string& seed, bool lightMode);

  // Answers a request and writes it down; the body moves out of it.
  Reply answer(HttpRequest& request);

  // Forgets everything that came in and everything that was ordered, the seed included.
  void reset();

  // Each throws std::invalid_argument, and changes nothing, when the text is not the JSON that it must be.
  void setConfiguration(std::string_view json);
  void setInbox(std::string_view json);
  void addPush(std::string_view json);

  nlohmann::json state() const;

  Journal journal;
  Service service;
  Publications publications;
  FaultPlan faults;

 private:
  HttpAnswer answerToCall(const HttpRequest& request, std::optional<Endpoint> endpoint, Verdict verdict,
                          const std::optional<Fault>& fault);
  HttpAnswer answerToFile(const HttpRequest& request, const PublishedFile& file);
  void write(HttpRequest& request, const Reply& reply, Verdict verdict, std::string signedHead);

  const std::vector<Account> accounts_;
  const bool lightMode_;
};

}  // namespace sorn::emulator
