// The steps and the time of programs, by function and by line, as --profile prints them.
//
// Own steps are those of the forms of a function or a line. Total ones are those of the functions
// that it calls as well; of calls inside each other the outermost counts.
//
// Time is measured between one event of the watched evaluation and the next, without the work of
// the profile itself. This evaluation is the console's own, after the worker's, and slower; waiting
// for the host is not in it. So the shares of the time say something about the worker, the
// milliseconds do not.

#ifndef CONSOLE_PROFILE_H_
#define CONSOLE_PROFILE_H_

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "console/source_files.h"
#include "explain/evaluation.h"
#include "explain/watcher.h"

namespace lisp_worker::console {

class Profile : public explain::Watcher {
 public:
  static constexpr std::size_t kFunctionRowsMax = 40;
  static constexpr std::size_t kLineRowsMax = 200;  // Of one file.

  void began(const explain::ProgramPointer& program) override;
  void entered(const explain::ProgramPointer& program, std::size_t number) override;
  void left(const lisp::LispValue& value) override;
  void called(const explain::Function& function) override;
  void returned() override;
  void ended() override;

  // The most costly functions, then the most costly lines of each file, in the order of the text.
  [[nodiscard]] std::string text() const;

 private:
  using Clock = std::chrono::steady_clock;

  struct Cost {
    std::uint64_t steps = 0;
    Clock::duration time = {};

    Cost& operator+=(const Cost& other) {
      steps += other.steps;
      time += other.time;
      return *this;
    }
    friend Cost operator-(const Cost& a, const Cost& b) {
      return {a.steps - b.steps, a.time - b.time};
    }
  };
  // Of a function or a line.
  struct Row {
    std::uint64_t count = 0;  // Calls of the function; evaluations of the line's busiest form.
    Cost own = {};
    Cost total = {};
    std::size_t active = 0;  // Calls of the function, or from the line, that are in progress.
  };
  struct File {
    std::vector<Row> lines;                  // By number, less one.
    std::vector<std::uint64_t> form_counts;  // By the form's number.
  };
  struct FunctionRow {
    std::string name;
    std::size_t file = 0;
    std::size_t line = 0;
    Row row = {};
  };
  // The file, and the byte where its DEFUN begins, or kTopLevel.
  using FunctionKey = std::pair<std::size_t, std::size_t>;
  static constexpr std::size_t kTopLevel = static_cast<std::size_t>(-1);
  struct Call {
    Row* function;
    Row* line;   // That it is called from; null for the top level.
    Cost begin;  // Of everything until then.
  };

  [[nodiscard]] std::size_t fileOf(const explain::ProgramPointer& program);
  void stopClock();
  void startClock() { started_at_ = Clock::now(); }
  void charge(const Cost& cost);
  void enter(Row& function, Row* line);
  void leave();
  [[nodiscard]] std::string columns(const Row& row) const;
  void appendFunctions(std::string& text) const;
  void appendLines(std::string& text, std::size_t file) const;

  SourceFiles sources_;
  std::vector<File> files_;
  std::map<FunctionKey, FunctionRow> functions_;
  std::vector<Row*> open_;  // The lines of the forms in progress.
  std::vector<Call> calls_;
  Cost all_;
  Clock::time_point started_at_;
};

}  // namespace lisp_worker::console

#endif  // CONSOLE_PROFILE_H_
