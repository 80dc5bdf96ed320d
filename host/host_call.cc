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

bool matches(const lisp::HostTranscriptEntry& entry, std::string_view name,
             const std::vector<LispValue>& arguments) {
  return entry.name == name && std::equal(entry.arguments.begin(), entry.arguments.end(),
                                          arguments.begin(), arguments.end(), lisp::valuesEqual);
}

}  // namespace

lisp::Result evaluate_host_call(lisp::Interpreter& interpreter, const lisp::BuiltinCall& call) {
  std::vector<LispValue> arguments;
  arguments.reserve(call.items.size() - 1);
  if (!interpreter.evaluateArguments(call.items, call.depth, arguments)) {
    return lisp::Result::failure();
  }
  lisp::Observer* const observer = interpreter.observer();
  if (observer != nullptr) observer->hostCalled(call.name, arguments);
  const HostTranscript* const transcript = interpreter.transcript();
  const std::size_t cursor = interpreter.replayCursor();
  if (transcript == nullptr || cursor == transcript->size()) {
    return interpreter.requireHostCall({std::string(call.name), std::move(arguments)});
  }
  const lisp::HostTranscriptEntry& entry = (*transcript)[cursor];
  if (!matches(entry, call.name, arguments)) {
    return interpreter.fail(
        "LISP host replay divergence at call " + std::to_string(cursor + 1) + ": ", call.name);
  }
  interpreter.advanceReplayCursor();
  if (observer != nullptr) observer->hostAnswered(entry);
  return LispValue(entry.answer);
}

}  // namespace host
