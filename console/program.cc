#include "console/program.h"

#include <cstddef>
#include <filesystem>
#include <utility>

#include "console/files.h"

namespace console {
namespace {

// A library of a library of ... ; a file that names itself would go on for ever.
constexpr std::size_t kLibraryDepthMax = 8;

std::optional<Program> readAt(const std::string& path, std::size_t depth, std::string& error) {
  auto text = readFile(path, error);
  if (!text) return std::nullopt;
  Program program{.name = path, .text = std::move(*text)};
  std::string reason;
  auto script = readScript(program.text, reason);
  if (!script) {
    error = path + ": " + reason;
    return std::nullopt;
  }
  program.script = std::move(*script);
  const std::filesystem::path directory = std::filesystem::path(path).parent_path();
  if (!program.script.drawing_path.empty()) {
    program.sheet = readSheetFile((directory / program.script.drawing_path).string(), error);
    if (!program.sheet) return std::nullopt;
  }
  for (const std::string& library : program.script.library_paths) {
    if (depth == kLibraryDepthMax) {
      error = path + ": libraries that load each other";
      return std::nullopt;
    }
    auto loaded = readAt((directory / library).string(), depth + 1, error);
    if (!loaded) return std::nullopt;
    program.libraries.push_back(std::move(*loaded));
  }
  return program;
}

}  // namespace

std::optional<Program> readProgram(const std::string& path, std::string& error) {
  return readAt(path, 0, error);
}

std::optional<Program> makeProgram(std::string_view name, std::string_view text,
                                   std::string& error) {
  auto script = readScript(text, error);
  if (!script) return std::nullopt;
  if (!script->drawing_path.empty() || !script->library_paths.empty()) {
    error = "only a file can name other files";
    return std::nullopt;
  }
  return Program{
      .name = std::string(name), .text = std::string(text), .script = std::move(*script)};
}

std::optional<std::vector<ScriptedAnswer>> readAnswers(const std::string& path,
                                                       std::string& error) {
  const auto text = readFile(path, error);
  if (!text) return std::nullopt;
  std::string reason;
  auto answers = readAnswerLines(*text, reason);
  if (!answers) error = path + ": " + reason;
  return answers;
}

std::optional<Sheet> readSheetFile(const std::string& path, std::string& error) {
  const auto text = readFile(path, error);
  if (!text) return std::nullopt;
  std::string reason;
  auto sheet = readSheet(*text, reason);
  if (!sheet) error = path + ": " + reason;
  return sheet;
}

}  // namespace console
