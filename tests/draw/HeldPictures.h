#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "sorn/platform/MainQueue.h"
#include "sorn/view/ImageSource.h"

namespace sorn::draw {

// Keeps what is asked for until the test answers it.
class HeldSource : public view::ImageSource {
 public:
  std::unique_ptr<Fetch> fetch(const std::string& url, Completion completion) override {
    struct Held : Fetch {
      explicit Held(int& count) : ends(count) {}
      ~Held() override { ++ends; }
      int& ends;
    };
    open[url] = std::move(completion);
    return std::make_unique<Held>(ended);
  }

  std::map<std::string, Completion> open;
  int ended = 0;
};

// Keeps what is posted until the test runs it.
struct HeldQueue : platform::MainQueue {
  void post(std::function<void()> work) override { works.push_back(std::move(work)); }
  void postAfter(std::chrono::duration<double>, std::function<void()>) override {}
  void run() {
    for (const auto& work : std::exchange(works, {})) work();
  }
  std::vector<std::function<void()>> works;
};

}  // namespace sorn::draw
