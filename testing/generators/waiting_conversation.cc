// The player answers, cancels, starts and registers at random, and keeps a list of the runs that
// wait. The reference decides what the host learns, as in a real conversation.

#include "testing/generators/waiting_conversation.h"

#include <string>
#include <utility>

#include "testing/base/random.h"
#include "testing/generators/program_generator.h"
#include "testing/generators/text_generator.h"
#include "testing/wire/frame_makers.h"

namespace lisp_worker::testing_support {
namespace {

constexpr std::uint64_t kContextId = 3;
constexpr std::size_t kOpenRunsMax = 5;

// `(DEFUN NAME (X / L1 L2 ...) BODY)` with so many locals that they are bound when they are
// touched.
std::string functionOfManyLocals(const std::string& name, const std::string& body) {
  std::string text = "(DEFUN " + name + " (X / A B Y Z";
  for (int i = 0; i < 20; ++i) text += " L" + std::to_string(i);
  return text + ") " + body + ") ";
}

class Player {
 public:
  Player(std::uint64_t seed, FramePort& reference)
      : random_(seed), programs_(random_), reference_(reference) {}

  std::vector<Exchange> run() {
    play(registerFrame(kContextId, record(0)));
    if (random_.chance(1, 2)) play(startFrame(programs_.bindings()));
    for (int i = random_.between(10, 60); i > 0; --i) play(next());
    for (const char* const name : {"A", "B", "L", "X", "Y", "Z", "(F 1)", "(G 1)", "(H 1 2)"}) {
      play(startFrame(name, kContextId));
    }
    return std::move(exchanges_);
  }

 private:
  struct OpenRun {
    std::uint64_t id;
    std::string call_name;
  };

  // Contexts that differ in a factor, and one that differs in the sign of a zero alone.
  static std::string record(std::size_t variant) {
    static constexpr double kFactors[] = {1, 2, -3};
    std::string text = identityContextRecord(kContextId);
    PlanarSystem system = kIdentitySystem;
    system[0] = variant == 3 ? -0.0 : 0.0;
    system[2] = kFactors[variant % 3];
    setSystem(text, 1, system);
    return text;
  }

  Frame next() {
    if (!open_runs_.empty() && random_.chance(4, 5)) {
      const OpenRun& run = random_.pick(open_runs_);
      if (random_.chance(1, 40)) return cancelFrame(run.id);
      return resumeFrame(run.id, answer(run.call_name));
    }
    switch (random_.below(8)) {
      case 0:
        return registerFrame(kContextId, record(random_.chance(1, 2) ? 0 : random_.below(4)));
      case 1:
        return startFrame(random_.pick(kInterludes));
      case 2:
        return startFrame(random_.pick(kInterludes), kContextId);
      default:
        break;
    }
    if (open_runs_.size() >= kOpenRunsMax) return startFrame(random_.pick(kInterludes));
    return startFrame(program(), random_.chance(1, 2) ? kContextId : 0);
  }

  std::string answer(const std::string& call_name) {
    static const std::string kAnswers[] = {
        "1",          "2",  "-0.0", "nil",           "T", "(1 2 3)",   "(A B)", "\"text\"", "1e308",
        "($KVSEL 1)", "()", "0",    "((1) (2 (3)))", "X", "(1.5 2.5)", "0.5"};
    if (random_.chance(1, 30)) return generateAnswer(random_, call_name);
    return random_.pick(kAnswers);
  }

  std::string count() { return std::to_string(random_.between(2, 12)); }

  std::string program() {
    std::string text;
    for (int forms = random_.between(1, 3); forms > 0; --forms) text += piece() + "\n";
    return text;
  }

