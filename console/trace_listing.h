// The calls of programs, one line for each, as --trace prints them:
//
//   == trace of fact.lsp: 3 calls
//   fact.lsp:3:1           1  (FACT 2) = 2
//   fact.lsp:2:26          2    (FACT 1) = 1
//   fact.lsp:4:1           1  (GETPOINT "From: ") = (0 0 0)
//
// The place of the call, its depth among the calls in progress, its arguments and its value.

#ifndef CONSOLE_TRACE_LISTING_H_
#define CONSOLE_TRACE_LISTING_H_

#include <cstddef>
#include <deque>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "explain/evaluation.h"
#include "explain/watcher.h"

namespace lisp_worker::console {

// Calls of functions that programs define, and of the host. Of a program with more calls only the
// first and the last are kept.
class TraceListing : public explain::Watcher {
 public:
  static constexpr std::size_t kFirstCallsMax = 400;
  static constexpr std::size_t kLastCallsMax = 100;

  void began(const explain::ProgramPointer& program) override;
  void entered(const explain::ProgramPointer& program, std::size_t number) override;
  void left(const lisp::LispValue& value) override;
  void called(const explain::Function& function) override;
  void returned() override;
  void hostCalled(std::string_view name, std::span<const lisp::LispValue> arguments) override;
  void hostAnswered(const explain::AnsweredCall& call) override;
  void ended() override;

  // The lists of all programs that have made calls.
  [[nodiscard]] const std::string& text() const { return text_; }

 private:
  struct OpenForm {
    const explain::Program* program;
    std::size_t number;
    std::size_t first_value;  // Of its arguments, in values_.
    std::size_t call;         // That it makes, or kNoCall.
  };
  struct Line {
    const explain::Program* program;  // Where the call stands.
    std::size_t begin;
    std::size_t depth;
    std::string call;
    std::string end;  // " = 5"; empty while the call is in progress.
  };
  static constexpr std::size_t kNoCall = static_cast<std::size_t>(-1);

  void add(const std::string& name, std::span<const lisp::LispValue> arguments);
  // Null when it is one of those that are left out.
  [[nodiscard]] Line* find(std::size_t call);
  void print(const Line& line);

  std::string name_;  // Of the program that runs.
  std::vector<OpenForm> open_;
  std::vector<lisp::LispValue> values_;
  std::size_t depth_ = 0;       // Functions in progress.
  std::size_t call_count_ = 0;  // Of the program.
  std::vector<Line> first_;
  std::deque<Line> last_;
  std::string text_;
};

}  // namespace lisp_worker::console

#endif  // CONSOLE_TRACE_LISTING_H_
