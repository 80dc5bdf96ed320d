// Programs run without frames: one after the other on what the former left behind, or once more
// with recorded answers.

#ifndef TESTING_WORKERS_EVALUATOR_H_
#define TESTING_WORKERS_EVALUATOR_H_

#include <string>
#include <string_view>
#include <utility>

#include "lisp/environment.h"
#include "lisp/interpreter.h"
#include "lisp/outcome.h"

namespace lisp_worker::testing_support {

// Runs programs in turn, with all builtins and without a coordinate context or transcript. A run
// that ends with a value leaves its bindings and functions to the next, any other leaves nothing.
class Evaluator {
 public:
  explicit Evaluator(lisp::EvalLimits limits = {});

  lisp::EvalOutcome run(std::string_view program);

 private:
  lisp::EvalLimits limits_;
  lisp::Environment environment_;
};

// The outcome of a program that runs alone.
[[nodiscard]] lisp::EvalOutcome evaluate(std::string_view program, lisp::EvalLimits limits = {});

// A program that runs with the answers that its host has given so far.
class Replay {
 public:
  explicit Replay(std::string program) : program_(std::move(program)) {}

  // Appends to the transcript; `answer` and the list `arguments` are read.
  Replay& answered(std::string_view name, std::string_view answer);  // No arguments.
  Replay& answered(std::string_view name, std::string_view arguments, std::string_view answer);

  [[nodiscard]] lisp::EvalOutcome run(lisp::EvalLimits limits = {}) const;

 private:
  std::string program_;
  lisp::HostTranscript transcript_;
};

}  // namespace lisp_worker::testing_support

#endif  // TESTING_WORKERS_EVALUATOR_H_
