// Calls of user functions: the order of the contract, and a short way for most calls.

#include <cstddef>

#include "lisp/evaluate.h"
#include "lisp/interpreter.h"

namespace lisp {
namespace {

// An argument has failed.
[[gnu::noinline]] Result leaveUncalled(UserFunction& function) {
  releaseFunction(&function);
  return Result::failure();
}

}  // namespace

template <bool is_observed>
Result callFunction(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  const Symbol& name = nameOf(items);
  UserFunction& function = *name.function;
  // 1. Arity, before any argument is evaluated.
  if (items.flatLength() - 1 != function.params().size()) [[unlikely]] {
    return interpreter.fail("wrong argument count for ", name.bytes());
  }
  // The record found here serves the call to its end, whatever redefines the name meanwhile.
  ++function.references;
  // 2. The callee's copy of the local bindings is taken now.
  Bindings& bindings = interpreter.bindings();
  Bindings::Call call = bindings.prepareCall();
  // 3. Arguments, in the caller's bindings.
  PlainStack<RawValue>& arguments = interpreter.arguments();
  const std::size_t first_argument = arguments.size();
  if (!pushArguments(interpreter, items, depth)) [[unlikely]]
    return leaveUncalled(function);
  // 4. and 5. The caller's bindings as they were, parameters, locals; body.
  bindings.enterCall(call, function, arguments.data() + first_argument);
  arguments.truncate(first_argument);
  if constexpr (is_observed) interpreter.observer()->called(function);
  Result result = evaluateSequence(interpreter, function.body(), depth);
  if (!result.failed()) [[likely]] {
    if constexpr (is_observed) interpreter.observer()->returned();
    // 6. The call's bindings go.
    bindings.leaveCall(call);
  }
  if (--function.references == 0) [[unlikely]]
    retireFunction(&function);
  return result;
}

template Result callFunction<false>(Interpreter& interpreter, Chunk& items, std::uint32_t depth);
template Result callFunction<true>(Interpreter& interpreter, Chunk& items, std::uint32_t depth);

// A call whose arguments assign nothing: no more than steps 1, 3, 5 and 6. Other calls, and those
// of functions with many locals, are callFunction's.
Result callPlainly(Interpreter& interpreter, Chunk& items, std::uint32_t depth) {
  if (operationOf(items) != Operation::UserFunction) [[unlikely]]
    return evaluateByName(interpreter, items, depth);
  UserFunction& function = *nameOf(items).function;
  if (items.flatLength() - 1 != function.plainArity() || !interpreter.countSteps(1, depth - 1))
      [[unlikely]] {
    return evaluateByName(interpreter, items, depth);
  }
  ++function.references;
  Bindings& bindings = interpreter.bindings();
  std::size_t trail_begin = 0;
  if (items.flatLength() == 2) {
    Result argument = evaluateForm(interpreter, items.slots()[1], depth);
    if (argument.failed()) [[unlikely]]
      return leaveUncalled(function);
    trail_begin = bindings.enterPlainCall(function, argument.take());
  } else {
    PlainStack<RawValue>& arguments = interpreter.arguments();
    const std::size_t first_argument = arguments.size();
    if (!pushArguments(interpreter, items, depth)) [[unlikely]]
      return leaveUncalled(function);
    trail_begin = bindings.enterPlainCall(function, arguments.data() + first_argument);
    arguments.truncate(first_argument);
  }
  Result result = evaluateSequence(interpreter, function.body(), depth);
  if (!result.failed()) [[likely]]
    bindings.leavePlainCall(trail_begin);
  if (--function.references == 0) [[unlikely]]
    retireFunction(&function);
  return result;
}

}  // namespace lisp
