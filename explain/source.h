// A program's text, with places in it.

#ifndef EXPLAIN_SOURCE_H_
#define EXPLAIN_SOURCE_H_

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace explain {

// Counted from 1. Columns are letters, not bytes, where the text is UTF-8.
struct Place {
  std::size_t line = 1;
  std::size_t column = 1;

  friend bool operator==(const Place&, const Place&) = default;
};

class Source {
 public:
  Source(std::string name, std::string text);

  [[nodiscard]] const std::string& name() const { return name_; }
  [[nodiscard]] std::string_view text() const { return text_; }

  // The place of the byte at `offset`, which may be the end of the text.
  [[nodiscard]] Place placeOf(std::size_t offset) const;
  [[nodiscard]] std::size_t lineOf(std::size_t offset) const;
  // Bytes from the beginning of the line; 0 at the left margin.
  [[nodiscard]] std::size_t indentOf(std::size_t offset) const;
  // Without its line feed. Counted from 1.
  [[nodiscard]] std::string_view line(std::size_t number) const;
  [[nodiscard]] std::size_t lineStart(std::size_t number) const { return starts_[number - 1]; }

 private:
  std::string name_;
  std::string text_;
  std::vector<std::size_t> starts_;  // Of each line.
};

using SourcePointer = std::shared_ptr<const Source>;

// The line of the text that holds `begin`, and below it a caret, or a bar up to `end` when that
// stands in the same line:
//   "    7 | (/ SUM COUNT)\n"
//   "      |        ^^^^^\n"
// Of a long line the part around the caret.
[[nodiscard]] std::string showPlace(const Source& source, std::size_t begin, std::size_t end);

}  // namespace explain

#endif  // EXPLAIN_SOURCE_H_
