// A program is one change of the drawing. Generated programs are ended at every one of their host
// calls in every way there is, and each time the drawing must be what it was, to the last byte of
// its file, to the next handle and to what was selected last.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "console/drawing_file.h"
#include "console/host.h"
#include "console/session.h"
#include "lisp_worker/client/worker_client.h"
#include "testing/base/random.h"
#include "testing/base/test_environment.h"
#include "testing/workers/in_process_worker.h"

namespace lisp_worker::console {
namespace {

using testing::HasSubstr;
using testing::Not;
using testing_support::InProcessWorker;
using testing_support::Random;
using testing_support::setting;

// Ends, and takes nothing any more, instead of answering so many answers.
class MortalWorker : public InProcessWorker {
 public:
  void dieAtAnswer(std::size_t count) { answers_left_ = count; }

  bool write(std::string_view frame) override {
    const auto type = static_cast<worker::MessageType>(
        worker::decodeHeader(std::span(frame).first<worker::kHeaderSize>()).type);
    if (type == worker::MessageType::EvalResume && answers_left_ && (*answers_left_)-- == 1) {
      return false;
    }
    return InProcessWorker::write(frame);
  }

 private:
  std::optional<std::size_t> answers_left_;
};

// Leaves all calls to the drawing but one, which gets this answer.
class OneAnswer : public Answerer {
 public:
  OneAnswer(std::size_t at_call, HostAnswer answer)
      : calls_left_(at_call), answer_(std::move(answer)) {}

  std::optional<HostAnswer> answer(const client::HostCall& /*call*/,
                                   Drawing& /*drawing*/) override {
    if (calls_left_ == 0 || --calls_left_ != 0) return std::nullopt;
    return answer_;
  }

 private:
  std::size_t calls_left_;
  HostAnswer answer_;
};

// In which way a program is ended at a host call.
enum class Way : std::uint8_t {
  UnreadableAnswer,
  Unanswered,
  Cancelled,
  TooManyCalls,
  Refused,
  DeadWorker,
  Error,
  StepLimit,
};
constexpr int kWayCount = 8;

// A form with one host call, or with some in a loop or a function.
std::string makeForm(Random& random) {
  const auto number = [&random](std::size_t end) { return std::to_string(random.below(end)); };
  const auto point = [&] { return "'(" + number(90) + " " + number(90) + ")"; };
  const auto layer = [&] { return "\"L" + number(4) + "\""; };
  const std::string forms[] = {
      "(ENTMAKE '((0 \"CIRCLE\") (8 " + layer() + ") (10 (" + number(9) + " 5)) (40 3)))",
      "(ENTMAKEX '((0 \"POINT\") (10 (1 " + number(9) + "))))",
      "(ENTMOD '((-1 \"E1\") (0 \"LINE\") (8 " + layer() + ") (10 (0 0)) (11 (1 " + number(9) +
          "))))",
      "(COMMAND \"LAYER\" \"M\" " + layer() + " \"C\" " + number(9) + " \"\" \"\")",
      "(COMMAND \"LAYER\" \"OFF\" " + layer() + " \"\")",
      "(COMMAND \"LAYER\" \"S\" " + layer() + " \"\")",
      "(COMMAND \"ZOOM\" \"W\" '(0 0) " + point() + ")",
      "(COMMAND \"ZOOM\" \"E\")",
      "(COMMAND \"LINE\" '(0 0) " + point() + " " + point() + " \"\")",
      "(COMMAND \"MOVE\" \"ALL\" \"\" '(0 0) " + point() + ")",
      "(COMMAND \"COPY\" \"L\" \"\" '(0 0) " + point() + ")",
      "(COMMAND \"MIRROR\" \"L\" \"\" '(0 0) " + point() + " \"Y\")",
      "(COMMAND \"ERASE\" \"L\" \"\")",
      "(COMMAND \"ERASE\" \"E2\" \"\")",
      "(SSGET \"X\")",
      "(GETPOINT)",
  };
  std::string form = random.pick(forms);
  switch (random.below(4)) {
    case 0:
      return "(SETQ N 0)(WHILE (< N " + number(4) + ") " + form + " (SETQ N (1+ N)))";
    case 1:
      return "(DEFUN F (X) " + form + ")(F 1)";
    default:
      return form;
  }
}

Sheet makeSheet() {
  std::string error;
  auto sheet = readSheet(R"({"layers": [{"name": "L1", "colour": 3}, {"name": "L2"}],
      "current_layer": "L2", "view": [0, 0, 50, 50], "entities": [
      {"type": "LINE", "from": [0, 0], "to": [5, 5]},
      {"type": "CIRCLE", "handle": "E2", "layer": "L1", "centre": [1, 2], "radius": 3}]})",
                         error);
  EXPECT_TRUE(sheet.has_value()) << error;
  if (!sheet) return emptySheet();
  sheet->drawing.setPreviousSelection({"E2", "E1"});
  return *std::move(sheet);
}

class WholeOrUntouched : public testing::Test {
 protected:
  // Runs the program on the sheet and ends it in that way at that call; at none for 0.
  ProgramEnd run(const std::string& program, Way way, std::size_t at_call) {
    MortalWorker process;
    client::WorkerClient worker(process);
    out.str("");
    Session session(worker, out);
    session.setBrief(true);
    session.setKeep(keeps);
    session.setSheet(sheet);
    OneAnswer unreadable(at_call, {")", "", ""});
    OneAnswer unanswered(at_call, {"nil", "", "nobody is there"});
    OneAnswer refused(at_call, {"nil", "not wanted", "", true});
    std::size_t call_count = 0;
    if (at_call != 0) {
      if (way == Way::UnreadableAnswer) session.setAnswerer(&unreadable);
      if (way == Way::Unanswered) session.setAnswerer(&unanswered);
      if (way == Way::TooManyCalls) session.setHostCallCountMax(at_call - 1);
      if (way == Way::DeadWorker) process.dieAtAnswer(at_call);
      if (way == Way::Cancelled) {
        session.setProgress(
            [&call_count, at_call](const Progress&) { return ++call_count < at_call; });
      }
      if (way == Way::Refused) {
        session.setStrict(true);
        session.setAnswerer(&refused);
      }
    }
    const ProgramEnd end = session.run("generated", program, Script());
    call_count_ = session.calls().size();
    drawing = session.drawing();
    return end;
  }

