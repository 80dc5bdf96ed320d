// Thirty-two slots, searched from the first: so few that nothing is faster.

#include "geometry/context_table.h"

namespace geometry {

bool ContextTable::register_context(const CoordContext& context) {
  // Slots are filled from the lowest and never freed: the first free one ends the search for the
  // id.
  for (std::optional<CoordContext>& slot : slots_) {
    if (!slot.has_value() || slot->id == context.id) {
      slot = context;
      return true;
    }
  }
  return false;
}

const CoordContext* ContextTable::find_context(std::uint64_t id) const {
  for (const std::optional<CoordContext>& slot : slots_) {
    if (!slot.has_value()) return nullptr;
    if (slot->id == id) return &*slot;
  }
  return nullptr;
}

}  // namespace geometry
