// Both take a text apart by themselves, without the reader or the formatter.

#include "testing/generators/layout_damage.h"

#include <algorithm>
#include <cstddef>

namespace lisp_worker::testing_support {
namespace {

constexpr std::string_view kBlanks = " \t\n\v\f\r";
constexpr std::string_view kDelimiters = " \t\n\v\f\r()'\";";

// The end of the string that begins at `begin`.
std::size_t stringEnd(std::string_view text, std::size_t begin) {
  for (std::size_t at = begin + 1; at < text.size(); ++at) {
    if (text[at] == '\\') {
      ++at;
    } else if (text[at] == '"') {
      return at + 1;
    }
  }
  return text.size();
}

// The end of the string, the comment, the run of blanks, the atom or the single byte at `begin`. A
// comment ends before its line feed.
std::size_t pieceEnd(std::string_view text, std::size_t begin) {
  const char c = text[begin];
  if (c == '"') return stringEnd(text, begin);
  if (c == ';') return std::min(text.find('\n', begin), text.size());
  if (kBlanks.find(c) != kBlanks.npos) {
    return std::min(text.find_first_not_of(kBlanks, begin), text.size());
  }
  if (kDelimiters.find(c) != kDelimiters.npos) return begin + 1;
  return std::min(text.find_first_of(kDelimiters, begin), text.size());
}

std::string comment(Random& random) {
  static constexpr std::string_view kTexts[] = {
      ";",       "; a note",      ";;; \"half", "; (unfinished 'X",
      ";@ keep", "; caf\xC3\xA9", "; \x01\xFF", "; blanks behind \t "};
  return std::string(random.pick(kTexts)) + (random.chance(1, 4) ? "\r\n" : "\n");
}

// Something between two tokens; not nothing where `is_needed`.
std::string gap(Random& random, bool is_needed) {
  static constexpr std::string_view kPieces[] = {" ",      " ",    "  ",       "\t",    "\n",
                                                 "\n\n\n", "\r\n", "\n      ", " \x1A", "\f\n"};
  std::string text;
  const std::size_t count = random.below(8) < 5 ? 0 : 1 + random.below(3);
  for (std::size_t n = 0; n < count; ++n) {
    text += random.chance(1, 8) ? comment(random) : std::string(random.pick(kPieces));
  }
  if (text.empty() && is_needed) text = random.chance(1, 6) ? "\n" : " ";
  return text;
}

}  // namespace

std::string damagedLayout(std::string_view text, Random& random) {
  std::string damaged;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = pieceEnd(text, at);
    const std::string_view piece = text.substr(at, end - at);
    if (kBlanks.find(text[at]) != kBlanks.npos) {
      // The line end of a comment must stay.
      const std::size_t line_end = piece.find('\n');
      if (line_end != piece.npos && random.chance(1, 2)) damaged += "\n";
      damaged += gap(random, true);
    } else if (text[at] == ';') {
      damaged += std::string(piece) + "\n";
    } else if (kDelimiters.find(text[at]) != kDelimiters.npos) {
      damaged += gap(random, false) + std::string(piece) + gap(random, false);
    } else {
      damaged += piece;
    }
    at = end;
  }
  return damaged;
}

std::string damagedBlanks(std::string_view text, Random& random) {
  const auto blanks = [&random](std::size_t count_min) {
    std::string some(count_min + (random.chance(1, 3) ? random.below(5) : 0), ' ');
    for (char& c : some) c = random.chance(1, 5) ? '\t' : ' ';
    return some;
  };
  std::string damaged;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = pieceEnd(text, at);
    const std::string_view piece = text.substr(at, end - at);
    at = end;
    if (kBlanks.find(piece.front()) == kBlanks.npos) {
      damaged += piece;
      continue;
    }
    const auto line_count = std::count(piece.begin(), piece.end(), '\n');
    if (line_count == 0) damaged += blanks(1);
    for (auto n = line_count; n > 0; --n) damaged += blanks(0) + "\n" + blanks(0);
  }
  return damaged;
}

}  // namespace lisp_worker::testing_support
