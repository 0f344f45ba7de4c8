#pragma once

#include <optional>
#include <utility>
#include <variant>

namespace sorn::support {

// How an operation says that it failed and why: it returns its value, or `Failure(reason)`. The manner is
// that of std::expected, which the compiler does not have yet. Where there is no reason to tell,
// std::optional says the same.
template <class E>
struct Failure {
  explicit Failure(E reason) : error(std::move(reason)) {}
  E error;
};

// The value, or the error that stands in its place. To look at the wrong one is a fault of the caller.
template <class T, class E>
class [[nodiscard]] Result {
 public:
  Result(T value) : held_(std::in_place_index<0>, std::move(value)) {}
  template <class Reason>
  Result(Failure<Reason> failure) : held_(std::in_place_index<1>, std::move(failure.error)) {}

  explicit operator bool() const { return held_.index() == 0; }
  T& operator*() & { return *std::get_if<0>(&held_); }
  const T& operator*() const& { return *std::get_if<0>(&held_); }
  T&& operator*() && { return std::move(*std::get_if<0>(&held_)); }
  T* operator->() { return std::get_if<0>(&held_); }
  const T* operator->() const { return std::get_if<0>(&held_); }

  T value_or(T otherwise) const& { return *this ? **this : std::move(otherwise); }
  T value_or(T otherwise) && { return *this ? *std::move(*this) : std::move(otherwise); }

  E& error() & { return *std::get_if<1>(&held_); }
  const E& error() const& { return *std::get_if<1>(&held_); }
  E&& error() && { return std::move(*std::get_if<1>(&held_)); }

 private:
  std::variant<T, E> held_;
};

// The outcome of an operation that has nothing to give but may fail: done, or the error.
template <class E>
class [[nodiscard]] Result<void, E> {
 public:
  Result() = default;
  template <class Reason>
  Result(Failure<Reason> failure) : error_(std::move(failure.error)) {}

  explicit operator bool() const { return !error_; }
  const E& error() const { return *error_; }

 private:
  std::optional<E> error_;
};

}  // namespace sorn::support
