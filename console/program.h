// A program to run: its file, what its comments say, and the files that these name.

#ifndef CONSOLE_PROGRAM_H_
#define CONSOLE_PROGRAM_H_

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "console/drawing_file.h"
#include "console/script.h"

namespace lisp_worker::console {

// The name of "-" in messages.
inline constexpr const char* kStandardInputName = "standard input";

// Some editors put it in front of a text, where no one sees it and the language takes it for a
// name. A program is read without it.
inline constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

struct Program {
  std::string name;  // As messages call it: its path.
  std::string text;
  Script script = {};
  std::optional<Sheet> sheet = {};  // The drawing that it begins with; otherwise what is there.
  // Run before it, quietly. One that several name is here once, where it is first named.
  std::vector<Program> libraries = {};
};

// Reads a program, and what its comments name relative to its own directory. Empty when one of the
// files cannot be used, with the reason in `error`: the file in front, then the line. The path "-"
// is standard input, read to its end; names of files in it count from the working directory.
[[nodiscard]] std::optional<Program> readProgram(const std::string& path, std::string& error);

// Texts that an editor holds, by path, in the place of what the files have; null for all others.
using OpenTexts = std::function<const std::string*(const std::filesystem::path& path)>;

// The same for a text that an editor has open under `path`; its libraries may be open too.
[[nodiscard]] std::optional<Program> readOpenProgram(const std::string& path, std::string text,
                                                     const OpenTexts& open_texts,
                                                     std::string& error);

// All bytes of a program: of a file, or of standard input for "-". Empty with the reason in
// `error`.
[[nodiscard]] std::optional<std::string> readBytes(const std::string& path, std::string& error);

// The path of a library that is named in a file of `directory`: in that directory; else, for one
// that comes with this program such as "examples/lib/lists.lsp", where that is. In the directory
// when there is neither.
[[nodiscard]] std::string libraryPath(const std::filesystem::path& directory,
                                      const std::string& named);

// A program without files of its own, such as a line that a person has typed. Its comments may not
// name files.
[[nodiscard]] std::optional<Program> makeProgram(std::string_view name, std::string_view text,
                                                 std::string& error);

// The answers of a file: lines of a host call's name and an answer, as in GETPOINT (10 20 0), empty
// lines and lines that begin with a semicolon.
[[nodiscard]] std::optional<std::vector<ScriptedAnswer>> readAnswers(const std::string& path,
                                                                     std::string& error);

// The drawing in a file.
[[nodiscard]] std::optional<Sheet> readSheetFile(const std::string& path, std::string& error);

}  // namespace lisp_worker::console

#endif  // CONSOLE_PROGRAM_H_
