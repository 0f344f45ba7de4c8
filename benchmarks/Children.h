#pragma once

// Child processes of the benchmarks: the service, and programs that are run and measured as a whole.

#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace sorn::bench {

// A child that is running, its standard output at our end of a pipe.
class Child {
 public:
  // A program that lies beside this one.
  Child(std::string_view program, std::vector<std::string> arguments);
  // Ends the child if it is still there.
  ~Child();
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  std::string readLine();
  // Waits for its own end; throws when it failed.
  void wait();

 private:
  std::string name_;
  pid_t process_ = -1;
  int output_ = -1;
};

// The emulator with the benchmarks' account, keeping no bodies.
class Service {
 public:
  Service();
  const std::string& origin() const { return origin_; }

 private:
  Child child_;
  std::string origin_;
};

}  // namespace sorn::bench
