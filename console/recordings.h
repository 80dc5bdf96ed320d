// The recordings that the command line asks for, of the programs that run: trace, profile,
// coverage.

#ifndef CONSOLE_RECORDINGS_H_
#define CONSOLE_RECORDINGS_H_

#include <cstddef>
#include <iosfwd>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "console/command_line.h"
#include "console/coverage.h"
#include "console/profile.h"
#include "console/trace_listing.h"
#include "explain/evaluation.h"
#include "explain/watcher.h"

namespace lisp_worker::console {

class Recordings : public explain::Watcher {
 public:
  explicit Recordings(const CommandLine& line);
  Recordings(const Recordings&) = delete;
  Recordings& operator=(const Recordings&) = delete;

  // For Explainer::setWatcher; null when nothing is recorded.
  [[nodiscard]] explain::Watcher* watcher() { return watchers_.empty() ? nullptr : this; }

  // Prints what was recorded, and writes the file that the command line names. False with the
  // reason in `error`.
  [[nodiscard]] bool finish(std::ostream& out, std::string& error) const;

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
  std::optional<TraceListing> trace_;
  std::optional<Profile> profile_;
  std::optional<Coverage> coverage_;
  bool shows_coverage_;
  std::string coverage_path_;
  std::vector<explain::Watcher*> watchers_;  // Those of the above that there are.
};

}  // namespace lisp_worker::console

#endif  // CONSOLE_RECORDINGS_H_
