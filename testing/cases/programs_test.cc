// Every program in testing/programs/, by the worker in this process, by its executable and by the
// literal implementation, and the rules of the files themselves.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "explain/reference.h"
#include "testing/formats/document_examples.h"
#include "testing/formats/program_file.h"
#include "testing/reference/literal_worker.h"
#include "testing/workers/executable_worker.h"
#include "testing/workers/keepings.h"
#include "testing/workers/real_worker.h"

namespace lisp_worker::testing_support {
namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

fs::path programsDirectory() { return sourceDirectory() / "testing" / "programs"; }

// The files' paths below the directory, sorted.
std::vector<std::string> programFiles() {
  std::vector<std::string> names;
  std::error_code error;
  for (const fs::directory_entry& entry :
       fs::recursive_directory_iterator(programsDirectory(), error)) {
    if (entry.path().extension() != ".lsp") continue;
    names.push_back(fs::relative(entry.path(), programsDirectory()).generic_string());
  }
  std::sort(names.begin(), names.end());
  return names;
}

ProgramFile load(const std::string& name) {
  std::ifstream stream(programsDirectory() / name, std::ios::binary);
  return parseProgramFile(std::string(std::istreambuf_iterator<char>(stream), {}));
}

TEST(Programs, AreThere) { EXPECT_GT(programFiles().size(), 50u); }

TEST(Programs, GiveTheirAnswersInTheWorker) {
  for (const std::string& name : programFiles()) {
    SCOPED_TRACE(name);
    const ProgramFile file = load(name);
    EXPECT_THAT(file.errors, IsEmpty());
    EXPECT_FALSE(file.steps.empty());
    for (const Keeping& keeping : keepings()) {
      SCOPED_TRACE(keeping.name);
      RealWorker worker(keeping.limits);
      EXPECT_THAT(runProgramFile(file, worker), IsEmpty());
    }
  }
}

TEST(Programs, GiveTheirAnswersInTheExecutable) {
  for (const std::string& name : programFiles()) {
    SCOPED_TRACE(name);
    ExecutableWorker worker;
    EXPECT_THAT(runProgramFile(load(name), worker), IsEmpty());
  }
}

TEST(Programs, GiveTheirAnswersInTheLiteralImplementation) {
  for (const std::string& name : programFiles()) {
    SCOPED_TRACE(name);
    LiteralWorker worker;
    EXPECT_THAT(runProgramFile(load(name), worker), IsEmpty());
    EXPECT_FALSE(worker.abandoned());
  }
}

// So that the literal implementation has each special form and builtin, too.
TEST(Programs, CallEverythingThatTheReferenceTellsOf) {
  std::string text;
  for (const std::string& name : programFiles()) text += readSource(programsDirectory() / name);
  for (const explain::Entry& entry : explain::entries()) {
    const std::string call = "(" + std::string(entry.name);
    EXPECT_TRUE(text.find(call + " ") != text.npos || text.find(call + ")") != text.npos)
        << entry.name;
  }
}

std::vector<std::string> faultsOf(const std::string& text) {
  const ProgramFile file = parseProgramFile(text);
  if (!file.errors.empty()) return file.errors;
  LiteralWorker worker;
  return runProgramFile(file, worker);
}

TEST(ProgramFile, TakesWhatHolds) {
  EXPECT_THAT(faultsOf(";; A sum.\n\n(+ 1\n;; inside\n 2)\n; => 3\n; steps: 3\n"), IsEmpty());
  EXPECT_THAT(
      faultsOf("A  ; trailing\n; error: unbound symbol: A\n(A\n; read error: unterminated list"),
      IsEmpty());
  EXPECT_THAT(faultsOf("(WHILE T)\n; step limit: LISP evaluation step limit exceeded\n"),
              IsEmpty());
  EXPECT_THAT(faultsOf("(GETDIST 1 2)\n; host call: GETDIST (1 2)\n; arguments: 2\n; run: 1\n"
                       "; answer: 5\n; => 5\n; resume 1: 6\n; status: 3\n"),
              IsEmpty());
  EXPECT_THAT(faultsOf("; escaped program: \"a\\x0ab\\\\n\"\n; escaped => \"a\\nb\\n\"\n"),
              IsEmpty());
  EXPECT_THAT(faultsOf("; program:\n; => nil\n(GETDIST)\n; host call: GETDIST ()\n"
                       "; cancel: 1\n; status: 0\n"),
              IsEmpty());
  EXPECT_THAT(faultsOf("(SETQ A 1)\n; => 1\n;; more\n\nA\n; => 1\n"), IsEmpty());
}

TEST(ProgramFile, KeepsTheSystemsOfEachContext) {
  const std::string kMove = "(TRANS '(1 2) 1 2)\n; => ";
  EXPECT_THAT(faultsOf("; system 1: 10 20 1 0 0 1 1 0\n" + kMove + "(11 22 0)\n" +
                       "; system 2: 0 0 2 0 0 2 1 0\n" + kMove + "(5.5 11 0)\n" +
                       "; context: 7\n; system 0: 0 0 1 0 0 1 1 0\n" + kMove + "(1 2 0)\n" +
                       "; context: 1\n" + kMove + "(5.5 11 0)\n"),
              IsEmpty());
}

TEST(ProgramFile, ReportsWhatDoesNotHold) {
  EXPECT_THAT(faultsOf("(+ 1 2)\n\n; => 4\n"),
              ElementsAre("3: the answer is status 0, steps 3: 3"));
  EXPECT_THAT(faultsOf("(+ 1 2)\n; => 3\n; steps: 2\n"),
              ElementsAre("3: the answer is status 0, steps 3: 3"));
  EXPECT_THAT(faultsOf("(GETDIST)\n; host call: GETPOINT ()\n"),
              ElementsAre("2: the answer is status 11, steps 1, run 1, call GETDIST: ()"));
  EXPECT_THAT(faultsOf("(SSGET)\n; host call: SSGET (1)\n"),
              ElementsAre("2: the answer is status 11, steps 1, run 1, call SSGET: ()"));
  EXPECT_THAT(faultsOf("1\n; error: 1\n"), ElementsAre("2: the answer is status 0, steps 1: 1"));
  EXPECT_THAT(faultsOf("1\n; status: 0\n"), ElementsAre("2: the answer is status 0, steps 1: 1"));
  EXPECT_THAT(faultsOf("(GETDIST)\n; host call: GETDIST ()\n; run: 2\n; arguments: 1\n"),
              ElementsAre("3: the answer is status 11, steps 1, run 1, call GETDIST: ()",
                          "4: the answer is status 11, steps 1, run 1, call GETDIST: ()"));
}

TEST(ProgramFile, ReportsItsOwnMistakes) {
  EXPECT_THAT(faultsOf("1\n; ==> 1\n"), Contains("2: not a directive: ==> 1"));
  EXPECT_THAT(faultsOf("1\n; just a remark\n"), Contains("2: not a directive: just a remark"));
  EXPECT_THAT(faultsOf("1\n; \n; => 1\n"), Contains("2: not a directive: "));
  EXPECT_THAT(faultsOf("1\n; steps: many\n"), Contains("2: not a directive: steps:"));
  EXPECT_THAT(faultsOf("1\n"), ElementsAre("2: a request without an expected answer"));
  EXPECT_THAT(faultsOf("1\n; => 1\n; => 1\n"),
              ElementsAre("3: an answer that no request asks for"));
  EXPECT_THAT(faultsOf("1\n; => 1\n2\n"), ElementsAre("4: a request without an expected answer"));
  EXPECT_THAT(faultsOf("1\n; answer: 1\n; => 1\n"),
              ElementsAre("2: a request without an expected answer"));
  EXPECT_THAT(faultsOf("1\n; steps: 1\n; => 1\n"), ElementsAre("2: a detail before the answer"));
  EXPECT_THAT(faultsOf("; escaped program: \\q\n; => 1\n"), Contains("1: a bad escape"));
  EXPECT_THAT(faultsOf("; resume 1\n"), ElementsAre("1: no run id"));
  for (const char* bad : {"; system 5: 0 0 1 0 0 1 1 0\n", "; system 1: 0 0 1\n"}) {
    EXPECT_THAT(faultsOf(bad), ElementsAre("1: not a system and its eight numbers"));
  }
}

TEST(ProgramFile, CountsLinesFromTheFirst) {
  EXPECT_THAT(parseProgramFile("1\n; remark\n", 10).errors,
              Contains("11: not a directive: remark"));
}

}  // namespace
}  // namespace lisp_worker::testing_support
