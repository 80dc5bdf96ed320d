// Which names a function declares as locals: a hash table for functions that declare many.

#ifndef LISP_LOCAL_TABLE_H_
#define LISP_LOCAL_TABLE_H_

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "lisp/symbol.h"
#include "lisp/value.h"

namespace lisp {

class LocalTable;

// One of the tables that a name is in. All of a name's are linked, so that a name can be asked for
// its tables as well as a table for its names.
struct LocalDeclaration {
  const LocalTable* table = nullptr;  // Null for a name that occurred before. It holds this record.
  // Borrowed from their tables: a table that goes takes its own out of the chain (forget).
  LocalDeclaration* next = nullptr;
  LocalDeclaration** link = nullptr;  // What leads here: the name's record, or the one before.
};

// A filter (sixteen bits a local) denies most names that are not there with one look at memory.
class LocalTable {
 public:
  // `locals` are symbols and must outlive the table; a "/" among them is none of them.
  explicit LocalTable(std::span<const LispValue> locals);
  ~LocalTable();
  LocalTable(const LocalTable&) = delete;
  LocalTable& operator=(const LocalTable&) = delete;

  [[nodiscard]] bool contains(const Symbol& symbol) const {
    assert(declarations_.size() == locals_.size());  // Nothing is forgotten.
    const std::size_t bit = bitOf(symbol);
    return ((filter_[bit / 64] >> (bit % 64)) & 1) != 0 && places_[find(symbol)] != 0;
  }

  // Takes up to `count` names' declarations back, from the last on, and returns how many there
  // were. After the first of these calls the table can only be destroyed.
  std::size_t forget(std::size_t count);

 private:
  [[nodiscard]] std::size_t bitOf(const Symbol& symbol) const {
    return (symbol.hash >> 29) * filter_.size() >> 26;  // A hash has 61 bits.
  }
  // Where the name stands in places_, or would stand.
  [[nodiscard]] std::size_t find(const Symbol& symbol) const;

  std::span<const LispValue> locals_;
  std::vector<std::uint64_t> filter_;
  std::vector<std::uint32_t> places_;  // Of locals, counted from 1, hashed; at least half are 0.
  std::vector<LocalDeclaration> declarations_;  // Of locals_, one for one.
  const std::size_t bytes_;                     // Of all three.
};

// The tables of the calls in progress that bind late, and for each the innermost such call.
class ActiveTables {
 public:
  static constexpr std::uint32_t kNone = 0xFFFFFFFF;

  // The number of the innermost call with `table`, or kNone.
  [[nodiscard]] std::uint32_t find(const LocalTable* table) const {
    return places_.empty() ? kNone : places_[placeOf(table)].call;
  }
  // Makes `call` the innermost call with `table` and returns the one before.
  std::uint32_t enter(const LocalTable* table, std::uint32_t call);
  // Takes that back. Calls are left in the opposite order.
  void leave(const LocalTable* table, std::uint32_t call_before);

 private:
  struct Place {
    const LocalTable* table = nullptr;  // Borrowed from the function, which its call holds.
    std::uint32_t call = kNone;
  };

  static constexpr std::size_t kPlacesMin = 16;

  // Where the table stands, or would stand.
  [[nodiscard]] std::size_t placeOf(const LocalTable* table) const;
  void makeRoom();

  std::vector<Place> places_;  // A power of two of them, of which at least half have no table.
  std::size_t used_ = 0;       // Those that have one, its calls in progress or over.
};

}  // namespace lisp

#endif  // LISP_LOCAL_TABLE_H_
