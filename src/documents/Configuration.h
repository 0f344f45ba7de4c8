#pragma once

#include <cstdint>
#include <tuple>

#include "documents/Record.h"

namespace sorn::documents {

// A boolean that the service may also send as a number: 1 is true, any other integer false.
struct LooseBoolean {
  static bool decode(const support::Node& node, bool& value, DecodingFailure& failure) {
    if (node.read(value) == support::ReadStatus::ok) return true;
    std::int64_t number = 0;
    const support::ReadStatus status = node.read(number);
    if (status != support::ReadStatus::ok) return failure.check(status, node, "a boolean or an integer");
    value = number == 1;
    return true;
  }
  static void encode(support::Writer& writer, bool value) { writer.boolean(value); }
};

struct Features {
  bool push = false;
  bool reportUsage = false;
  bool macroLocation = false;
  bool inApp = false;

  bool operator==(const Features&) const = default;
};

struct EventOptions {
  std::int64_t batchTimeout = 0;  // seconds
  std::int64_t batchSize = 0;     // events

  bool operator==(const EventOptions&) const = default;
};

// What the service says about the account: which features it has, and how events are batched.
struct Configuration {
  Features features;
  EventOptions eventOptions;

  bool operator==(const Configuration&) const = default;
};

template <>
struct Description<Features> {
  static constexpr auto fields =
      std::tuple{required("push", &Features::push, LooseBoolean()),
                 required("report_usage", &Features::reportUsage, LooseBoolean()),
                 optional("macro_location", &Features::macroLocation, LooseBoolean()),
                 optional("inapp", &Features::inApp, LooseBoolean())};
};

template <>
struct Description<EventOptions> {
  static constexpr auto fields = std::tuple{required("batch_timeout", &EventOptions::batchTimeout),
                                            required("batch_size", &EventOptions::batchSize)};
};

template <>
struct Description<Configuration> {
  static constexpr auto fields = std::tuple{required("features", &Configuration::features),
                                            required("events_options", &Configuration::eventOptions)};
};

}  // namespace sorn::documents
