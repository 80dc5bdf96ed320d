#include "console/recordings.h"

#include <ostream>

#include "console/files.h"

namespace lisp_worker::console {

Recordings::Recordings(const CommandLine& line)
    : shows_coverage_(line.shows_coverage), coverage_path_(line.coverage_path) {
  if (line.traces) watchers_.push_back(&trace_.emplace());
  if (line.profiles) watchers_.push_back(&profile_.emplace());
  if (line.shows_coverage || !line.coverage_path.empty()) {
    watchers_.push_back(&coverage_.emplace());
  }
}

bool Recordings::finish(std::ostream& out, std::string& error) const {
  if (trace_) out << (trace_->text().empty() ? "== trace: no calls\n" : trace_->text());
  if (profile_) out << profile_->text();
  if (shows_coverage_) out << coverage_->text();
  if (coverage_path_.empty()) return true;
  if (!writeFile(coverage_path_, coverage_->tracefile(), error)) return false;
  out << "coverage: " << coverage_path_ << "\n";
  return true;
}

void Recordings::began(const explain::ProgramPointer& program) {
  for (explain::Watcher* const watcher : watchers_) watcher->began(program);
}

void Recordings::entered(const explain::ProgramPointer& program, std::size_t number) {
  for (explain::Watcher* const watcher : watchers_) watcher->entered(program, number);
}

void Recordings::left(const lisp::LispValue& value) {
  for (explain::Watcher* const watcher : watchers_) watcher->left(value);
}

void Recordings::assigned(std::string_view name, bool is_global) {
  for (explain::Watcher* const watcher : watchers_) watcher->assigned(name, is_global);
}

void Recordings::called(const explain::Function& function) {
  for (explain::Watcher* const watcher : watchers_) watcher->called(function);
}

void Recordings::returned() {
  for (explain::Watcher* const watcher : watchers_) watcher->returned();
}

void Recordings::hostCalled(std::string_view name, std::span<const lisp::LispValue> arguments) {
  for (explain::Watcher* const watcher : watchers_) watcher->hostCalled(name, arguments);
}

void Recordings::hostAnswered(const explain::AnsweredCall& call) {
  for (explain::Watcher* const watcher : watchers_) watcher->hostAnswered(call);
}

void Recordings::ended() {
  for (explain::Watcher* const watcher : watchers_) watcher->ended();
}

}  // namespace lisp_worker::console
