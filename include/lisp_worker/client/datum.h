// Datum, a value of the dialect as a host sees it: in the arguments of a host call, in the answer
// to one, in the result of a program.
//
// The kinds are the worker's own: nil, number, string, symbol, list. A point is a list of two or
// three numbers, a selection set a list headed by the symbol $KVSEL. Data are plain values: they
// own what they hold, and a copy is a deep one.

#ifndef LISP_WORKER_CLIENT_DATUM_H_
#define LISP_WORKER_CLIENT_DATUM_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace lisp_worker::client {

enum class DatumKind : std::uint8_t { Nil = 0, Number = 1, String = 2, Symbol = 3, List = 4 };

class Datum;
using DatumList = std::vector<Datum>;

class Datum {
 public:
  Datum() = default;  // Nil.

  [[nodiscard]] DatumKind kind() const { return static_cast<DatumKind>(content_.index()); }

 private:
  struct SymbolName {
    std::string name;
    friend bool operator==(const SymbolName&, const SymbolName&) = default;
  };

  // In the order of DatumKind.
  std::variant<std::monostate, double, std::string, SymbolName, DatumList> content_;

  friend Datum number(double value);
  friend Datum string(std::string text);
  friend Datum symbol(std::string name);
  friend Datum list(DatumList elements);
  friend std::optional<double> asNumber(const Datum& datum);
  friend std::optional<std::string_view> asString(const Datum& datum);
  friend std::optional<std::string_view> asSymbol(const Datum& datum);
  friend const DatumList* asList(const Datum& datum);
  friend DatumList takeElements(Datum&& datum);
  friend bool operator==(const Datum& a, const Datum& b);
};

// Makers. Nothing is checked or changed: a symbol's name is taken as it stands.
[[nodiscard]] Datum nil();
[[nodiscard]] Datum number(double value);
[[nodiscard]] Datum string(std::string text);
[[nodiscard]] Datum symbol(std::string name);
[[nodiscard]] Datum list(DatumList elements);
[[nodiscard]] Datum point(double x, double y, double z);
[[nodiscard]] Datum selectionSet(DatumList members);

// Accessors: empty or null for another kind. A view or a pointer borrows from `datum`.
[[nodiscard]] std::optional<double> asNumber(const Datum& datum);
[[nodiscard]] std::optional<std::string_view> asString(const Datum& datum);
[[nodiscard]] std::optional<std::string_view> asSymbol(const Datum& datum);
[[nodiscard]] const DatumList* asList(const Datum& datum);

// The elements of a list, moved out of it; none for another kind.
[[nodiscard]] DatumList takeElements(Datum&& datum);

// Equality by kind and content, as the worker compares values: nil is not (), -0.0 equals 0.0,
// NaN equals nothing.
[[nodiscard]] bool operator==(const Datum& a, const Datum& b);

}  // namespace lisp_worker::client

#endif  // LISP_WORKER_CLIENT_DATUM_H_
