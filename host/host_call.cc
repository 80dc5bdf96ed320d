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

}  // namespace

lisp::Result evaluate_host_call(lisp::Interpreter& interpreter, const lisp::BuiltinCall& call) {
  lisp::HostCall host_call{std::string(call.name), {}};
  host_call.arguments.reserve(call.items.size() - 1);
  if (!interpreter.evaluateArguments(call.items, call.depth, host_call.arguments)) {
    return lisp::Result::failure();
  }
  lisp::Observer* const observer = interpreter.observer();
  if (observer != nullptr) observer->hostCalled(call.name, host_call.arguments);
  const std::size_t cursor = interpreter.replayCursor();
  if (!has_answer(interpreter) && !interpreter.awaitAnswer(host_call)) {
    return interpreter.requireHostCall(std::move(host_call));
  }
  // An answer that was waited for is checked like every other: a call with a NaN among its
  // arguments is not equal to itself, and a replay would diverge here.
  const lisp::HostTranscriptEntry& entry = (*interpreter.transcript())[cursor];
  if (!matches(entry, host_call)) {
    return interpreter.fail(
        "LISP host replay divergence at call " + std::to_string(cursor + 1) + ": ", call.name);
  }
  interpreter.advanceReplayCursor();
  if (observer != nullptr) observer->hostAnswered(entry);
  return LispValue(entry.answer);
}

}  // namespace host
