// A host call takes the next entry of the transcript if there is one, after it has compared name
// and arguments. Without one the evaluation is kept in the middle of the call
// (Interpreter::awaitAnswer) or ended by a failure (requireHostCall).

#include "host/host_call.h"

#include <algorithm>
#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "lisp/observer.h"
#include "lisp/outcome.h"
#include "lisp/value.h"

namespace host {
namespace {

using lisp::HostTranscript;
using lisp::LispValue;

bool has_answer(const lisp::Interpreter& interpreter) {
  const HostTranscript* const transcript = interpreter.transcript();
  return transcript != nullptr && interpreter.replayCursor() < transcript->size();
}

bool matches(const lisp::HostTranscriptEntry& entry, const lisp::HostCall& call) {
  return entry.name == call.name &&
         std::equal(entry.arguments.begin(), entry.arguments.end(), call.arguments.begin(),
                    call.arguments.end(), lisp::valuesEqual);
}

// The answer to `call`, or how the run fails. Not in line: the arguments of a call may be calls,
// each of which takes its part of the stack.
[[gnu::noinline]] lisp::Result answer_of(lisp::Interpreter& interpreter, lisp::HostCall call) {
  lisp::Observer* const observer = interpreter.observer();
  if (observer != nullptr) observer->hostCalled(call.name, call.arguments);
  const std::size_t cursor = interpreter.replayCursor();
  if (!has_answer(interpreter) && !interpreter.awaitAnswer(call)) {
    return interpreter.requireHostCall(std::move(call));
  }
  // An answer that was waited for is checked like every other: a call with a NaN among its
  // arguments is not equal to itself, and a replay would diverge here.
  const lisp::HostTranscriptEntry& entry = (*interpreter.transcript())[cursor];
  if (!matches(entry, call)) {
    return interpreter.fail(
        "LISP host replay divergence at call " + std::to_string(cursor + 1) + ": ", call.name);
  }
  interpreter.advanceReplayCursor();
  if (observer != nullptr) observer->hostAnswered(entry);
  return LispValue(entry.answer);
}

}  // namespace

lisp::Result evaluate_host_call(lisp::Interpreter& interpreter, const lisp::BuiltinCall& call) {
  std::vector<LispValue> arguments;
  if (!interpreter.evaluateArguments(call.items, call.depth, arguments)) {
    return lisp::Result::failure();
  }
  return answer_of(interpreter, {std::string(call.name), std::move(arguments)});
}

}  // namespace host
