// What an editor writes between the words of a program: the names of parameters, and degrees behind
// angles in radians.
//
//   (POLAR P angle: 1.5707963267948966 = 90° distance: 10)

#ifndef CONSOLE_LANGUAGE_INLAY_HINTS_H_
#define CONSOLE_LANGUAGE_INLAY_HINTS_H_

#include <cstddef>
#include <string>
#include <vector>

#include "console/language/text_document.h"
#include "console/language/workspace.h"

namespace lisp_worker::console::language {

struct InlayHint {
  std::size_t offset = 0;
  std::string label;
  bool is_parameter = false;  // Stands in front of an argument; otherwise behind a number.
};

// Those of the forms that the span touches, in the order of the text. Parameters are named where
// the argument is a constant or a list, in calls of functions with at least two of them.
[[nodiscard]] std::vector<InlayHint> inlayHintsIn(const Unit& unit, const Span& span);

}  // namespace lisp_worker::console::language

#endif  // CONSOLE_LANGUAGE_INLAY_HINTS_H_
