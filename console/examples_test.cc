// Every program of examples/, run against the real worker: each says itself how it must end.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "check/check.h"
#include "console/drawing_file.h"
#include "console/explainer.h"
#include "console/files.h"
#include "console/picture.h"
#include "console/program.h"
#include "console/script.h"
#include "console/session.h"
#include "lisp_worker/client/process.h"
#include "lisp_worker/client/worker_client.h"
#include "testing/base/test_environment.h"
#include "testing/formats/document_examples.h"

namespace lisp_worker::console {
namespace {

using testing::ElementsAre;
using testing_support::environment;
using testing_support::sourceDirectory;

std::vector<std::filesystem::path> examplePaths() {
  const std::filesystem::path directory = sourceDirectory() / "examples";
  std::vector<std::filesystem::path> paths;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    if (entry.path().extension() == ".lsp") paths.push_back(entry.path());
  }
  std::sort(paths.begin(), paths.end());
  return paths;
}

class Examples : public testing::Test {
 protected:
  void SetUp() override { startAfresh(); }

  // A new worker, an empty drawing.
  void startAfresh() {
    std::string error;
    process = client::startWorker(environment("LISP_WORKER_PATH"), &error);
    ASSERT_NE(process, nullptr) << error;
    worker = std::make_unique<client::WorkerClient>(*process);
    session = std::make_unique<Session>(*worker, out);
  }

  ProgramEnd run(const std::filesystem::path& path) {
    std::string error;
    const auto program = readProgram(path.string(), error);
    EXPECT_TRUE(program.has_value()) << error;
    if (!program) return ProgramEnd::Unexpected;
    EXPECT_TRUE(program->script.expectation.has_value()) << path << " does not say how it ends";
    return session->run(*program);
  }

  ProgramEnd runNamed(const std::string& name) {
    return run(sourceDirectory() / "examples" / name);
  }

  [[nodiscard]] std::vector<std::string> drawingLines() const {
    std::vector<std::string> lines;
    for (const Entity& entity : session->drawing().entities()) {
      lines.push_back(describeEntity(entity));
    }
    return lines;
  }

