// The entities that SSGET finds.

#ifndef CONSOLE_SELECTION_H_
#define CONSOLE_SELECTION_H_

#include <optional>
#include <string>
#include <vector>

#include "console/drawing.h"
#include "console/shape.h"
#include "lisp_worker/client/datum.h"

namespace lisp_worker::console {

// The handles of the entities that `arguments` of an SSGET ask for, in the drawing's order, and
// only those on visible layers except for "X":
//   (SSGET)                     all; nobody can pick with a mouse
//   (SSGET "X")                 all, hidden ones too; "A" without them; letters in either case
//   (SSGET "W" CORNER CORNER)   what lies inside the window
//   (SSGET "C" CORNER CORNER)   what lies inside or touches it
//   (SSGET "L") (SSGET "P")     the last entity, and what was selected last
// After each, or alone, there may be a filter, such as '((0 "LINE") (8 "WALLS")): then an entity
// must have every group of it. In the strings of groups 0, 1 and 8 of a filter * matches any
// letters, ? for one, and commas separate what may be: (0 "line,ARC") (8 "W*"); of a type small
// letters are capitals. Empty for other
// arguments, with the reason in `refusal`.
[[nodiscard]] std::optional<std::vector<std::string>> selectEntities(
    const Drawing& drawing, const client::DatumList& arguments, std::string& refusal);

// The reason why `datum` is not a filter as above, for a person; empty when it is one.
[[nodiscard]] std::string whyNoFilter(const client::Datum& datum);

// True when `datum` is a filter as above; true when an entity has every group of one.
[[nodiscard]] bool isFilter(const client::Datum& datum);
[[nodiscard]] bool fitsFilter(const Entity& entity, const client::DatumList& filter);

// The handles of visible entities inside the box, or of those that touch it as well.
[[nodiscard]] std::vector<std::string> entitiesIn(const Drawing& drawing, const Box& box,
                                                  bool inside_only);

}  // namespace lisp_worker::console

#endif  // CONSOLE_SELECTION_H_
