// The run of a program in a worker inside this process, recorded as the console's debugger has it.

#ifndef TESTING_WORKERS_RECORDED_RUN_H_
#define TESTING_WORKERS_RECORDED_RUN_H_

#include <gtest/gtest.h>

#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "console/debug/debug_session.h"
#include "console/debug/recorded_run.h"
#include "console/explainer.h"
#include "console/program.h"
#include "console/script.h"
#include "console/session.h"
#include "lisp_worker/client/worker_client.h"
#include "testing/workers/in_process_worker.h"

namespace lisp_worker::testing_support {

[[nodiscard]] inline console::Program programOf(const std::string& name, const std::string& text) {
  std::string error;
  auto script = console::readScript(text, error);
  EXPECT_TRUE(script) << error;
  return {.name = name, .text = text, .script = script.value_or(console::Script())};
}

// The run of the program, after those of the libraries, each lib.lsp. Nothing if the program cannot
// be read.
[[nodiscard]] inline std::optional<console::RecordedRun> recordedRun(
    const console::Program& program, const std::vector<std::string>& libraries = {}) {
  InProcessWorker process;
  client::WorkerClient worker(process);
  std::ostringstream told;
  console::Session session(worker, told);
  console::Explainer explainer;
  session.setExplainer(&explainer);
  session.setBrief(true);
  for (const std::string& library : libraries) {
    EXPECT_EQ(session.load(programOf("lib.lsp", library)), console::ProgramEnd::AsExpected);
  }
  return console::recordRun(session, explainer, program, {});
}

// The same for a program named p.lsp.
[[nodiscard]] inline std::optional<console::RecordedRun> recordedRun(
    const std::string& text, const std::vector<std::string>& libraries = {}) {
  return recordedRun(programOf("p.lsp", text), libraries);
}

}  // namespace lisp_worker::testing_support

#endif  // TESTING_WORKERS_RECORDED_RUN_H_
