// Which names a function declares as locals: a hash table for functions that declare many.

#ifndef LISP_LOCAL_TABLE_H_
#define LISP_LOCAL_TABLE_H_

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "lisp/symbol.h"
#include "lisp/value.h"

namespace lisp {

// Most names that it is asked for are not there. So the table is asked only after a filter (one bit
// for each name, among sixteen) has not denied the name, at the price of one look at memory and of
// a branch that nearly always goes the same way. Ten bytes for a local.
class LocalTable {
 public:
  // `locals` are symbols and must outlive the table; a "/" among them is none of them.
  explicit LocalTable(std::span<const LispValue> locals);

  [[nodiscard]] bool contains(const Symbol& symbol) const {
    const std::size_t bit = bitOf(symbol);
    return ((filter_[bit / 64] >> (bit % 64)) & 1) != 0 && places_[find(symbol)] != 0;
  }

 private:
  [[nodiscard]] std::size_t bitOf(const Symbol& symbol) const {
    return (symbol.hash >> 29) * filter_.size() >> 26;  // A hash has 61 bits.
  }
  // Where the name stands in places_, or would stand.
  [[nodiscard]] std::size_t find(const Symbol& symbol) const;

  std::span<const LispValue> locals_;
  std::vector<std::uint64_t> filter_;
  std::vector<std::uint32_t> places_;  // Of locals, counted from 1, hashed; at least half are 0.
};

}  // namespace lisp

#endif  // LISP_LOCAL_TABLE_H_
