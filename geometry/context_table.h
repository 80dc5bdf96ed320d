// The coordinate contexts that a host has registered.
//
// A worker holds at most 32. A context is replaced by another one of the same id and never
// removed, so a pointer to it stays good as long as the table, and shows what is registered now.

#ifndef GEOMETRY_CONTEXT_TABLE_H_
#define GEOMETRY_CONTEXT_TABLE_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>

#include "geometry/coord_context.h"

namespace geometry {

class ContextTable {
 public:
  static constexpr std::size_t kSlotCount = 32;

  ContextTable() = default;
  ContextTable(const ContextTable&) = delete;
  ContextTable& operator=(const ContextTable&) = delete;

  // Registers `context` under its id, in the place of the context that has this id already or else
  // in the first free slot. False, and nothing changes, when there is neither.
  [[nodiscard]] bool register_context(const CoordContext& context);

  // The context registered under `id`, or null. 0 is an id like any other. Borrowed from the table.
  [[nodiscard]] const CoordContext* find_context(std::uint64_t id) const;

 private:
  // For assertions: slots in use come first, and no two have the same id.
  [[nodiscard]] bool is_consistent() const;

  std::array<std::optional<CoordContext>, kSlotCount> slots_;
};

}  // namespace geometry

#endif  // GEOMETRY_CONTEXT_TABLE_H_
