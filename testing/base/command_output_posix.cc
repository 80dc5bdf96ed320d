// By popen().

#include <gtest/gtest.h>
#include <stdio.h>
#include <sys/wait.h>

#include <array>
#include <cstddef>
#include <cstdio>

#include "testing/base/command_output.h"

namespace lisp_worker::testing_support {

CommandOutput runCommand(const std::string& command) {
  CommandOutput output;
  FILE* const pipe = ::popen(command.c_str(), "r");
  EXPECT_NE(pipe, nullptr) << command;
  if (pipe == nullptr) return output;
  std::array<char, 4096> buffer{};
  while (const std::size_t count = std::fread(buffer.data(), 1, buffer.size(), pipe)) {
    output.text.append(buffer.data(), count);
  }
  const int status = ::pclose(pipe);
  if (WIFEXITED(status)) output.exit_code = WEXITSTATUS(status);
  return output;
}

}  // namespace lisp_worker::testing_support
