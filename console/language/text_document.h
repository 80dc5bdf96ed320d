// The text of a document as an editor sees it: lines, and columns in the units that the client
// counts.
//
// A document stays valid UTF-8 when it was, because no position lies inside a letter. Lines end
// with \n, \r\n or \r, as the protocol says.

#ifndef CONSOLE_LANGUAGE_TEXT_DOCUMENT_H_
#define CONSOLE_LANGUAGE_TEXT_DOCUMENT_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace lisp_worker::console::language {

// The unit of columns.
enum class Encoding : std::uint8_t { Utf8, Utf16 };

// Both counted from 0.
struct Position {
  std::size_t line = 0;
  std::size_t character = 0;

  friend auto operator<=>(const Position&, const Position&) = default;
};

struct Range {
  Position start;
  Position end;

  friend bool operator==(const Range&, const Range&) = default;
};

// Bytes of a text from `begin` to before `end`.
struct Span {
  std::size_t begin = 0;
  std::size_t end = 0;

  [[nodiscard]] std::size_t size() const { return end - begin; }
  // An editor's cursor is between two letters, so one behind the last letter counts.
  [[nodiscard]] bool touches(std::size_t offset) const { return begin <= offset && offset <= end; }
  [[nodiscard]] bool holds(const Span& other) const {
    return begin <= other.begin && other.end <= end;
  }
  friend bool operator==(const Span&, const Span&) = default;
};

class TextDocument {
 public:
  explicit TextDocument(std::string text = "", Encoding encoding = Encoding::Utf16);

  [[nodiscard]] const std::string& text() const { return text_; }
  [[nodiscard]] std::string_view textOf(const Span& span) const {
    return std::string_view(text_).substr(span.begin, span.size());
  }

  // A position behind the end of its line is the end of the line, one behind the last line the end
  // of the text, one inside a letter the beginning of the letter.
  [[nodiscard]] std::size_t offsetOf(const Position& position) const;
  // `offset` is at most the size of the text.
  [[nodiscard]] Position positionOf(std::size_t offset) const;
  // A range that ends before it starts is taken the other way round.
  [[nodiscard]] Span spanOf(const Range& range) const;
  [[nodiscard]] Range rangeOf(const Span& span) const;

  [[nodiscard]] std::size_t lineCount() const { return line_begins_.size(); }
  [[nodiscard]] std::size_t lineOf(std::size_t offset) const;
  // Without what ends the line.
  [[nodiscard]] Span lineSpan(std::size_t line) const;
  // The length of a piece of this text, or of another, in units.
  [[nodiscard]] std::size_t unitsIn(std::string_view text) const;

  void replace(const Range& range, std::string_view text);
  void replaceAll(std::string text);

 private:
  void index();
  [[nodiscard]] std::size_t unitsBefore(std::size_t offset) const;

  std::string text_;
  Encoding encoding_;
  std::vector<std::size_t> line_begins_;
  // Units before each kBlock bytes; empty where a byte is a unit.
  std::vector<std::size_t> units_;
};

}  // namespace lisp_worker::console::language

#endif  // CONSOLE_LANGUAGE_TEXT_DOCUMENT_H_
