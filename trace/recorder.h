// Recorder: makes the index of a run while it is evaluated.
//
//   trace::Recorder recorder(definitions);
//   const explain::Outcome outcome =
//       explain::evaluate(program, definitions, answers, context, {}, &recorder);
//   const trace::Index index = recorder.take();
//
// Of several runs the last one counts.

#ifndef TRACE_RECORDER_H_
#define TRACE_RECORDER_H_

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "explain/watcher.h"
#include "trace/index.h"

namespace trace {

class Recorder : public explain::Watcher {
 public:
  // `definitions` are those that the run begins with; borrowed. Of the values that come to exist in
  // it, at most `value_bytes_max` bytes are kept.
  explicit Recorder(const explain::Definitions& definitions,
                    std::size_t value_bytes_max = kValueBytesMax);

  // The index of the last run that has ended, once.
  [[nodiscard]] Index take() { return std::move(state_.index); }

  void began(const explain::ProgramPointer& program) override;
  void entered(const explain::ProgramPointer& program, std::size_t number) override;
  void left(const lisp::LispValue& value) override;
  void assigned(std::string_view name, bool is_global) override;
  void called(const explain::Function& function) override;
  void returned() override;
  void hostCalled(std::string_view name, std::span<const lisp::LispValue> arguments) override;
  void hostAnswered(const explain::AnsweredCall& call) override;
  void ended() override;

 private:
  [[nodiscard]] Position next() const { return state_.index.stepCount() + 1; }
  [[nodiscard]] std::uint32_t numberOf(const explain::ProgramPointer& program);
  [[nodiscard]] std::uint32_t numberOf(const explain::Function& function);
  [[nodiscard]] NameNumber numberOf(std::string_view name);
  [[nodiscard]] std::uint32_t keep(const lisp::LispValue& value);

  // Of the run in progress.
  struct State {
    Index index;
    std::size_t bytes_max = 0;   // Of all values in this process.
    std::vector<Position> open;  // The steps that have not come to a value yet.
    CallNumber call = 0;         // In progress.
    Position left_last = 0;
    const explain::Program* program = nullptr;  // That was asked for last, and its number.
    std::uint32_t program_number = 0;
    std::unordered_map<const explain::Program*, std::uint32_t> program_numbers;
    std::unordered_map<const explain::Form*, std::uint32_t> function_numbers;  // By their DEFUN.
  };

  const explain::Definitions& definitions_;
  const std::size_t value_bytes_max_;
  State state_;
};

// The difference between the outcome here and the one that the worker has reported: a value or an
// error, its text as the worker writes it, and the steps. Empty if there is none.
[[nodiscard]] std::string differenceFrom(const explain::Outcome& outcome, bool has_value,
                                         std::string_view text, std::uint64_t steps);

}  // namespace trace

#endif  // TRACE_RECORDER_H_
