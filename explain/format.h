// The layout of programs in one style: docs/LANGUAGE.md describes it.
//
// Line breaks between forms are the author's, and lines that are too long get more; indentation,
// blanks and the places of comments follow from the forms alone. So a text that is formatted once
// stays as it is when it is formatted again.

#ifndef EXPLAIN_FORMAT_H_
#define EXPLAIN_FORMAT_H_

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "explain/form.h"
#include "explain/source.h"

namespace explain {

// Letters in a line, where its forms can be broken.
inline constexpr std::size_t kLineWidthMax = 100;

struct Formatting {
  std::string text;                // Empty when there is a fault.
  std::optional<ReadFault> fault;  // Why the text must be left alone.
};

// The text in that style. Takes time linear in its size, whatever bytes it holds.
[[nodiscard]] Formatting formatProgram(const Source& source);

// True when both texts can be read and differ in blanks and line breaks only: their forms are the
// same, every atom is spelled the same, and each comment comes after the same atom, in a line of
// its own or behind code as before. formatProgram() returns no text that fails this.
[[nodiscard]] bool readTheSame(std::string_view a, std::string_view b);

// True when the last operands of a form of this name are a body, which is indented by two.
[[nodiscard]] bool hasBody(std::string_view name);

}  // namespace explain

#endif  // EXPLAIN_FORMAT_H_