  // Something that calls the host, mostly more than once.
  std::string piece() {
    switch (random_.below(16)) {
      case 0:
        return "(SETQ A 0 L '()) (WHILE (< A " + count() +
               ") (SETQ L (CONS (GETDIST A L) L) A (1+ A))) L";
      case 1:
        return "(DEFUN F (X / Y) (SETQ Y (GETPOINT X)) (G (LIST X Y)) (SETQ A Y) (LIST X Y A)) "
               "(DEFUN G (Y) (SETQ X (ENTGET Y)) (SETQ Y (LIST X Y)) Y) (LIST (F 1) (F 2) X Y)";
      case 2:
        return "(DEFUN H (X Y) (SETQ Y (SSGET X Y)) (LIST X Y)) "
               "(DEFUN F (X) (LIST (H (SETQ X (GETDIST X)) (LIST X (GETDIST X))) X)) (F 7)";
      case 3:
        return functionOfManyLocals(
                   "G", "(SETQ Y X) (SETQ L1 (GETDIST Y A)) (SETQ Z (LIST L1 Y L2)) (LIST X Z)") +
               functionOfManyLocals("F", "(SETQ A X) (LIST (G (SETQ Y 5)) Y A (GETPOINT L3) Z)") +
               "(SETQ A 1 Y 2) (LIST (F 3) A Y)";
      case 4:
        return "(SETQ X (TRANS '(1 2 3) 0 1)) (GETPOINT 1) (GETPOINT X) (TRANS X 1 0)";
      case 5:
        return "(GETPOINT 5) (SETQ B (TRANS '(1 2) 0 1)) (GETDIST (CAR B)) (GETDIST B)";
      case 6:
        return "(SETQ B (* 1e308 1e10)) (GETDIST 1) (GETDIST (LIST 1 (LIST 2 (- B B)))) (GETDIST "
               "2)";
      case 7:
        return random_.chance(1, 40) ? "(GETDIST) (GETDIST 1) (WHILE T (SETQ A 1))"
                                     : "(LIST (GETDIST) (GETDIST 1) (GETDIST 2))";
      case 8:
        return "(ENTGET (CAR (LIST (SSGET (LIST (GETPOINT) (GETDIST A))) (GETCORNER))))";
      case 9:
        return "(DEFUN F (X) (GETDIST X)) (SETQ Y (F 1)) (DEFUN F (X) (LIST X Y (GETPOINT))) "
               "(LIST (F 2) (GETDIST 3) (F 4))";
      case 10:
        return "(DEFUN + (A B) (GETDIST A B)) (SETQ L (LIST (+ 1 2) (+ 3 4))) L";
      case 11:
        return "(SETQ A (GETDIST)) (SETQ B (GETDIST)) (LIST (/ 1 A) (GETDIST (/ 5 B)))";
      case 12:
        return "(DEFUN R (N) (IF (= N 0) (LIST (GETPOINT N) (GETPOINT)) (LIST N (R (1- N))))) (R " +
               std::to_string(random_.chance(1, 4) ? random_.between(40, 44)
                                                   : random_.between(0, 9)) +
               ")";
      case 13:
        return "(SETQ L (LIST 1 2 (GETDIST))) (SETQ X L L (CONS (GETDIST L) L)) (LIST X L)";
      case 14:
        return "(AND (GETDIST) (OR (NOT (GETPOINT)) (IF (GETDIST 1) (PROGN 1 (GETDIST 2)))) "
               "(SSGET))";
      default:
        return programs_.program();
    }
  }

  void play(Frame frame) {
    const FrameResponse expected = reference_.handle(frame);
    std::erase_if(open_runs_, [&](const OpenRun& run) { return run.id == frame.run_id; });
    const EvalResult result = decodeEvalResult(expected.payload);
    if (result.run_id != 0) open_runs_.push_back({result.run_id, result.call_name});
    exchanges_.push_back({std::move(frame), expected});
  }

  static constexpr const char* kInterludes[] = {
      "(SETQ A 100 B 200 L '(9))",
      "(SETQ X \"x\" Y \"y\" Z 'Z)",
      "(DEFUN F (X) (LIST 'NEW X))",
      "(DEFUN G (X / A) (SETQ A X) (LIST A))",
      "(LIST A B)",
      "(F 5)",
      "(SETQ A (GETDIST 1))",
      "(CAR (UNKNOWN))",
      "(DEFUN H (X Y) (SETQ A Y) X) (H 1 2)",
      "(SETQ T 1) T",
      "(",
      "",
  };

  Random random_;
  ProgramGenerator programs_;
  FramePort& reference_;
  std::vector<Exchange> exchanges_;
  std::vector<OpenRun> open_runs_;
};

}  // namespace

std::vector<Exchange> playWaitingConversation(std::uint64_t seed, FramePort& reference) {
  return Player(seed, reference).run();
}

}  // namespace lisp_worker::testing_support
