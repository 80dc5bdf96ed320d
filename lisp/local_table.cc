// Both tables are open: an entry lies in the place that its hash gives it, or in the next free
// place after that.

#include "lisp/local_table.h"

#include <algorithm>
#include <cstdint>
#include <utility>

#include "lisp/storage.h"
#include "lisp/work.h"
#include "lisp/wrapping.h"

namespace lisp {
namespace {

constexpr std::size_t kLocalsPerWord = 4;  // Of the filter: sixteen bits each.

}  // namespace

// Each local sets its bit in the filter, takes a place by its hash, and is chained to its name's
// record, so that from a name all tables that declare it can be found. A name that occurs twice
// counts once, and its second declaration stays empty.
LocalTable::LocalTable(std::span<const LispValue> locals)
    : locals_(locals),
      filter_(locals.size() / kLocalsPerWord + 1),
      places_(2 * locals.size() + 1),
      declarations_(locals.size()),
      bytes_(filter_.size() * sizeof(filter_[0]) + places_.size() * sizeof(places_[0]) +
             declarations_.size() * sizeof(declarations_[0])) {
  storage::addLiveBytes(bytes_);
  countWork(locals.size());
  for (std::uint32_t i = 0; i < locals.size(); ++i) {
    Symbol& symbol = symbolOf(locals[i].raw());
    if (&symbol == kSlashSymbol) continue;
    const std::size_t bit = bitOf(symbol);
    filter_[bit / 64] |= std::uint64_t{1} << (bit % 64);
    std::uint32_t& place = places_[find(symbol)];
    if (place != 0) continue;
    place = i + 1;
    LocalDeclaration& declaration = declarations_[i];
    declaration = {this, symbol.declarations, &symbol.declarations};
    if (declaration.next != nullptr) declaration.next->link = &declaration.next;
    symbol.declarations = &declaration;
  }
}

LocalTable::~LocalTable() {
  storage::removeLiveBytes(bytes_);
  forget(declarations_.size());
}

std::size_t LocalTable::find(const Symbol& symbol) const {
  std::size_t slot = (symbol.hash & 0xFFFFFFFF) * places_.size() >> 32;
  while (places_[slot] != 0 && &symbolOf(locals_[places_[slot] - 1].raw()) != &symbol) {
    if (++slot == places_.size()) slot = 0;
  }
  return slot;
}

// From the last on, and not all at once: a function may declare hundreds of thousands of locals.
std::size_t LocalTable::forget(std::size_t count) {
  const std::size_t forgotten = std::min(count, declarations_.size());
  countWork(forgotten);
  for (std::size_t i = 0; i < forgotten; ++i) {
    const LocalDeclaration& declaration = declarations_.back();
    if (declaration.table != nullptr) {
      *declaration.link = declaration.next;
      if (declaration.next != nullptr) declaration.next->link = declaration.link;
    }
    declarations_.pop_back();
  }
  return forgotten;
}

std::uint32_t ActiveTables::enter(const LocalTable* table, std::uint32_t call) {
  if (2 * used_ >= places_.size()) makeRoom();
  Place& place = places_[placeOf(table)];
  if (place.table == nullptr) {
    place.table = table;
    ++used_;
  }
  return std::exchange(place.call, call);
}

void ActiveTables::leave(const LocalTable* table, std::uint32_t call_before) {
  places_[placeOf(table)].call = call_before;
}

// Drops the tables whose calls are over, and doubles the places when too few of them are.
void ActiveTables::makeRoom() {
  const auto is_active = [](const Place& place) { return place.call != kNone; };
  const auto active = std::count_if(places_.begin(), places_.end(), is_active);
  const bool is_too_small = 4 * static_cast<std::size_t>(active) >= places_.size();
  std::vector<Place> former(is_too_small ? std::max(kPlacesMin, 2 * places_.size())
                                         : places_.size());
  countWork(former.size());
  former.swap(places_);
  used_ = static_cast<std::size_t>(active);
  for (const Place& place : former) {
    if (is_active(place)) places_[placeOf(place.table)] = place;
  }
}

LISP_WRAPS std::size_t ActiveTables::placeOf(const LocalTable* table) const {
  // Multiplicative hashing, as in RecentRecords.
  std::size_t i = reinterpret_cast<std::uintptr_t>(table) * 0x94d049bb133111eb >> 32;
  for (;; ++i) {
    const Place& place = places_[i & (places_.size() - 1)];
    if (place.table == nullptr || place.table == table) return i & (places_.size() - 1);
  }
}

}  // namespace lisp
