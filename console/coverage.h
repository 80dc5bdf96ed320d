// Counts of the evaluations of each line of programs, as --coverage prints them:
//
//   == coverage of plate.lsp: 3 of 4 lines (75.0%), 1 of 2 branches
//         1 |    1 | (SETQ N 5)
//         1 |    2 | (IF (> N 3)
//         1 |    3 |   (SETQ N 3)
//     ##### |    4 |   (SETQ N 4))
//   plate.lsp:4:3: the ELSE of IF was never taken
//
// Of a line with several forms the most frequent one counts. Lines without a number hold nothing
// that is evaluated: comments, data, parameters.

#ifndef CONSOLE_COVERAGE_H_
#define CONSOLE_COVERAGE_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "console/source_files.h"
#include "explain/evaluation.h"
#include "explain/form.h"
#include "explain/watcher.h"

namespace lisp_worker::console {

class Coverage : public explain::Watcher {
 public:
  static constexpr std::size_t kBranchesShownMax = 100;  // Of one file.

  void began(const explain::ProgramPointer& program) override;
  void entered(const explain::ProgramPointer& program, std::size_t number) override;
  void left(const lisp::LispValue& value) override;
  void called(const explain::Function& function) override;

  // The text of each file that has run, with counts.
  [[nodiscard]] std::string text() const;

  // The same for programs that show coverage: the tracefile of lcov.
  [[nodiscard]] std::string tracefile() const;

 private:
  struct File {
    std::vector<std::uint64_t> entered;         // By the form's number.
    std::vector<std::uint64_t> nil_count = {};  // The number of times the form came to nil.
    std::unordered_map<const explain::Form*, std::size_t> numbers =
        {};                                                     // Of the first program's forms.
    std::unordered_map<std::size_t, std::uint64_t> calls = {};  // By the byte of the DEFUN.
  };
  struct OpenForm {
    std::size_t file;
    std::size_t number;
  };
  // A way that a form may go.
  struct Branch {
    const explain::Form* form;  // The IF, WHILE, AND or OR.
    const explain::Form* part;  // Where it leads; `form` when nothing is written there.
    const char* name;
    std::uint64_t taken;
  };
  // The results for a file, computed from its counts.
  struct Report {
    // By line: how often it was evaluated; kNoCode where nothing is.
    std::vector<std::uint64_t> lines;
    std::vector<Branch> branches;  // Of forms that were evaluated.
    std::vector<const explain::Form*> definitions;
  };
  static constexpr std::uint64_t kNoCode = static_cast<std::uint64_t>(-1);

  [[nodiscard]] std::size_t fileOf(const explain::ProgramPointer& program);
  [[nodiscard]] Report reportOf(std::size_t file) const;
  void look(const File& file, const explain::Form& form, Report& report) const;
  static void lookAtBranches(const File& file, const explain::Form& form, Report& report);

  SourceFiles sources_;
  std::vector<File> files_;
  std::vector<OpenForm> open_;
};

}  // namespace lisp_worker::console

#endif  // CONSOLE_COVERAGE_H_
