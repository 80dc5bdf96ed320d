#include "console/test_runner.h"

#include <ostream>
#include <sstream>

#include "console/expectation.h"
#include "console/explainer.h"
#include "console/host.h"
#include "console/session.h"
#include "explain/value_text.h"
#include "lisp_worker/client/worker_client.h"

namespace lisp_worker::console {
namespace {

bool expectsAnything(const Script& script) {
  return script.expectation || script.expected_entity_count || !script.expected_entities.empty();
}

}  // namespace

// Fills `report` with what a program that fails is to say, and returns why the worker broke off.
std::string TestRunner::runQuietly(const Program& program, client::WorkerProcess& process,
                                   std::vector<std::string>& report) {
  client::WorkerClient worker(process, {.time_limit = settings_.time_limit});
  std::ostringstream told;
  Session session(worker, told);
  Explainer explainer;
  explainer.setWatcher(settings_.watcher);
  session.setExplainer(&explainer);
  session.setBrief(true);
  session.setStrict(settings_.is_strict);
  session.setProgress(settings_.progress);
  if (settings_.host_call_count_max != 0) {
    session.setHostCallCountMax(settings_.host_call_count_max);
  }
  AnswerList answers(settings_.answers_name, settings_.answers);
  if (!settings_.answers_name.empty()) session.setAnswerer(&answers);
  if (settings_.sheet) session.setSheet(*settings_.sheet);
  ProgramEnd end = ProgramEnd::AsExpected;
  for (const Program& library : settings_.libraries) {
    if (end == ProgramEnd::AsExpected) end = session.load(library);
  }
  if (end == ProgramEnd::AsExpected) end = session.run(program);
  std::string broken = endWorker(worker, process);
  if (session.refusedCount() != 0) {
    report.push_back("  expected  no refused host call\n  got       " +
                     explain::counted(session.refusedCount(), "refused host call") + "\n");
  }
  for (const Mismatch& mismatch : session.mismatches()) {
    const Mismatch shown = shortened(mismatch);
    report.push_back("  expected  " + shown.expected + "\n  got       " + shown.got + "\n");
  }
  if (end == ProgramEnd::AsExpected && report.empty() && broken.empty()) return "";
  report.push_back(told.str());
  return broken;
}

bool TestRunner::run(const Program& program, std::string& error) {
  ++count_;
  std::vector<std::string> report;
  const auto process = settings_.start_worker(error);
  if (process == nullptr) {
    failed_.push_back(program.name);
    return false;
  }
  error = runQuietly(program, *process, report);
  if (report.empty()) {
    const bool expects = expectsAnything(program.script);
    if (!expects) ++without_expectation_count_;
    out_ << "ok      " << program.name << (expects ? "" : "   [expects nothing]") << "\n";
    return true;
  }
  failed_.push_back(program.name);
  out_ << "FAILED  " << program.name << "\n";
  for (const std::string& part : report) out_ << part;
  return error.empty();
}

void TestRunner::printSummary() const {
  const std::size_t passed = count_ - failed_.size();
  out_ << explain::counted(count_, "program") << ": " << passed << " passed, " << failed_.size()
       << " failed";
  if (without_expectation_count_ != 0) {
    out_ << "; " << without_expectation_count_ << " of those that passed "
         << (without_expectation_count_ == 1 ? "expects" : "expect") << " nothing (;@ expect)";
  }
  out_ << "\n";
  for (const std::string& name : failed_) out_ << "failed: " << name << "\n";
}

}  // namespace lisp_worker::console
