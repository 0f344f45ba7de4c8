#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <utility>

namespace sorn::facade {

// A service made on its first use, once, whichever thread comes first. Making one may need others.
template <class Service>
class Lazy {
 public:
  template <class Make>
  Service& get(Make&& make) {
    std::call_once(made_, [&] { service_ = make(); });
    return *service_;
  }
  // The service if it has been made; for the time after which nobody makes it any more.
  Service* ifMade() const { return service_.get(); }
  void reset() { service_.reset(); }

 private:
  std::once_flag made_;
  std::unique_ptr<Service> service_;
};

}  // namespace sorn::facade
