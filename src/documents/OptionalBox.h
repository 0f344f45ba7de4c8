#pragma once

#include <concepts>
#include <memory>
#include <optional>
#include <utility>

namespace sorn::documents {

// An optional value that lies on the heap. Behaves as `std::optional` does, copies included, and takes the
// room of a pointer while it is absent: for members that are large and that most records lack.
template <class T>
class OptionalBox {
 public:
  using value_type = T;

  OptionalBox() = default;
  OptionalBox(std::nullopt_t) {}
  OptionalBox(T value) : value_(std::make_unique<T>(std::move(value))) {}
  OptionalBox(const OptionalBox& other) : value_(other ? std::make_unique<T>(*other) : nullptr) {}
  OptionalBox(OptionalBox&&) noexcept = default;
  OptionalBox& operator=(OptionalBox other) noexcept {
    value_ = std::move(other.value_);
    return *this;
  }
  ~OptionalBox() = default;

  T& emplace() {
    value_ = std::make_unique<T>();
    return *value_;
  }
  void reset() { value_.reset(); }

  bool has_value() const { return value_ != nullptr; }
  explicit operator bool() const { return has_value(); }
  T& operator*() { return *value_; }
  const T& operator*() const { return *value_; }
  T* operator->() { return value_.get(); }
  const T* operator->() const { return value_.get(); }

  friend bool operator==(const OptionalBox& a, const OptionalBox& b) {
    return a && b ? *a == *b : a.has_value() == b.has_value();
  }

 private:
  std::unique_ptr<T> value_;
};

}  // namespace sorn::documents