  // The drawing is what it was, and the console says so in one line if it had been changed.
  void expectUntouched() {
    EXPECT_TRUE(drawing == sheet.drawing);
    EXPECT_EQ(writeSheet({drawing, sheet.context}), file);
    EXPECT_EQ(drawing.nextHandle(), sheet.drawing.nextHandle());
    EXPECT_EQ(drawing.previousSelection(), sheet.drawing.previousSelection());
    const std::string said = out.str();
    EXPECT_THAT(said, Not(HasSubstr("drawing added")));
    EXPECT_THAT(said, Not(HasSubstr("drawing changed")));
    EXPECT_THAT(said, Not(HasSubstr("drawing erased")));
  }

  const Sheet sheet = makeSheet();
  const std::string file = writeSheet(sheet);
  bool keeps = false;
  Drawing drawing;
  std::size_t call_count_ = 0;
  std::ostringstream out;
};

TEST_F(WholeOrUntouched, AtEveryHostCallOfGeneratedPrograms) {
  const std::size_t program_count = setting("LISP_ROLLBACK_PROGRAMS", 10000);
  std::size_t ended_count = 0;
  std::size_t changed_count = 0;
  for (std::size_t n = 0; n < program_count && !HasFailure(); ++n) {
    Random random(n);
    std::vector<std::string> forms;
    for (int k = random.between(1, 5); k > 0; --k) forms.push_back(makeForm(random));
    std::string program;
    for (const std::string& form : forms) program += form + "\n";
    ASSERT_EQ(run(program, Way::Error, 0), ProgramEnd::AsExpected) << program << out.str();
    const std::size_t count = call_count_;
    const Drawing whole = drawing;
    if (!(whole == sheet.drawing)) ++changed_count;
    for (std::size_t at_call = 1; at_call <= count; ++at_call) {
      const auto way = static_cast<Way>((n + at_call) % kWayCount);
      SCOPED_TRACE("call " + std::to_string(at_call) + ", way " +
                   std::to_string(static_cast<int>(way)) + ", program " + std::to_string(n) +
                   ":\n" + program);
      if (way == Way::Error || way == Way::StepLimit) {
        // A loop without end costs the worker the most, so it is rare.
        const char* const end = way == Way::Error || n % 50 != 0 ? "(/ 1 0)" : "(WHILE T 1)";
        EXPECT_EQ(run(program + end, way, 0), ProgramEnd::Unexpected);
      } else {
        EXPECT_NE(run(program, way, at_call), ProgramEnd::AsExpected);
      }
      expectUntouched();
      ++ended_count;
    }
    // Handles and layers begin where they would have.
    run(program, Way::Error, 0);
    EXPECT_TRUE(drawing == whole);
  }
  EXPECT_GE(ended_count, program_count);
  EXPECT_GE(changed_count, program_count / 2);
}

TEST_F(WholeOrUntouched, SaysSoInOneLine) {
  EXPECT_EQ(
      run("(COMMAND \"CIRCLE\" '(1 1) 2)(COMMAND \"ERASE\" \"E1\" \"\")(/ 1 0)", Way::Error, 0),
      ProgramEnd::Unexpected);
  expectUntouched();
  EXPECT_THAT(out.str(),
              HasSubstr("drawing untouched         what the program had changed is taken "
                        "back: 2 entities   [--keep keeps it]\n"));
  run("(COMMAND \"LAYER\" \"M\" \"NEW\" \"\")(/ 1 0)", Way::Error, 0);
  expectUntouched();
  EXPECT_THAT(out.str(), HasSubstr("is taken back   [--keep keeps it]\n"));
  run("(SSGET \"X\")(/ 1 0)", Way::Error, 0);
  expectUntouched();
  EXPECT_THAT(out.str(), Not(HasSubstr("taken back")));
}

TEST_F(WholeOrUntouched, UnlessTheUserKeepsWhatWasDrawn) {
  keeps = true;
  run("(COMMAND \"CIRCLE\" '(1 1) 2)(/ 1 0)", Way::Error, 0);
  EXPECT_EQ(drawing.entities().size(), 3u);
  EXPECT_THAT(out.str(), HasSubstr("drawing added             E3 CIRCLE"));
  EXPECT_THAT(out.str(), Not(HasSubstr("taken back")));
  run("(COMMAND \"CIRCLE\" '(1 1) 2)(GETPOINT)(GETPOINT)", Way::DeadWorker, 2);
  EXPECT_EQ(drawing.entities().size(), 3u);
}

TEST_F(WholeOrUntouched, EndsAtARefusedCallWhenTheUserIsStrict) {
  EXPECT_EQ(run("(COMMAND \"CIRCLE\" '(1 1) 2)(COMMAND \"CIRCLE\" '(1 1) 2)", Way::Refused, 2),
            ProgramEnd::Unexpected);
  expectUntouched();
  EXPECT_THAT(out.str(), HasSubstr("run     cancelled         COMMAND was refused: not wanted\n"));
}

}  // namespace
}  // namespace lisp_worker::console
