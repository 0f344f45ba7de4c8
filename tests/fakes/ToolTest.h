#pragma once

#include <cstdio>
#include <string>

#include <gtest/gtest.h>
#include <sys/wait.h>

#include "fakes/TemporaryFolder.h"

namespace sorn::tests {

// The tool that is the target's SORN_TOOL, run as a user runs it, in a folder of its own.
class ToolTest : public ::testing::Test {
 protected:
  struct Outcome {
    int status = -1;
    std::string output;  // standard output
    std::string errors;  // standard error
  };

  Outcome shell(const std::string& command) const {
    Outcome run;
    const std::string line = "cd '" + folder_.path().string() + "' && { " + command + "; } 2>errors";
    std::FILE* pipe = ::popen(line.c_str(), "r");
    if (!pipe) return run;
    char piece[4096];
    while (const std::size_t count = std::fread(piece, 1, sizeof piece, pipe)) {
      run.output.append(piece, count);
    }
    const int status = ::pclose(pipe);
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    run.errors = folder_.read("errors");
    return run;
  }
  Outcome tool(const std::string& arguments) const { return shell(SORN_TOOL " " + arguments); }

  const tests::TemporaryFolder folder_;
};

}  // namespace sorn::tests
