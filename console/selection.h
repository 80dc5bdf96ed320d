// Which entities SSGET finds.

#ifndef CONSOLE_SELECTION_H_
#define CONSOLE_SELECTION_H_

#include <optional>
#include <string>
#include <vector>

#include "client/datum.h"
#include "console/drawing.h"

namespace console {

// The handles of the entities that `arguments` of an SSGET ask for, in the drawing's order:
//   (SSGET)             all; there is no one to pick with a mouse
//   (SSGET "X")         all, as does "A"
//   (SSGET FILTER)      all that have every group of FILTER, as in '((0 "LINE") (8 "WALLS"))
//   (SSGET "X" FILTER)  the same
// Empty for other arguments, with the reason in `refusal`.
[[nodiscard]] std::optional<std::vector<std::string>> selectEntities(
    const Drawing& drawing, const client::DatumList& arguments, std::string& refusal);

}  // namespace console

#endif  // CONSOLE_SELECTION_H_
