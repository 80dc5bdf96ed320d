// Parts of the documents that a test can check: fenced blocks, bytes in hexadecimal, the rows of
// tables. A block of the language `lisp` is a conversation with a worker of its own, in the
// notation of testing/formats/program_file.h.

#ifndef TESTING_FORMATS_DOCUMENT_EXAMPLES_H_
#define TESTING_FORMATS_DOCUMENT_EXAMPLES_H_

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "testing/formats/program_file.h"

namespace lisp_worker::testing_support {

// The top of the source tree: the directory that LISP_SOURCE_DIR names, or the current one.
[[nodiscard]] std::filesystem::path sourceDirectory();

// The contents of the file at this path from the top; empty when there is none.
[[nodiscard]] std::string readSource(const std::filesystem::path& path);

// The version of the project: CMakeLists.txt is the one place that has it.
[[nodiscard]] std::string projectVersion();

// The text between a line that begins with ``` and the next such line.
struct DocumentBlock {
  int line = 0;         // Of the first line of `text` in the document, from 1.
  std::string heading;  // The last heading before the block, without its number signs.
  std::string info;     // The text after the opening ```, such as "lisp".
  std::string text;     // Whole lines, each with its line feed.
};

// The blocks of a document in their order. One that nothing closes reaches to the end.
[[nodiscard]] std::vector<DocumentBlock> fencedBlocks(std::string_view document);

// Tells if one of the programs holds a form that begins with `name`.
[[nodiscard]] bool calls(const ProgramFile& examples, std::string_view name);

// The bytes of a block in hexadecimal: on each line bytes of two digits with one space between
// them, then, after two spaces or more, anything. Empty when a line begins with something else.
[[nodiscard]] std::optional<std::string> bytesOfHex(std::string_view text);

// The texts in single backquotes, in their order. `text` must not hold fenced blocks.
[[nodiscard]] std::vector<std::string> codeSpans(std::string_view text);

// The cells of the rows of all tables under `heading`, without the space around them. The first two
// rows of a table, its head and its rule, are rows like the others.
[[nodiscard]] std::vector<std::vector<std::string>> tableRows(std::string_view document,
                                                              std::string_view heading);

// The sizes of the records under `heading` whose rows begin with an offset and a size. A record
// begins at offset 0. One with a gap or an overlap has size 0.
[[nodiscard]] std::vector<std::size_t> recordSizesOf(std::string_view document,
                                                     std::string_view heading);

// True when `text` is `pattern` with something in the place of each of its words in angle brackets:
// "unbound symbol: <name>" fits "unbound symbol: X".
[[nodiscard]] bool fitsPattern(std::string_view text, std::string_view pattern);

}  // namespace lisp_worker::testing_support

#endif  // TESTING_FORMATS_DOCUMENT_EXAMPLES_H_