  std::unique_ptr<client::WorkerProcess> process;
  std::unique_ptr<client::WorkerClient> worker;
  std::ostringstream out;
  std::unique_ptr<Session> session;
};

TEST_F(Examples, EndAsTheySayOneAfterTheOther) {
  const auto paths = examplePaths();
  EXPECT_GE(paths.size(), 39u);
  for (const auto& path : paths) EXPECT_EQ(run(path), ProgramEnd::AsExpected) << out.str();
  EXPECT_EQ(out.str().find("not asked for"), std::string::npos) << out.str();
}

TEST_F(Examples, EndAsTheySayEachInAWorkerOfItsOwn) {
  for (const auto& path : examplePaths()) {
    startAfresh();
    EXPECT_EQ(run(path), ProgramEnd::AsExpected) << out.str();
    EXPECT_EQ(worker->shutdown(), lisp_worker::worker::WorkerStatus::Ok);
    EXPECT_EQ(process->finish(), (client::WorkerExit{client::WorkerExit::Kind::Exited, 0}));
  }
}

// The place where two texts differ by more than `tolerance` in a number, or otherwise; empty when
// nowhere. Sines differ in their last bits from one mathematics library to the next.
std::string differenceOf(const std::string& actual, const std::string& expected, double tolerance) {
  static const std::regex kNumber("-?[0-9]+(?:\\.[0-9]+)?(?:e[-+]?[0-9]+)?");
  const auto words = std::regex_replace(actual, kNumber, "#");
  if (words != std::regex_replace(expected, kNumber, "#")) return "the texts differ";
  std::sregex_iterator a(actual.begin(), actual.end(), kNumber);
  std::sregex_iterator b(expected.begin(), expected.end(), kNumber);
  for (const std::sregex_iterator end; a != end; ++a, ++b) {
    if (std::fabs(std::stod(a->str()) - std::stod(b->str())) > tolerance) {
      return a->str() + " instead of " + b->str() + " before " +
             expected.substr(static_cast<std::size_t>(b->position()), 80);
    }
  }
  return "";
}

// The results are what `lisp_console PROGRAM --save` has written, after a look at the picture.
TEST_F(Examples, LeaveTheDrawingsInResults) {
  const auto directory = sourceDirectory() / "examples" / "results";
  for (const auto& path : examplePaths()) {
    startAfresh();
    run(path);
    const auto result = (directory / path.filename()).replace_extension(".json");
    EXPECT_FALSE(session->drawing().entities().empty()) << path << " shows nothing";
    std::string error;
    const auto expected = readFile(result.string(), error);
    ASSERT_TRUE(expected.has_value()) << error;
    EXPECT_EQ(differenceOf(writeSheet(session->sheet()), *expected, 1e-6), "") << path;
  }
}

TEST_F(Examples, LookLikeTheirPictures) {
  const auto directory = sourceDirectory() / "examples";
  std::string error;
  const auto gallery = readFile((directory / "README.md").string(), error);
  ASSERT_TRUE(gallery.has_value()) << error;
  for (const auto& path : examplePaths()) {
    const std::string name = path.filename().string();
    EXPECT_NE(gallery->find(name), std::string::npos) << name << " is not in README.md";
    startAfresh();
    const auto program = readProgram(path.string(), error);
    ASSERT_TRUE(program.has_value()) << error;
    session->run(*program);
    const Sheet sheet = session->sheet();
    const PictureWishes& wishes = program->script.picture;
    const auto picture = makePicture(session->drawingBefore(), sheet.drawing, sheet.context,
                                     {.title = name,
                                      .shows_axes = wishes.axes,
                                      .shows_cells = wishes.cells,
                                      .page = wishes.page},
                                     error);
    ASSERT_TRUE(picture.has_value()) << name << ": " << error;
    const std::string shown = "pictures/" + path.stem().string() + ".svg";
    EXPECT_NE(gallery->find("(" + shown + ")"), std::string::npos) << shown;
    const auto expected = readFile((directory / shown).string(), error);
    ASSERT_TRUE(expected.has_value()) << error;
    EXPECT_EQ(differenceOf(picture->svg, *expected, 0.02), "") << shown;
  }
}

void appendTexts(const Program& program, std::vector<explain::ProgramPointer>& texts) {
  for (const Program& library : program.libraries) appendTexts(library, texts);
  texts.push_back(explain::readProgram(program.name, program.text));
}

// The checker finds nothing in programs that end with a value, nor in libraries; in a program that
// is to fail nothing but its failure may be.
TEST_F(Examples, PassTheChecker) {
  for (const auto& path : examplePaths()) {
    std::string error;
    const auto program = readProgram(path.string(), error);
    ASSERT_TRUE(program.has_value()) << error;
    std::vector<explain::ProgramPointer> texts;
    appendTexts(*program, texts);
    const Expectation& expectation = *program->script.expectation;
    for (const check::Finding& finding : check::findingsIn(texts, 0)) {
      const bool is_its_failure = expectation.kind == Expectation::Kind::Error &&
                                  finding.message == expectation.text &&
                                  finding.program == texts.back();
      // A loop without end is found by its contents.
      const bool is_its_loop = expectation.text == "LISP evaluation step limit exceeded" &&
                               finding.severity == check::Severity::Warning;
      EXPECT_TRUE(is_its_failure || is_its_loop) << check::describe(finding);
    }
  }
}

// Every error of the examples is explained: the observed evaluation comes to the same.
TEST_F(Examples, AreFollowedByTheExplainer) {
  for (const auto& path : examplePaths()) {
    startAfresh();
    out.str("");
    Explainer explainer;
    session->setExplainer(&explainer);
    run(path);
    EXPECT_EQ(out.str().find("no explanation"), std::string::npos) << out.str();
    const bool has_error = out.str().find("error: ") != std::string::npos;
    EXPECT_EQ(out.str().find("\n      | ") != std::string::npos, has_error) << out.str();
  }
}

// The functions of the libraries, each with what it gives.
TEST_F(Examples, FindTheLibrariesAtWork) {
  std::string error;
  const auto library = readProgram((sourceDirectory() / "examples/lib/sheets.lsp").string(), error);
  ASSERT_TRUE(library.has_value()) << error;
  ASSERT_EQ(session->load(*library), ProgramEnd::AsExpected) << out.str();
  struct Row {
    const char* program;
    const char* value;
  };
  const Row rows[] = {
      {"(LIST (ABS -2) (ABS 2) (ABS 0))", "(2 2 0)"},
      {"(LIST (MIN 1 2) (MIN 2 1) (MAX 1 2) (MAX 2 1))", "(1 1 2 2)"},
      {"(LIST (NTH 0 '(A B)) (NTH 1 '(A B)) (NTH 2 '(A B)) (NTH -1 '(A B)) (NTH 0.5 '(A B)))",
       "(A B nil nil nil)"},
      {"(LIST (REVERSE '(1 2 3)) (REVERSE '()))", "((3 2 1) ())"},
      {"(LIST (APPEND '(1 2) '(3)) (APPEND '() '(3)) (APPEND '(1) '()))", "((1 2 3) (3) (1))"},
      {"(LIST (MEMBER 2 '(1 2 3)) (MEMBER 9 '(1 2 3)) (MEMBER '(A) '((A))))", "((2 3) nil ((A)))"},
      {"(LIST (ASSOC 8 '((0 \"LINE\") (8 \"A\"))) (ASSOC 9 '((0 1))) (ASSOC 1 '()))",
       "((8 \"A\") nil nil)"},
      {"(LIST (CADR '(1 2 3)) (CADDR '(1 2 3)))", "(2 3)"},
      {"(LIST (GROUP 8 '((0 1) (8 \"A\"))) (GROUP 9 '()))", "(\"A\" nil)"},
      {"(LIST (WITH-GROUP 8 \"B\" '((0 1) (8 \"A\") (9 2))) (WITH-GROUP 8 \"B\" '()))",
       "(((0 1) (8 \"B\") (9 2)) ((8 \"B\")))"},
      {"(LIST (POINT-X '(1 2)) (POINT-Y '(1 2)) (POINT-Z '(1 2)) (POINT-Z '(1 2 3)))", "(1 2 0 3)"},
      {"(LIST (ADD-POINTS '(1 2) '(3 4 5)) (SUBTRACT-POINTS '(1 2) '(3 4 5)))",
       "((4 6 5) (-2 -2 -5))"},
      {"(LIST (SCALE-POINT '(1 2) 3) (BETWEEN '(0 0) '(4 8) 0.25) (OFFSET-POINT '(1 1) 2 3))",
       "((3 6 0) (1 2 0) (3 4 0))"},
      {"(LIST (DIGITS-OF 0) (DIGITS-OF 7.9) (DIGITS-OF 1050))", "((0) (7) (1 0 5 0))"},
      {"(LIST (DEGREES 180) (TWICE-AREA '((0 0) (2 0) (2 2) (0 2))) (CROSS '(1 0) '(0 1)))",
       "(3.1415926535897931 8 1)"},
  };
  for (const Row& row : rows) {
    const auto reply = worker->evalStart(row.program, 0);
    ASSERT_TRUE(reply && reply->value) << row.program;
    EXPECT_EQ(reply->value->text, row.value) << row.program;
  }
}

TEST_F(Examples, DrawABoltCircle) {
  ASSERT_EQ(runNamed("01_bolt_circle.lsp"), ProgramEnd::AsExpected) << out.str();
  EXPECT_THAT(drawingLines(),
              ElementsAre("E1 CIRCLE on layer HOLES: centre (140 50 0), radius 4.5",
                          "E2 CIRCLE on layer HOLES: centre (120 84.641016 0), radius 4.5",
                          "E3 CIRCLE on layer HOLES: centre (80 84.641016 0), radius 4.5",
                          "E4 CIRCLE on layer HOLES: centre (60 50 0), radius 4.5",
                          "E5 CIRCLE on layer HOLES: centre (80 15.358984 0), radius 4.5",
                          "E6 CIRCLE on layer HOLES: centre (120 15.358984 0), radius 4.5"));
}

TEST_F(Examples, CleanUpALayer) {
  ASSERT_EQ(runNamed("02_layer_cleanup.lsp"), ProgramEnd::AsExpected) << out.str();
  EXPECT_THAT(drawingLines(),
              ElementsAre("E1 LINE on layer WALLS: from (0 0 0), to (60 0 0)",
                          "E2 LINE on layer WALLS: from (60 0 0), to (60 40 0)",
                          "E3 LINE on layer WALLS: from (60 40 0), to (0 40 0)",
                          "E4 TEXT on layer NOTES: at (5 5 0), height 2.5, text \"Hall\"",
                          "E5 LINE on layer WALLS: from (0 40 0), to (0 0 0)"));
}

TEST_F(Examples, MakeEveryHostCall) {
  for (const char* const name : {"02_layer_cleanup.lsp", "05_every_host_call.lsp"}) {
    ASSERT_EQ(runNamed(name), ProgramEnd::AsExpected) << out.str();
  }
  for (const char* const name : {"GETPOINT", "GETCORNER", "GETDIST", "SSGET", "ENTGET", "ENTMOD",
                                 "ENTMAKE", "ENTMAKEX", "COMMAND", "COMMAND-S", "OSNAP"}) {
    EXPECT_NE(out.str().find(": " + std::string(name) + " with"), std::string::npos) << name;
  }
}

TEST_F(Examples, EndInEveryKindOfError) {
  for (const auto& path : examplePaths()) run(path);
  for (const char* const line :
       {"worker  EvalParseError    error: unterminated list   [0 steps]\n",
        "worker  EvalParseError    error: host response parse error: unterminated list   [0 "
        "steps]\n",
        "worker  EvalFailed        error: division by zero   ",
        "worker  EvalFailed        error: LISP evaluation depth exceeded   ",
        "worker  EvalFailed        error: LISP host replay divergence at call 1: ENTMAKE   ",
        "worker  EvalFailed        error: trans transform is singular   ",
        "worker  EvalStepLimit     error: LISP evaluation step limit exceeded   [250001 steps]\n",
        "worker  BadRequest        "}) {
    EXPECT_NE(out.str().find(line), std::string::npos) << line;
  }
}

// A failed program leaves nothing, neither in the drawing nor in the worker.
TEST_F(Examples, LeaveNoVariablesBehindWhenTheyFail) {
  ASSERT_EQ(runNamed("07_evaluation_error.lsp"), ProgramEnd::AsExpected) << out.str();
  EXPECT_THAT(drawingLines(), ElementsAre("E1 POINT on layer POINTS: at (1 2 0)"));
  const auto reply = worker->evalStart("DONE", 0);
  ASSERT_TRUE(reply && reply->value);
  EXPECT_EQ(reply->value->text, "unbound symbol: DONE");
}

TEST_F(Examples, KeepVariablesWhoseTextIsTooLongToSend) {
  ASSERT_EQ(runNamed("12_result_too_long.lsp"), ProgramEnd::AsExpected) << out.str();
  const auto reply = worker->evalStart("(LENGTH PAIRS)", 0);
  ASSERT_TRUE(reply && reply->value);
  EXPECT_EQ(reply->value->text, "2");
}

}  // namespace
}  // namespace lisp_worker::console
