#include "lisp/local_table.h"

#include "lisp/work.h"

namespace lisp {
namespace {

constexpr std::size_t kLocalsPerWord = 4;  // Of the filter: sixteen bits each.

}  // namespace

LocalTable::LocalTable(std::span<const LispValue> locals)
    : locals_(locals), filter_(locals.size() / kLocalsPerWord + 1), places_(2 * locals.size() + 1) {
  countDeferred(locals.size());
  for (std::uint32_t i = 0; i < locals.size(); ++i) {
    const Symbol& symbol = symbolOf(locals[i].raw());
    if (&symbol == kSlashSymbol) continue;
    const std::size_t bit = bitOf(symbol);
    filter_[bit / 64] |= std::uint64_t{1} << (bit % 64);
    places_[find(symbol)] = i + 1;
  }
}

std::size_t LocalTable::find(const Symbol& symbol) const {
  std::size_t slot = (symbol.hash & 0xFFFFFFFF) * places_.size() >> 32;
  while (places_[slot] != 0 && &symbolOf(locals_[places_[slot] - 1].raw()) != &symbol) {
    if (++slot == places_.size()) slot = 0;
  }
  return slot;
}

}  // namespace lisp
