// Drawings as JSON files.
//
//   {
//     "current_layer": "WALLS",
//     "layers": [{"name": "WALLS", "colour": 1, "visible": true,
//                 "line_type": "DASHED", "line_weight": 50}],
//     "entities": [
//       {"handle": "E1", "type": "LINE", "layer": "WALLS", "from": [0, 0], "to": [50, 0, 0]},
//       {"type": "CIRCLE", "layer": "HOLES", "centre": [5, 5], "radius": 2, "colour": 3},
//       {"type": "ARC", "centre": [0, 0], "radius": 1, "start_angle": 0, "end_angle": 1.57},
//       {"type": "POLYLINE", "points": [[0, 0], [9, 0], [9, 9]], "closed": true,
//        "bulges": [null, 1, null]},
//       {"type": "HATCH", "pattern": "LINE", "distance": 3, "angle": 0.78,
//        "outlines": [{"points": [[0, 0], [9, 0]], "bulges": [1, 1]}]},
//       {"type": "TEXT", "at": [0, 0], "height": 2.5, "text": "Hall", "angle": 0, "align": "left"},
//       {"type": "POINT", "at": [3, 4], "other": [[999, "\"as LISP writes it\""]]}],
//     "view": [0, 0, 100, 50],
//     "systems": {"1": {"origin": [100, 50], "x_axis": [0, 1], "y_axis": [-1, 0],
//                       "z_scale": 1, "z_offset": 0}},
//     "cells": {"size": 100, "origin": [0, 0], "x_axis": [1, 0], "y_axis": [0, 1]}
//   }
//
// Every key but an entity's own points and sizes may be left out. Angles are in radians, line
// weights in hundredths of a millimetre, as in the language; any entity may have "line_type",
// "line_scale" and "line_weight". Systems that the file does not name are the world's; a file
// without "systems" leaves those that the console has by itself. "view" is left, bottom, right,
// top.

#ifndef CONSOLE_DRAWING_FILE_H_
#define CONSOLE_DRAWING_FILE_H_

#include <optional>
#include <string>
#include <string_view>

#include "console/drawing.h"
#include "lisp_worker/client/coordinates.h"

namespace lisp_worker::console {

// A drawing and the coordinate context that programs on it run under.
struct Sheet {
  Drawing drawing;
  client::CoordContext context;
};

// An empty drawing under the console's own context.
[[nodiscard]] Sheet emptySheet();

// Empty when `text` is no drawing, with the place and what is wrong in `error`: "line 3, column 7:
// ..." where it is no JSON at all, otherwise "entity 4 (LINE): ...".
[[nodiscard]] std::optional<Sheet> readSheet(std::string_view text, std::string& error);

// The text of a file that readSheet makes the same of.
[[nodiscard]] std::string writeSheet(const Sheet& sheet);

// One entity as in a drawing file, in one line.
[[nodiscard]] std::string writeEntity(const Entity& entity);

}  // namespace lisp_worker::console

#endif  // CONSOLE_DRAWING_FILE_H_
