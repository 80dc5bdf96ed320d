// The texts that programs were read from. One that is run again, such as a library of several
// programs, is the same file.

#ifndef CONSOLE_SOURCE_FILES_H_
#define CONSOLE_SOURCE_FILES_H_

#include <cstddef>
#include <map>
#include <string_view>
#include <utility>
#include <vector>

#include "explain/evaluation.h"

namespace lisp_worker::console {

class SourceFiles {
 public:
  // Its number; the next one for a new file.
  [[nodiscard]] std::size_t numberOf(const explain::ProgramPointer& program);

  // The program that was the first of its file. Those of one file have the same forms.
  [[nodiscard]] const explain::Program& operator[](std::size_t file) const {
    return *programs_[file];
  }
  [[nodiscard]] std::size_t size() const { return programs_.size(); }

 private:
  std::vector<explain::ProgramPointer> programs_;
  std::map<std::pair<std::string_view, std::string_view>, std::size_t> by_text_;
  std::map<explain::ProgramPointer, std::size_t> by_program_;
  explain::ProgramPointer last_;  // Asked for, most often again.
  std::size_t last_number_ = 0;
};

}  // namespace lisp_worker::console

#endif  // CONSOLE_SOURCE_FILES_H_
