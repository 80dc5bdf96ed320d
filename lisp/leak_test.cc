// A run that is over holds nothing, wherever it has ended: every value, name and function that only
// it has held is back. Each program here is ended at each of its steps and at each depth, so every
// way out of every part of the evaluator is taken with something in hand.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "lisp/graveyard.h"
#include "lisp/list.h"
#include "lisp/outcome.h"
#include "lisp/storage.h"
#include "lisp/symbol.h"
#include "testing/base/random.h"
#include "testing/generators/program_generator.h"
#include "testing/workers/evaluator.h"

namespace lisp {
namespace {

using lisp_worker::testing_support::Evaluator;
using lisp_worker::testing_support::ProgramGenerator;
using lisp_worker::testing_support::Random;

// The memory that is held when everything that waits to be taken apart has been.
struct Held {
  std::size_t symbols = symbolCount();
  std::size_t texts = textCount();
  std::size_t chunks = chunkCount();
  std::size_t bytes = storage::liveBytes();

  bool operator==(const Held&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Held& held) {
  return out << held.symbols << " symbols, " << held.texts << " texts, " << held.chunks
             << " chunks, " << held.bytes << " bytes";
}

Held held() {
  takeAllApart();
  return {};
}

// With another name and text each time wherever it has the name or text NEW: what is left of a name
// would not be seen if the next run had it as well.
std::string renewed(std::string program) {
  static int count = 0;
  const std::string name = "NEW" + std::to_string(++count);
  for (std::size_t at = 0; (at = program.find("NEW", at)) != std::string::npos; at += name.size()) {
    program.replace(at, 3, name);
  }
  return program;
}

// Runs the programs, each on what the ones before it have left.
void run(const std::vector<std::string>& programs, const EvalLimits& limits) {
  Evaluator evaluator(limits);
  for (const std::string& program : programs) static_cast<void>(evaluator.run(renewed(program)));
}

void expectNothingLeft(const std::vector<std::string>& programs, const EvalLimits& limits) {
  // The process makes some things once, the first time, and keeps them.
  run(programs, limits);
  const Held before = held();
  run(programs, limits);
  ASSERT_EQ(held(), before) << programs.back() << "\nwith " << limits.step_limit << " steps, depth "
                            << limits.depth_limit;
}

const std::string kSetup =
    "(SETQ A 3 L '(1 (2 3) 4) X \"a text of its own\" S '($KVSEL \"1F\" \"2A\") N NIL)"
    "(DEFUN F (V / W) (SETQ W (LIST V V)) W) (DEFUN G (V) (LIST V A))"
    "(DEFUN MANY (V / L1 L2 L3 L4 L5 L6 L7 L8 L9 L10 L11 L12 L13 L14 L15 L16 L17) "
    "(SETQ L1 (LIST V)) (LIST L1 L2 V))";

// Every part of the evaluator with lists, texts and names of its own in hand.
const char* const kPrograms[] = {
    "(WHILE (LIST A) (LIST 1 A) (LIST 2 \"NEW\"))",
    "(SETQ I 0) (WHILE (< (CAR (LIST I)) 3) (SETQ I (1+ I)) (LIST I 'NEW))",
    "(SETQ I 0) (WHILE (IF (< I 3) T UNBOUND) (SETQ I (1+ I)) (LIST I 'NEW))",
    "(PROGN (LIST 1) (LIST 2 \"NEW\") (LIST 3 'NEW))",
    "(AND (LIST 1) (LIST 2) (OR NIL (LIST 3)) (NOT (LIST 4)) (LIST 5))",
    "(IF (LIST 1) (LIST 2) (LIST 3))",
    "(SETQ B (LIST 1) C (LIST B B) B (LIST C))",
    "(SETQ B (LIST 1) 7 (LIST 2))",
    "(DEFUN AGAIN () (SETQ B (LIST 1) C (LIST B) 7 (LIST 2))) (AGAIN)",
    "(DEFUN AGAIN () (SETQ B (LIST 1) C)) (SETQ I 0) (WHILE (< I 5) (SETQ I (1+ I)) (F I)) (AGAIN)",
    "(CONS (LIST 1) (CONS (LIST 2) (LIST 3)))",
    "(CONS (LIST 1) (LENGTH (LIST 2)))",
    "(CAR (CDR (LIST (LIST 1) (LIST 2))))",
    "(+ (CAR (LIST 1)) (LENGTH (LIST 2 3)))",
    "(+ (LIST 1) (LIST 2))",
    "(+ 1 (LIST 2))",
    "(< (LIST 1) 2)",
    "(1+ (LIST 1))",
    "(LENGTH (LIST 1 \"NEW\"))",
    "(LENGTH 'NEW)",
    "(EQUAL (LIST 1 (LIST 2)) (LIST 1 (LIST 2)))",
    "(F (LIST 1)) (G (LIST 2)) (MANY (LIST 3))",
    "(F (LIST (G (LIST 1)))) (F (LIST 1) (LIST 2))",
    "(G (SETQ A (LIST A))) (MANY (SETQ A (LIST A)))",
    "(DEFUN H (A) (LIST (G (SETQ A (LIST A))) (G (SETQ A (LIST A))) A)) (H (LIST 0))",
    "(DEFUN H (A) (LIST (G (SETQ A (LIST A))) (G UNBOUND))) (H (LIST 0))",
    "(DEFUN H (A) (G (G (SETQ A (LIST A))) )) (LIST (H (LIST 0)) (UNKNOWN (LIST 1)))",
    "(DEFUN H (A B) (DEFUN H (A) (LIST A 'NEW)) (LIST A B)) (LIST (H (LIST 1) (LIST 2)) (H 3))",
    "(DEFUN H () (DEFUN I () (DEFUN J () (LIST 'NEW)) (J)) (I)) (H) (H) (J)",
    "(DEFUN H (N) (IF (< N 1) (LIST N) (LIST N (H (1- N))))) (H 6)",
    ("(DEFUN H (/ L1 L2 L3 L4 L5 L6 L7 L8 L9 L10 L11 L12 L13 L14 L15 L16 L17 L18) "
     "(DEFUN I () (SETQ L1 (LIST L2)) (LIST L1)) (LIST (I) L1 (MANY (LIST 1)))) (H)"),
    "(SETQ NEW (LIST 'A-NEW \"A NEW\")) (LIST NEW NEW)",
    "(SETQ I 0 B NIL) (WHILE (< I 20) (SETQ I (1+ I) B (CONS I B))) (SETQ B (CDR (CDR B)))",
    "(SSNAME S 1) (SSNAME (LIST '$KVSEL \"NEW\") 0) (SSLENGTH (LIST '$KVSEL \"NEW\"))",
    "(SSNAME (LIST '$KVSEL \"NEW\") (LIST 1))",
    "(DISTANCE (LIST 1 2) (LIST 3 4 5)) (POLAR (LIST 1 2) 3 4) (ANGLE (LIST 1) (LIST 2))",
    "(GETDIST (LIST 1 \"NEW\") (LIST A))",
    "((LIST 1) (LIST 2))",
    "(UNKNOWN-NAME (LIST 1) (LIST 2))",
    "(QUOTE) (LIST 1",
};

TEST(Leaks, NothingIsLeftOfARunThatEndsAtAnyStep) {
  for (const char* const program : kPrograms) {
    const std::string setup = kSetup + "(DEFUN AGAIN () " + program + ")";
    Evaluator evaluator;
    const std::uint64_t setup_steps = evaluator.run(setup).steps;
    constexpr std::uint64_t kStepsMax = 150;  // One of the programs has no end.
    const std::uint64_t steps = std::min(kStepsMax, evaluator.run("(AGAIN)").steps);
    // As many steps as the setup needs, so that a limit beyond them ends the call itself.
    std::string again;
    for (std::uint64_t i = 0; i < setup_steps; ++i) again += "1 ";
    again += "(AGAIN)";
    for (std::uint64_t limit = 0; limit <= steps + 1; ++limit) {
      // The third call finds shapes in the function.
      expectNothingLeft({setup, again, again + "(AGAIN)(AGAIN)", again},
                        {setup_steps + limit, 128});
      if (HasFatalFailure()) return;
    }
  }
}

TEST(Leaks, NothingIsLeftOfARunThatEndsAtAnyDepth) {
  for (const char* const program : kPrograms) {
    for (std::uint32_t depth = 1; depth <= 14; ++depth) {
      expectNothingLeft({kSetup, program}, {3000, depth});
      if (HasFatalFailure()) return;
    }
  }
}

// A definition that one run leaves to the next goes with the last version that has it.
TEST(Leaks, NothingIsLeftOfRunsThatFollowOneAnother) {
  for (const char* const program : kPrograms) {
    expectNothingLeft({kSetup, program, program, "(SETQ A 1 B 2 C 3 L NIL X NIL S NIL)",
                       "(DEFUN F (V) (LIST V)) (DEFUN G () 1) (DEFUN MANY () 2)", program},
                      {});
    if (HasFatalFailure()) return;
  }
}

TEST(Leaks, NothingIsLeftOfRandomPrograms) {
  for (std::uint64_t seed = 1; seed <= 300; ++seed) {
    Random random(seed);
    ProgramGenerator generator(random);
    std::vector<std::string> programs = {generator.bindings()};
    for (int i = 0; i < 4; ++i) programs.push_back(generator.program());
    expectNothingLeft(programs, {500 + random.below(1000), 128});
    ASSERT_FALSE(HasFatalFailure()) << "seed " << seed;
  }
}

}  // namespace
}  // namespace lisp
