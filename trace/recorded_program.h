// Programs that are run and recorded for the tests of this directory.

#ifndef TRACE_RECORDED_PROGRAM_H_
#define TRACE_RECORDED_PROGRAM_H_

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include "explain/evaluation.h"
#include "explain/form.h"
#include "lisp/graveyard.h"
#include "trace/index.h"
#include "trace/recorder.h"

namespace trace {

// A host call with its answer, as text of the language.
inline explain::AnsweredCall answered(const std::string& name, const std::string& answer) {
  return {.name = name,
          .answer = explain::readProgram("answer", answer)->reading.forms.front().value};
}

// A program that has been run, and its index.
struct RecordedProgram {
  explain::ProgramPointer program;
  explain::Outcome outcome;
  Index index;
};

inline RecordedProgram record(const std::string& text,
                              std::vector<explain::AnsweredCall> answers = {},
                              explain::Definitions definitions = {},
                              std::size_t bytes_max = kValueBytesMax) {
  const auto program = explain::readProgram("p.lsp", text);
  lisp::takeAllApart();  // Garbage that goes during the run would make room for more values.
  Recorder recorder(definitions, bytes_max);
  auto outcome = explain::evaluate(program, definitions, answers, nullptr, {}, &recorder);
  return {program, std::move(outcome), recorder.take()};
}

// The variables and functions of a finished program.
inline explain::Definitions definitionsOf(const std::string& text) {
  explain::Definitions definitions;
  static_cast<void>(
      explain::evaluate(explain::readProgram("lib.lsp", text), definitions, {}, nullptr));
  return definitions;
}

// The text of the form that the step evaluates.
inline std::string textOf(const Index& index, Position step) {
  const explain::Form& form = index.formOf(step);
  return std::string(index.program(index.step(step).program)
                         ->source.text()
                         .substr(form.begin, form.end - form.begin));
}

// The step of the nth evaluation of a form with this text, from 1; 0 if there is none.
inline Position find(const Index& index, const std::string& text, int nth = 1) {
  for (Position n = 1; n < index.end(); ++n) {
    if (textOf(index, n) == text && --nth == 0) return n;
  }
  return 0;
}

}  // namespace trace

#endif  // TRACE_RECORDED_PROGRAM_H_
