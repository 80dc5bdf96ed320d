#include "console/source_files.h"

namespace lisp_worker::console {

std::size_t SourceFiles::numberOf(const explain::ProgramPointer& program) {
  if (program == last_) return last_number_;
  auto known = by_program_.find(program);
  if (known == by_program_.end()) {
    const explain::Source& source = program->source;
    const auto [file, is_new] =
        by_text_.try_emplace({source.name(), source.text()}, programs_.size());
    if (is_new) programs_.push_back(program);
    known = by_program_.emplace(program, file->second).first;
  }
  last_ = program;
  last_number_ = known->second;
  return last_number_;
}

}  // namespace lisp_worker::console
