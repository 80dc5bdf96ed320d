// The program as its user starts it, and what it leaves behind after many saves.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <thread>

#include "testing/base/test_environment.h"

namespace lisp_worker::console {
namespace {

using testing::MatchesRegex;
using testing_support::environment;

class WatchProgram : public testing::Test {
 protected:
  WatchProgram() {
    std::filesystem::create_directories(directory_);
    save(0);
    std::array<int, 2> ends{};
    EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
    child = ::fork();
    if (child == 0) {
      ::dup2(ends[1], STDOUT_FILENO);
      const std::string console = environment("LISP_CONSOLE_PATH");
      const std::string worker = environment("LISP_WORKER_PATH");
      ::execl(console.c_str(), console.c_str(), "watch", "--worker", worker.c_str(),
              path("a.lsp").c_str(), static_cast<char*>(nullptr));
      ::_exit(127);
    }
    ::close(ends[1]);
    output_ = ends[0];
  }
  ~WatchProgram() override {
    if (child > 0) ::kill(child, SIGKILL);
    if (child > 0) ::waitpid(child, nullptr, 0);
    ::close(output_);
    std::filesystem::remove_all(directory_);
  }

  [[nodiscard]] std::string path(const std::string& name) const { return directory_ / name; }

  // Each program leaves its number in a drawing of its own size.
  void save(int number) const {
    std::ofstream(path("part"), std::ios::binary)
        << "(COMMAND \"CIRCLE\" \"0,0\" " << number % 7 + 1 << ")\n; " << number << "\n";
    std::filesystem::rename(path("part"), path("a.lsp"));
  }

  std::string readLine() const {
    std::string line;
    for (char c = 0; ::read(output_, &c, 1) == 1 && c != '\n';) line += c;
    return line;
  }

  // The entries of a directory in which the system tells of the console.
  [[nodiscard]] std::size_t count(const std::string& what) const {
    const std::filesystem::path directory = "/proc/" + std::to_string(child) + "/" + what;
    return static_cast<std::size_t>(
        std::distance(std::filesystem::directory_iterator(directory), {}));
  }

  // Of memory, in KiB.
  [[nodiscard]] int resident() const {
    std::ifstream status("/proc/" + std::to_string(child) + "/status");
    for (std::string line; std::getline(status, line);) {
      if (line.starts_with("VmRSS:")) return std::stoi(line.substr(6));
    }
    return 0;
  }

  // The exit code after Ctrl-C; -1 when it has not ended well within a second.
  int interrupt() {
    ::kill(child, SIGINT);
    int status = 0;
    for (int n = 0; n < 100; ++n) {
      if (::waitpid(child, &status, WNOHANG) == child) {
        child = 0;
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
      }
      std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    return -1;
  }

  pid_t child = 0;

 private:
  std::filesystem::path directory_ =
      std::filesystem::temp_directory_path() / ("lisp_watch_program." + std::to_string(::getpid()));
  int output_ = -1;
};

TEST_F(WatchProgram, TellsItsAddressAndEndsByCtrlC) {
  EXPECT_THAT(readLine(), MatchesRegex("watching .*a\\.lsp at http://127\\.0\\.0\\.1:[0-9]+/"
                                       "[0-9a-f]+/   Ctrl-C ends it"));
  EXPECT_EQ(interrupt(), 0);
}

TEST_F(WatchProgram, LeavesNothingBehindAfterManySaves) {
  readLine();
  const auto saveMany = [this](int first, int last) {
    for (int n = first; n < last; ++n) {
      save(n);
      std::this_thread::sleep_for(std::chrono::milliseconds(40));
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
  };
  saveMany(1, 20);
  const std::size_t descriptors = count("fd");
  const std::size_t threads = count("task");
  const int memory = resident();
  saveMany(20, 120);
  EXPECT_EQ(count("fd"), descriptors);
  EXPECT_EQ(count("task"), threads);
  // A sanitizer keeps what was freed, to see its use.
  const int growth_max = testing_support::isSanitized() ? 65536 : 8192;
  EXPECT_LT(resident(), memory + growth_max);
  EXPECT_EQ(interrupt(), 0);
}

}  // namespace
}  // namespace lisp_worker::console
