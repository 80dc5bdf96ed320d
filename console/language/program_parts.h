// A program in parts that end where a form of the top level ends. Each part is read by itself, so
// that after an edit only the parts that it has changed are read again, and so that a mistake in
// one form leaves all that is known of the others.
//
//   ; A plate.                      the first part,
//   (DEFUN PLATE (W) (LIST W))      with the comment in front of its form
//   (SETQ P (PLATE 5)               the second: its end is missing, so it is cut off before the
//                                   next line that begins with a parenthesis, and closed
//   (DRAW P)                        the third
//
// Parts follow from the text alone, not from the edits that led to it.

#ifndef CONSOLE_LANGUAGE_PROGRAM_PARTS_H_
#define CONSOLE_LANGUAGE_PROGRAM_PARTS_H_

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "console/form_layout.h"
#include "console/language/names.h"
#include "console/language/text_document.h"
#include "explain/form.h"
#include "explain/source.h"

namespace lisp_worker::console::language {

// All places count from the part's own beginning.
class Part {
 public:
  explicit Part(std::string text);
  Part(const Part&) = delete;
  Part& operator=(const Part&) = delete;

  [[nodiscard]] std::string_view text() const { return text_; }
  // As the worker reads them. Where parentheses or a quote are missing, or there are too many, they
  // are those of the text with that mended; none when there is another mistake.
  [[nodiscard]] const std::vector<explain::Form>& forms() const { return reading_.forms; }
  [[nodiscard]] const explain::Source& source() const { return source_; }
  [[nodiscard]] const std::vector<Token>& tokens() const { return tokens_; }
  [[nodiscard]] const PartNames& names() const { return names_; }
  // A mended form may end behind the text.
  [[nodiscard]] Span spanOf(const explain::Form& form) const;

 private:
  std::string text_;
  explain::Source source_;  // Mended.
  explain::Reading reading_;
  std::vector<Token> tokens_;
  PartNames names_;
};

// A part with its place in the program.
struct PlacedPart {
  std::size_t begin = 0;
  std::shared_ptr<const Part> part;

  [[nodiscard]] std::size_t end() const { return begin + part->text().size(); }
  [[nodiscard]] Span placed(const Span& span) const {
    return {begin + span.begin, begin + span.end};
  }
};

class ProgramParts {
 public:
  ProgramParts() = default;
  explicit ProgramParts(std::string_view text) { update(text); }

  // Parts at the beginning and at the end that are as before are kept.
  void update(std::string_view text);

  // They cover the text, in its order.
  [[nodiscard]] const std::vector<PlacedPart>& all() const { return parts_; }
  // The index of the part that holds the byte at `offset`; for the end of the text the last one.
  // There are no parts of an empty text.
  [[nodiscard]] std::size_t indexAt(std::size_t offset) const;

 private:
  std::vector<PlacedPart> parts_;
};

// The forms of a part around `offset`, from the outermost to the innermost. An atom is held until
// behind its last letter.
[[nodiscard]] std::vector<const explain::Form*> formsAround(const Part& part, std::size_t offset);

}  // namespace lisp_worker::console::language

#endif  // CONSOLE_LANGUAGE_PROGRAM_PARTS_H_
