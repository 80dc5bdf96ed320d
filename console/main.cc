// lisp_console: an example host. Runs LISP programs in a worker and shows the conversation.

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <fstream>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "client/names.h"
#include "client/process.h"
#include "client/worker_client.h"
#include "console/command_line.h"
#include "console/script.h"
#include "console/session.h"

namespace console {
namespace {

// command_line.cc tells the user what they mean.
enum class ExitCode : std::uint8_t {
  AllAsExpected = 0,
  SomeUnexpected = 1,
  UnusableInput = 2,
  WorkerBroken = 3,
};

struct Program {
  std::string path;
  std::string text;
  Script script;
};

ExitCode complain(ExitCode code, const std::string& what) {
  std::cerr << "lisp_console: " << what << "\n";
  return code;
}

std::optional<std::string> readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file.is_open()) return std::nullopt;
  std::string text;
  std::array<char, 65536> buffer{};
  while (file.read(buffer.data(), buffer.size()) || file.gcount() > 0) {
    text.append(buffer.data(), static_cast<std::size_t>(file.gcount()));
  }
  if (file.bad()) return std::nullopt;
  return text;
}

std::optional<std::vector<Program>> readPrograms(const std::vector<std::string>& paths,
                                                 std::string& error) {
  std::vector<Program> programs;
  for (const std::string& path : paths) {
    auto text = readFile(path);
    if (!text) {
      error = path + ": cannot be read";
      return std::nullopt;
    }
    std::string reason;
    auto script = readScript(*text, reason);
    if (!script) {
      error = path + ": " + reason;
      return std::nullopt;
    }
    programs.push_back({path, std::move(*text), std::move(*script)});
  }
  return programs;
}

ExitCode runPrograms(const std::vector<Program>& programs, client::WorkerProcess& process) {
  client::WorkerClient worker(process);
  Session session(worker, std::cout);
  ExitCode exit_code = ExitCode::AllAsExpected;
  for (const Program& program : programs) {
    const ProgramEnd end = session.run(program.path, program.text, program.script);
    if (end == ProgramEnd::Broken) break;
    if (end == ProgramEnd::Unexpected) exit_code = ExitCode::SomeUnexpected;
  }
  if (!worker.fault()) session.printDrawing();
  if (!worker.fault() && worker.shutdown()) {
    const client::WorkerExit exit = process.finish();
    if (exit == client::WorkerExit{client::WorkerExit::Kind::Exited, 0}) return exit_code;
    return complain(ExitCode::WorkerBroken, client::describeExit(exit));
  }
  std::cout.flush();
  return complain(ExitCode::WorkerBroken,
                  worker.fault()->message + "; " + client::describeExit(process.finish()));
}

ExitCode run(const std::vector<std::string_view>& arguments) {
  std::string error;
  const auto command_line = parseCommandLine(arguments, error);
  if (!command_line) return complain(ExitCode::UnusableInput, error + " (--help tells more)");
  if (command_line->help) {
    std::cout << kUsage;
    return ExitCode::AllAsExpected;
  }
  const auto programs = readPrograms(command_line->program_paths, error);
  if (!programs) return complain(ExitCode::UnusableInput, error);
  const auto process = client::startWorker(command_line->worker_path, &error);
  if (process == nullptr) {
    return complain(ExitCode::WorkerBroken, command_line->worker_path + ": " + error);
  }
  return runPrograms(*programs, *process);
}

}  // namespace
}  // namespace console

int main(int argc, char** argv) {
  const std::vector<std::string_view> arguments(argv + std::min(argc, 1), argv + argc);
  return static_cast<int>(console::run(arguments));
}
