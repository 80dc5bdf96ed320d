// Lets GoogleTest print enumerators by name: "InvalidRequest (3)" instead of bytes.
//
// A compiler writes the name of an enumerator into the name of a function that has it as a template
// argument, so no enumeration is listed here. The build includes this header into every test
// (cmake/tests.cmake).

#ifndef TESTING_BASE_ENUM_PRINTER_H_
#define TESTING_BASE_ENUM_PRINTER_H_

#include <array>
#include <cstddef>
#include <ostream>
#include <string_view>
#include <type_traits>
#include <utility>

namespace lisp_worker::testing_support {

// The name of an enumerator without its scope; empty for a value that has none.
template <auto value>
constexpr std::string_view enumeratorName() {
  constexpr std::string_view kBefore = "value = ";
  std::string_view text = __PRETTY_FUNCTION__;
  text.remove_prefix(text.find(kBefore) + kBefore.size());
  text = text.substr(0, text.find_first_of(";]"));
  text = text.substr(text.rfind(':') + 1);
  return text.find(')') == text.npos ? text : std::string_view();  // A cast, as in (Kind)7.
}

// The values that are looked at: no enumeration has more of them in a row, and MessageType has 255.
inline constexpr std::size_t kEnumeratorsMax = 64;
inline constexpr std::size_t kLastMessageType = 255;

template <typename Enum, std::size_t... values>
std::string_view nameOfEnumerator(std::size_t value, std::index_sequence<values...> /*all*/) {
  static constexpr std::array<std::string_view, sizeof...(values)> kNames = {
      enumeratorName<static_cast<Enum>(values)>()...};
  if (value < kNames.size()) return kNames[value];
  if (value != kLastMessageType) return {};
  return enumeratorName<static_cast<Enum>(kLastMessageType)>();
}

template <typename Enum>
concept ScopedEnum = std::is_enum_v<Enum> && !std::is_convertible_v<Enum, int>;

template <ScopedEnum Enum>
void PrintTo(const Enum& value, std::ostream* out) {
  const auto number = static_cast<std::size_t>(value);
  *out << nameOfEnumerator<Enum>(number, std::make_index_sequence<kEnumeratorsMax>()) << " ("
       << number << ')';
}

}  // namespace lisp_worker::testing_support

// Where GoogleTest looks: beside the enumerations.
namespace lisp {
using lisp_worker::testing_support::PrintTo;
}
namespace host {
using lisp_worker::testing_support::PrintTo;
}
namespace geometry {
using lisp_worker::testing_support::PrintTo;
}
namespace explain {
using lisp_worker::testing_support::PrintTo;
}
namespace check {
using lisp_worker::testing_support::PrintTo;
}
namespace lisp_worker::worker {
using testing_support::PrintTo;
}
namespace lisp_worker::client {
using testing_support::PrintTo;
}
namespace lisp_worker::session {
using testing_support::PrintTo;
}
namespace lisp_worker::console {
using testing_support::PrintTo;
}

#endif  // TESTING_BASE_ENUM_PRINTER_H_
