// The reader: program text and host answers become values, or one error message.
//
// Text is bytes; there are no tokens between text and forms and no character sets. Nesting is
// bounded by kNestingMax, and reading does not recurse. Values carry no positions; who wants to
// know where each datum is gets a table of places beside them.

#ifndef LISP_READER_H_
#define LISP_READER_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "lisp/plain_stack.h"
#include "lisp/value.h"

namespace lisp {

// The deepest level at which a form is read; the outermost form stands at level 0.
inline constexpr std::uint32_t kNestingMax = 512;

// Every message of a read that fails. Who explains them to people compares with these.
inline constexpr std::string_view kUnterminatedListMessage = "unterminated list";
inline constexpr std::string_view kUnterminatedStringMessage = "unterminated string";
inline constexpr std::string_view kUnexpectedEndMessage = "unexpected end of input";
inline constexpr std::string_view kUnexpectedCloseMessage = "unexpected ')'";
inline constexpr std::string_view kTooDeepMessage = "parser nesting limit exceeded";
inline constexpr std::string_view kNotOneFormMessage = "expected exactly one form";

// The text of each datum, in the order in which they begin; borrowed from the text that is read.
// 'X is three data: the list 'X, the apostrophe for QUOTE, and X. Of a list that has no end, the
// text is empty, at its beginning.
using Places = std::vector<std::string_view>;

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
  // Reads all forms from here to the end, as one list. Appends the places of their data to `places`
  // unless it is null.
  [[nodiscard]] std::optional<LispValue> readForms(Places* places = nullptr);
  [[nodiscard]] const std::string& error() const { return error_; }
  // The first byte that has not been read. After a failure: the end of the text, or where the datum
  // or the parenthesis begins that cannot be read.
  [[nodiscard]] const char* at() const { return at_; }

 private:
  template <typename Notes>
  [[nodiscard]] std::optional<LispValue> readAll(Notes notes);
  // Read what begins at at_ and advance past it. Tag::Failed on failure, with error_ set.
  template <typename Notes>
  [[nodiscard]] RawValue read(std::uint32_t depth, Notes& notes);
  [[nodiscard]] RawValue readString();
  [[nodiscard]] RawValue readLongString();
  [[nodiscard]] RawValue readNumberOrName();
  [[nodiscard]] RawValue readName();
  [[nodiscard]] RawValue readLongName();

  [[nodiscard]] RawValue fail(std::string_view message);
  void skipComment();

  const char* at_;
  const char* const end_;
  std::string error_;
  PlainStack<RawValue> elements_;  // Of all open lists, outermost first; holds them.
  std::string scratch_;
};

// Both set `error_out`, when given, to the message of a failure, and clear it on success.

// Reads a text that must hold exactly one form, as a host's answer must. Nothing on failure.
[[nodiscard]] std::optional<LispValue> parseProgram(std::string_view text, std::string* error_out);

// Reads all forms of a program, none included, as one list. Nothing on failure.
[[nodiscard]] std::optional<LispValue> readForms(std::string_view text, std::string* error_out);

}  // namespace lisp

#endif  // LISP_READER_H_
