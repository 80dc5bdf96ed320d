// The eleven host calls differ in their names alone. SSLENGTH and SSNAME look into a selection set,
// which is a list that begins with the symbol $KVSEL, so its first member has index 1.

#include "host/builtins.h"

#include <cstdint>
#include <optional>

#include "host/host_call.h"
#include "lisp/interpreter.h"
#include "lisp/value.h"

namespace host {
namespace {

using lisp::Arguments;
using lisp::Builtin;
using lisp::BuiltinCall;
using lisp::Interpreter;
using lisp::LispList;
using lisp::Result;

Result selection_set_length(Interpreter& interpreter, const BuiltinCall& call) {
  if (call.arguments.size() != 1) return interpreter.fail("sslength expects one selection set");
  const std::optional<LispList> set = lisp::asSelectionSet(call.arguments[0]);
  if (!set) return interpreter.fail("sslength expects a selection set");
  return lisp::number(static_cast<double>(set->size() - 1));
}

// The member at a zero-based index; nil for a number that is not an index into the set. The range
// is tested as a double, so no number is too large to convert.
Result selection_set_member(Interpreter& interpreter, const BuiltinCall& call) {
  if (call.arguments.size() != 2 || !lisp::asNumber(call.arguments[1])) {
    return interpreter.fail("ssname expects selection set and index");
  }
  const std::optional<LispList> set = lisp::asSelectionSet(call.arguments[0]);
  if (!set) return interpreter.fail("ssname expects a selection set");
  const double x = *lisp::asNumber(call.arguments[1]);
  const auto member_count = static_cast<double>(set->size() - 1);
  if (!(x >= 0.0 && x < member_count)) return lisp::nil();
  const auto i = static_cast<std::uint32_t>(x);
  if (static_cast<double>(i) != x) return lisp::nil();
  return lisp::LispValue((*set)[i + 1]);
}

constexpr Builtin host_builtin(std::string_view name) {
  return {name, evaluate_host_call, Arguments::Unevaluated};
}

// GCC 12 would leave a std::array of deduced size writable while the worker runs.
constexpr Builtin kHostBuiltins[] = {
    host_builtin("GETPOINT"),
    host_builtin("GETCORNER"),
    host_builtin("GETDIST"),
    host_builtin("SSGET"),
    host_builtin("ENTGET"),
    host_builtin("ENTMOD"),
    host_builtin("ENTMAKE"),
    host_builtin("ENTMAKEX"),
    host_builtin("COMMAND"),
    host_builtin("COMMAND-S"),
    host_builtin("OSNAP"),
    Builtin{"SSLENGTH", selection_set_length},
    Builtin{"SSNAME", selection_set_member},
};

}  // namespace

std::span<const Builtin> host_builtins() { return kHostBuiltins; }

}  // namespace host
