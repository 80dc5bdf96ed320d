// What the documents show, as things that a test can run: fenced blocks, programs with the answers
// that stand beside them, bytes in hexadecimal, rows of tables.
//
// A program with its answers stands in a fenced block of the language `lisp`. Each block is a
// conversation with a worker of its own. Lines of code make a program; a line that begins with "; "
// says what happens next:
//
//   ; => TEXT              the program ends with this value
//   ; error: TEXT          or with this message,
//   ; read error: TEXT     or cannot be read,
//   ; step limit: TEXT     or runs out of steps,
//   ; host call: NAME ARGS or waits for this call,
//   ; status: NUMBER       or is answered with this status and nothing else
//   ; steps: NUMBER        after one of these: how many evaluations that took
//   ; answer: TEXT         the host's answer to the call that the program waits for
//   ; system S: NUMBERS    makes S (0 to 4) the system of these eight numbers in context 1, under
//                          which the block's programs run from here on
//
// Code after an answer begins another program. Lines that begin with ";;" are comments.

#ifndef TESTING_FORMATS_DOCUMENT_EXAMPLES_H_
#define TESTING_FORMATS_DOCUMENT_EXAMPLES_H_

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "testing/formats/program_file.h"

namespace testing_support {

// The top of the source tree: the directory that LISP_SOURCE_DIR names, or the current one.
[[nodiscard]] std::filesystem::path sourceDirectory();

// What the file at this path from the top holds; empty when there is none.
[[nodiscard]] std::string readSource(const std::filesystem::path& path);

// The version of the project: CMakeLists.txt is the one place that has it.
[[nodiscard]] std::string projectVersion();

// The text between a line that begins with ``` and the next such line.
struct DocumentBlock {
  int line = 0;         // Of the first line of `text` in the document, from 1.
  std::string heading;  // The last heading before the block, without its number signs.
  std::string info;     // What follows the opening ```, such as "lisp".
  std::string text;     // Whole lines, each with its line feed.
};

// The blocks of a document in their order. One that nothing closes reaches to the end.
[[nodiscard]] std::vector<DocumentBlock> fencedBlocks(std::string_view document);

// The requests and expectations of a `lisp` block, with the document's line numbers.
[[nodiscard]] ProgramFile parseExamples(const DocumentBlock& block);

// Whether one of the programs of a `lisp` block holds a form that begins with `name`.
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

// Whether `text` is `pattern` with something in the place of each of its words in angle brackets:
// "unbound symbol: <name>" fits "unbound symbol: X".
[[nodiscard]] bool fitsPattern(std::string_view text, std::string_view pattern);

}  // namespace testing_support

#endif  // TESTING_FORMATS_DOCUMENT_EXAMPLES_H_
