// The records that interned bytes share: texts (of strings) and symbols (of names).
//
// Equal bytes have one record, so equality is a comparison of addresses, and what the evaluator
// needs to know about a name is in the name's own record: the operation it leads to and its current
// binding. A record is given back with its last reference, so a worker that sees new names
// all day does not grow. The tables hash with a secret drawn at start: nobody can choose names that
// collide.

#ifndef LISP_SYMBOL_H_
#define LISP_SYMBOL_H_

#include <array>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "lisp/value.h"
#include "lisp/wrapping.h"

namespace lisp {

struct Builtin;
class Interpreter;
struct LocalDeclaration;
class Result;
struct Symbol;
class UserFunction;

// Interned bytes; they follow the record in memory.
template <typename Record>
struct Interned : Counted {
  std::uint32_t length = 0;  // Bytes.
  std::uint64_t hash = 0;
  Record* next = nullptr;  // In the same bucket of the table.

  [[nodiscard]] std::string_view bytes() const {
    return {reinterpret_cast<const char*>(static_cast<const Record*>(this) + 1), length};
  }
};

// The text of string values.
struct Text : Interned<Text> {};

// The evaluator's work on a list that begins with a name.
enum class Operation : std::uint8_t {
  Quote,
  Setq,
  If,
  Progn,
  While,
  Defun,
  And,
  Or,
  Not,
  Null,
  UserFunction,
  Add,  // From here to List: builtins that the evaluator knows by heart.
  Subtract,
  Multiply,
  Divide,
  NumberEqual,
  NumberNotEqual,
  Less,
  Greater,
  LessOrEqual,
  GreaterOrEqual,
  Increment,
  Decrement,
  Car,
  Cdr,
  Length,
  Cons,
  List,
  Builtin,      // Called with its evaluated arguments.
  FormBuiltin,  // Called with its form; evaluates its arguments itself.
  Unknown,      // No function of that name.
  Unresolved,   // Not looked up in this run yet.
};

// Special forms receive their arguments unevaluated and keep their names for good. Each operation
// is in one of the two groups, or this does not compile.
[[nodiscard]] constexpr bool isSpecialForm(Operation operation) {
  switch (operation) {
    case Operation::Quote:
    case Operation::Setq:
    case Operation::If:
    case Operation::Progn:
    case Operation::While:
    case Operation::Defun:
    case Operation::And:
    case Operation::Or:
    case Operation::Not:
    case Operation::Null:
      return true;
    case Operation::UserFunction:
    case Operation::Add:
    case Operation::Subtract:
    case Operation::Multiply:
    case Operation::Divide:
    case Operation::NumberEqual:
    case Operation::NumberNotEqual:
    case Operation::Less:
    case Operation::Greater:
    case Operation::LessOrEqual:
    case Operation::GreaterOrEqual:
    case Operation::Increment:
    case Operation::Decrement:
    case Operation::Car:
    case Operation::Cdr:
    case Operation::Length:
    case Operation::Cons:
    case Operation::List:
    case Operation::Builtin:
    case Operation::FormBuiltin:
    case Operation::Unknown:
    case Operation::Unresolved:
      break;
  }
  return false;
}

// Never touched by a local binding: `Symbol::owner` of a global one.
inline constexpr std::uint32_t kGlobalOwner = 0;
// The owner of T's slot, which holds T for good: assignments and bindings of T are never read, so
// they are not made.
inline constexpr std::uint32_t kTruthOwner = 0xFFFFFFFF;
inline constexpr std::uint32_t kNoEnvironmentIndex = 0xFFFFFFFF;

// The record of a name. The fields after `base_operation` belong to the run in progress and are at
// rest (NotLoaded, Unresolved) between runs; see lisp/bindings.h.
struct Symbol : Interned<Symbol> {
  RawValue value = RawValue::of(Tag::NotLoaded);  // The binding in force; holds its record.
  std::uint32_t owner = kGlobalOwner;  // The call that made the binding, 0 for the global one.
  Operation base_operation = Operation::Unknown;  // When no user function has the name.
  bool touched = false;  // In the interpreter's list of symbols to put at rest.
  bool changed = false;  // The run set the global or the function.
  Operation operation = Operation::Unresolved;  // Of lists that begin with the name.
  UserFunction* function = nullptr;             // Loaded or defined in this run; holds it.
  const Builtin* builtin = nullptr;
  std::uint32_t history = 0;  // Of the binding in force; see Bindings::logAssignment.
  std::uint32_t environment_index = kNoEnvironmentIndex;  // Its place in every Environment.
  // In the functions that bind it late when called. Borrowed: they leave with their LocalTable.
  LocalDeclaration* declarations = nullptr;
  std::uint64_t nothing_late = 0;  // See Bindings::bindLate.
};

[[nodiscard]] inline Symbol& symbolOf(const RawValue& raw) {
  assert(raw.tag() == Tag::Symbol);
  return *static_cast<Symbol*>(raw.record);
}
[[nodiscard]] inline Text& textOf(const RawValue& raw) {
  assert(raw.tag() == Tag::String);
  return *static_cast<Text*>(raw.record);
}

// Returns the record of `name`, made if need be, with one more reference for the caller.
[[nodiscard]] Symbol* internSymbol(std::string_view name);
[[nodiscard]] Text* internText(std::string_view text);

// A short text in one word: its bytes, the first in the lowest, and above them one more than their
// number. Never 0.
class PackedText {
 public:
  static constexpr std::uint32_t kSizeMax = 7;

