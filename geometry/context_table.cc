// Thirty-two slots, searched from the first: so few that nothing is faster.

#include "geometry/context_table.h"

#include <algorithm>
#include <cassert>

namespace geometry {

bool ContextTable::register_context(const CoordContext& context) {
  // Slots are filled from the lowest and never freed: the first free one ends the search for the
  // id.
  for (std::optional<CoordContext>& slot : slots_) {
    if (!slot.has_value() || slot->id == context.id) {
      slot = context;
      assert(is_consistent());
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

bool ContextTable::is_consistent() const {
  // The search ends at the first free slot and finds the first slot with an id.
  return std::all_of(slots_.begin(), slots_.end(), [this](const auto& slot) {
    return !slot.has_value() || find_context(slot->id) == &*slot;
  });
}

}  // namespace geometry
