// The reader: program text and host answers become values, or one error message.
//
// Text is bytes; there are no tokens between text and forms, no positions and no character sets.
// Nesting is bounded by kNestingMax, and reading does not recurse.

#ifndef LISP_READER_H_
#define LISP_READER_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "lisp/plain_stack.h"
#include "lisp/value.h"

namespace lisp {

// The deepest level at which a form is read; the outermost form stands at level 0.
inline constexpr std::uint32_t kNestingMax = 512;

// The state of one read over `text`, which is borrowed and may hold any bytes.
class Reader {
 public:
  explicit Reader(std::string_view text) : at_(text.data()), end_(text.data() + text.size()) {}
  ~Reader();
  Reader(const Reader&) = delete;
  Reader& operator=(const Reader&) = delete;

  // Advances past white space, bytes 0x1A and comments.
  void skipBlanks();
  [[nodiscard]] bool atEnd() const { return at_ == end_; }

  // Reads one form at `depth` and advances past it. On failure returns nothing, and error() says
  // why; the first failure ends the read.
  [[nodiscard]] std::optional<LispValue> readForm(std::uint32_t depth = 0);
  // Reads all forms from here to the end, as one list.
  [[nodiscard]] std::optional<LispValue> readForms();
  [[nodiscard]] const std::string& error() const { return error_; }

 private:
  // Read what begins at at_ and advance past it. Tag::Failed on failure, with error_ set.
  RawValue read(std::uint32_t depth);
  RawValue readString();
  RawValue readLongString();
  RawValue readNumberOrName();
  RawValue readName();
  RawValue readLongName();

  RawValue fail(std::string_view message);
  void skipComment();

  const char* at_;
  const char* const end_;
  std::string error_;
  PlainStack<RawValue> elements_;  // Of all open lists, outermost first; holds them.
  std::string scratch_;
};

// Reads a text that must hold exactly one form: a host's answer. On failure returns nothing and
// sets `error_out`, when given, to the message; on success clears it.
[[nodiscard]] std::optional<LispValue> parseProgram(std::string_view text, std::string* error_out);

// Reads all forms of a program, none included, as one list. On failure returns nothing and sets
// `error_out`.
[[nodiscard]] std::optional<LispValue> readForms(std::string_view text, std::string& error_out);

}  // namespace lisp

#endif  // LISP_READER_H_