  [[nodiscard]] constexpr bool isFull() const { return size_ == kSizeMax; }
  // There must be room.
  constexpr void append(char c) {
    assert(!isFull());
    bytes_ |= std::uint64_t{static_cast<unsigned char>(c)} << (8 * size_++);
  }
  [[nodiscard]] constexpr std::uint64_t word() const {
    return bytes_ | std::uint64_t{size_ + 1} << (8 * kSizeMax);
  }

 private:
  std::uint64_t bytes_ = 0;
  std::uint32_t size_ = 0;
};

// The word of a text that is short enough; 0 for any other.
[[nodiscard]] constexpr std::uint64_t packedWord(std::string_view text) {
  if (text.size() > PackedText::kSizeMax) return 0;
  PackedText packed;
  for (const char c : text) packed.append(c);
  return packed.word();
}

template <typename Record>
class InternTable;

// The records of short texts asked for last, each in the one place that its bytes give it. Who
// makes texts that share a place loses only the short cut. Everybody may look a record up; only the
// tables of names and texts, in lisp/symbol.cc, put records in and take them out.
template <typename Record>
class RecentRecords {
 public:
  // The record of the text with this word, with one more reference for the caller; null when it is
  // not among the recent ones.
  [[nodiscard]] static Record* find(std::uint64_t word) {
    const Place& place = placeOf(word);
    if (place.word != word) return nullptr;
    ++place.record->references;
    return place.record;
  }

 private:
  friend class InternTable<Record>;

  struct Place {
    std::uint64_t word = 0;
    Record* record = nullptr;  // Borrowed: a record that is retired leaves.
  };

  // Multiplicative hashing (Knuth, "Sorting and Searching", 6.4) with a factor of SplitMix64.
  [[nodiscard]] LISP_WRAPS static Place& placeOf(std::uint64_t word) {
    return places_[word * 0x94d049bb133111eb >> (64 - kBits)];
  }

  static constexpr int kBits = 10;
  static inline constinit std::array<Place, 1 << kBits> places_{};
};

// The same for a short text that is not among the recent ones.
[[nodiscard]] Symbol* internRareSymbol(std::uint64_t word);
[[nodiscard]] Text* internRareText(std::uint64_t word);

// The same for short texts, in line for the reader.
[[nodiscard]] inline Symbol* internShortSymbol(std::uint64_t word) {
  Symbol* const recent = RecentRecords<Symbol>::find(word);
  return recent != nullptr ? recent : internRareSymbol(word);
}
[[nodiscard]] inline Text* internShortText(std::uint64_t word) {
  Text* const recent = RecentRecords<Text>::find(word);
  return recent != nullptr ? recent : internRareText(word);
}

// Give back a record whose last reference has gone.
void retireSymbol(Symbol* symbol);
void retireText(Text* text);

// Gives `symbol` a place in environments if it has none. The place lives as long as the record.
void assignEnvironmentIndex(Symbol& symbol);

// The symbol T, which always evaluates to itself, the mark of a selection set, and what stands
// between parameters and locals. Borrowed; they live as long as the process.
extern Symbol* const kTruthSymbol;
extern Symbol* const kSelectionSetSymbol;
extern Symbol* const kSlashSymbol;

// Records alive now; tests watch them for growth.
[[nodiscard]] std::size_t symbolCount();
[[nodiscard]] std::size_t textCount();

}  // namespace lisp

#endif  // LISP_SYMBOL_H_
