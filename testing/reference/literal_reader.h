// The reader of the literal implementation: text to values, byte by byte, as plainly as possible.

#ifndef TESTING_REFERENCE_LITERAL_READER_H_
#define TESTING_REFERENCE_LITERAL_READER_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "testing/reference/literal_value.h"

namespace lisp_worker::testing_support {

// Reads forms one after another from a borrowed text.
class LiteralReader {
 public:
  explicit LiteralReader(std::string_view text) : text_(text) {}

  // Moves past white space, bytes 26 and comments.
  void skipBlanks();
  // True when every byte of the text has been passed.
  [[nodiscard]] bool atEnd() const { return position_ >= text_.size(); }
  // Index of the next unread byte.
  [[nodiscard]] std::size_t position() const { return position_; }
  // The message of the failed read; empty while nothing has failed.
  [[nodiscard]] const std::string& error() const { return error_; }

  // Reads one form at nesting level `depth`; empty on failure, and error() then tells why.
  std::optional<LiteralValue> readForm(std::uint32_t depth);

 private:
  std::optional<LiteralValue> fail(const char* message);
  std::optional<LiteralValue> readList(std::uint32_t depth);
  std::optional<LiteralValue> readQuoted(std::uint32_t depth);
  std::optional<LiteralValue> readString();
  std::optional<LiteralValue> readAtom();

  std::string_view text_;
  std::size_t position_ = 0;
  std::string error_;
};

// Reads a text that must hold exactly one form: how a host's answer is read. On failure the
// result is empty and `error_out` holds the message; on success `error_out` is emptied.
std::optional<LiteralValue> literalParseSingle(std::string_view text, std::string* error_out);

// Reads a text of any number of forms, none included: how a program is read. On failure the
// result is empty and `error_out` holds the message.
std::optional<std::vector<LiteralValue>> literalParseAll(std::string_view text,
                                                         std::string* error_out);

}  // namespace lisp_worker::testing_support

#endif  // TESTING_REFERENCE_LITERAL_READER_H_
