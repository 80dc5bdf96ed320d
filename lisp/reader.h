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
#include <vector>

#include "lisp/value.h"

namespace lisp {

// The deepest level at which a form is read; the outermost form stands at level 0.
inline constexpr std::uint32_t kNestingMax = 512;

// The state of one read over `text`, which is borrowed and may hold any bytes.
class Reader {
 public:
  explicit Reader(std::string_view text) : text_(text) {}

  // Advances past white space, bytes 0x1A and comments.
  void skipBlanks();
  [[nodiscard]] bool atEnd() const { return position_ == text_.size(); }

  // Reads one form at `depth` and advances past it. On failure returns nothing, and error() says
  // why; the first failure ends the read.
  [[nodiscard]] std::optional<LispValue> readForm(std::uint32_t depth = 0);
  [[nodiscard]] const std::string& error() const { return error_; }

 private:
  // A form that is being read around the current one: a list, or a quote mark and its operand.
  struct OpenForm {
    bool is_quote;
    std::size_t first_element;  // Of the list, in elements_.
  };

  // What one step of readForm came to.
  enum class Step : std::uint8_t { Opened, Completed, Failed };

  Step beginForm(std::size_t depth, LispValue& form);
  // Puts a completed form into the forms around it; true while a form around it stays open.
  bool placeForm(LispValue& form);
  void skipToLineFeed();
  Step readString(LispValue& form);
  LispValue readAtom();
  Step fail(std::string_view message);

  std::string_view text_;
  std::size_t position_ = 0;
  std::string error_;
  std::vector<OpenForm> open_forms_;
  std::vector<LispValue> elements_;  // Of all open lists, outermost first.
  std::string scratch_;
};

// Reads a text that must hold exactly one form: a host's answer. On failure returns nothing and
// sets `error_out`, when given, to the message; on success clears it.
[[nodiscard]] std::optional<LispValue> parseProgram(std::string_view text, std::string* error_out);

// Reads all forms of a program, none included. On failure returns nothing and sets `error_out`.
[[nodiscard]] std::optional<std::vector<LispValue>> readForms(std::string_view text,
                                                              std::string& error_out);

}  // namespace lisp

#endif  // LISP_READER_H_
