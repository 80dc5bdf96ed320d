// Reads a program with all files that its comments name: libraries, which may name others, and a
// drawing.

#include "console/program.h"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <set>
#include <sstream>
#include <system_error>
#include <utility>

#include "console/files.h"
#include "console/own_path.h"

namespace lisp_worker::console {
namespace {

std::optional<std::string> withoutMark(std::optional<std::string> text) {
  if (text && text->starts_with(kByteOrderMark)) text->erase(0, kByteOrderMark.size());
  return text;
}

std::optional<std::string> readText(const std::string& path, std::string& error) {
  return withoutMark(readFile(path, error));
}

struct Files {
  std::vector<std::filesystem::path> open;  // On the way to the one that is being read.
  std::set<std::filesystem::path> read;     // Libraries; each is loaded where it is first named.
  OpenTexts open_texts = {};
};

std::optional<std::string> readStandardInput(std::string& error) {
  std::ostringstream text;
  text << std::cin.rdbuf();
  if (!std::cin.bad()) return std::move(text).str();
  error = std::string(kStandardInputName) + ": cannot be read";
  return std::nullopt;
}

std::optional<Program> readAt(const std::string& path, Files& files, std::string& error);

std::optional<Program> complete(const std::string& path, std::optional<std::string> text,
                                Files& files, std::string& error) {
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
  const auto blame = [&](const NamedFile& file) {
    error = path + ": line " + std::to_string(file.line) + ": " + error;
    return std::nullopt;
  };
  if (program.script.drawing) {
    program.sheet = readSheetFile((directory / program.script.drawing->path).string(), error);
    if (!program.sheet) return blame(*program.script.drawing);
  }
  std::error_code failure;
  files.open.push_back(std::filesystem::weakly_canonical(path, failure));
  for (const NamedFile& library : program.script.libraries) {
    const std::filesystem::path library_path = libraryPath(directory, library.path);
    const auto name = std::filesystem::weakly_canonical(library_path, failure);
    if (std::find(files.open.begin(), files.open.end(), name) != files.open.end()) {
      error = library_path.string() + ": loads itself";
      return blame(library);
    }
    if (!files.read.insert(name).second) continue;
    auto loaded = readAt(library_path.string(), files, error);
    if (!loaded) return blame(library);
    program.libraries.push_back(std::move(*loaded));
  }
  files.open.pop_back();
  return program;
}

std::optional<Program> readAt(const std::string& path, Files& files, std::string& error) {
  const std::string* const open_text = files.open_texts ? files.open_texts(path) : nullptr;
  auto text = open_text == nullptr ? readText(path, error) : withoutMark(*open_text);
  return complete(path, std::move(text), files, error);
}

}  // namespace

std::string libraryPath(const std::filesystem::path& directory, const std::string& named) {
  const std::filesystem::path path = directory / named;
  std::error_code failure;
  if (std::filesystem::exists(path, failure) || std::filesystem::path(named).is_absolute()) {
    return path.string();
  }
  // In the tree that this program was built in, and where it is installed.
  const std::filesystem::path own = std::filesystem::path(workerBeside()).parent_path();
  for (const std::filesystem::path& root : {own / ".." / "..", own / "../share/doc/lisp-worker"}) {
    const std::filesystem::path shipped = (root / named).lexically_normal();
    if (std::filesystem::is_regular_file(shipped, failure)) return shipped.string();
  }
  return path.string();
}

std::optional<Program> readProgram(const std::string& path, std::string& error) {
  Files files;
  if (path != "-") return readAt(path, files, error);
  return complete(kStandardInputName, withoutMark(readStandardInput(error)), files, error);
}

std::optional<Program> readOpenProgram(const std::string& path, std::string text,
                                       const OpenTexts& open_texts, std::string& error) {
  Files files{.open = {}, .read = {}, .open_texts = open_texts};
  return complete(path, withoutMark(std::move(text)), files, error);
}

std::optional<std::string> readBytes(const std::string& path, std::string& error) {
  return path == "-" ? readStandardInput(error) : readFile(path, error);
}

std::optional<Program> makeProgram(std::string_view name, std::string_view text,
                                   std::string& error) {
  auto script = readScript(text, error);
  if (!script) return std::nullopt;
  if (script->drawing || !script->libraries.empty()) {
    error = "only a file can name other files";
    return std::nullopt;
  }
  return Program{
      .name = std::string(name), .text = std::string(text), .script = std::move(*script)};
}

std::optional<std::vector<ScriptedAnswer>> readAnswers(const std::string& path,
                                                       std::string& error) {
  const auto text = readText(path, error);
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

}  // namespace lisp_worker::console
