// System 0 is the world, 1 is turned and moved, 2 counts in inches, 3 in units of 50. 4 cannot be
// inverted.

#include "console/contexts.h"

namespace lisp_worker::console {

client::CoordContext defaultContext() {
  client::CoordContext context;
  context.id = 1;
  context.cell_size = 100;
  // origin_x, origin_y, a, b, c, d, z_scale, z_offset
  context.systems = {{{0, 0, 1, 0, 0, 1, 1, 0},
                      {100, 50, 0, 1, -1, 0, 1, 0},
                      {0, 0, 25.4, 0, 0, 25.4, 25.4, 0},
                      {0, 0, 50, 0, 0, 50, 50, 0},
                      {0, 0, 1, 0, 0, 0, 1, 0}}};
  return context;
}

}  // namespace lisp_worker::console
