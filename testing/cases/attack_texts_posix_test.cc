// Texts that attack the reader, the table of names and the calls of functions, against the
// executable: each request's answer, time and memory are judged (testing/workers/watched_worker.h).

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "lisp_worker/worker/frame.h"
#include "testing/base/test_environment.h"
#include "testing/cases/attack.h"
#include "testing/generators/greedy_programs.h"
#include "testing/wire/frame_makers.h"
#include "testing/workers/watched_worker.h"

namespace lisp_worker::testing_support {
namespace {

using worker::kPayloadSizeMax;
using worker::WorkerStatus;

class AttackByTexts : public Attack {};

TEST_F(AttackByTexts, AMillionDigits) {
  const std::string digits(kPayloadSizeMax, '9');
  worker_.expectStatus(startFrame(digits), WorkerStatus::InvalidRequest);
  worker_.expectValue("0." + digits.substr(2), "1");
  worker_.expectValue("-" + digits.substr(10) + "e-1048566", "-1");
  worker_.expectValue("0x." + std::string(kPayloadSizeMax - 3, '0'), "0");
  worker_.expectStatus(startFrame("0x" + digits.substr(2)), WorkerStatus::InvalidRequest);
  worker_.expectStatus(startFrame("1e" + digits.substr(2)), WorkerStatus::InvalidRequest);
  worker_.expectValue("1e-" + digits.substr(3), "0");
}

TEST_F(AttackByTexts, ManyLongNumbers) {
  for (const std::size_t size : {20U, 400U, 1000U}) {
    const std::string number = " ." + std::string(size, '7');
    worker_.expectValue("(LENGTH '(" + asOftenAsFits(number, 0xFFF00) + "))",
                        std::to_string(0xFFF00 / number.size()));
    const std::string tiny = " ." + std::string(size, '0') + "7";
    worker_.expectValue("(LENGTH '(" + asOftenAsFits(tiny, 0xFFF00) + "))",
                        std::to_string(0xFFF00 / tiny.size()));
  }
  // A digit that decides far behind where a double's own digits end.
  const std::string hard = " 9007199254740992.99999999999999999999999999999999999999999999999";
  worker_.expectValue("(CAR '(" + asOftenAsFits(hard, 0xFFF00) + "))", "9007199254740992");
}

TEST_F(AttackByTexts, HalfAMillionSmallForms) {
  for (const char* const form : {"1 ", "()", "T ", "\"\"", "A ", "'1", "'()", "''"}) {
    const FrameResponse response = worker_.handle(startFrame(asOftenAsFits(form)));
    EXPECT_NE(response.status, WorkerStatus::Ok) << form;
  }
  worker_.expectStepLimit(asOftenAsFits("1 "));
  worker_.expectError(asOftenAsFits("A "), "unbound symbol: A");
}

TEST_F(AttackByTexts, DeepNestsOneAfterAnother) {
  const std::string nest = "'" + std::string(512, '(') + std::string(512, ')');
  worker_.expectValue(asOftenAsFits(nest, 0xFFF00) + " 1", "1");
  const std::string deeper = std::string(514, '(') + std::string(514, ')');
  worker_.expectError(asOftenAsFits(deeper), "parser nesting limit exceeded");
  const std::string quotes = repeated("'", 512) + "A ";
  worker_.expectValue(asOftenAsFits(quotes, 0xFFF00) + " 1", "1");
  worker_.expectValue("(LENGTH '(" + asOftenAsFits("'1", 0xFFF00) + "))",
                      std::to_string(0xFFF00 / 2));
}

TEST_F(AttackByTexts, AMegabyteOfOneByte) {
  worker_.expectError(std::string(kPayloadSizeMax, '\''), "parser nesting limit exceeded");
  worker_.expectError(std::string(kPayloadSizeMax, '('), "parser nesting limit exceeded");
  worker_.expectError(std::string(kPayloadSizeMax, ')'), "unexpected ')'");
  worker_.expectValue(std::string(kPayloadSizeMax, ';'), "nil");
  worker_.expectValue(std::string(kPayloadSizeMax, ' '), "nil");
  worker_.expectValue(asOftenAsFits(";\n"), "nil");
  worker_.expectStatus(startFrame(std::string(kPayloadSizeMax, '\0')),
                       WorkerStatus::InvalidRequest);
  worker_.expectStepLimit(std::string(kPayloadSizeMax, '"'));
  worker_.expectError("\"" + std::string(kPayloadSizeMax - 1, '\\'), "unterminated string");
}

TEST_F(AttackByTexts, AMillionByteSymbolLookedUpInALoop) {
  const std::string name(250000, 'N');
  worker_.expectValue(
      "(SETQ " + name + " 0) (WHILE (< " + name + " 30000) (SETQ " + name + " (1+ " + name + ")))",
      "30000");
  const std::string longest(kPayloadSizeMax - 40, 'M');
  worker_.expectValue("(SETQ " + longest + " 7)", "7");
  worker_.expectValue("(WHILE nil " + longest + ")", "nil");
  worker_.expectStatus(startFrame("(" + longest + ")"), WorkerStatus::InvalidRequest);
}

// Names that collide under the multiplications by 31 and by 33 that many tables hash with.
std::string collidingNames(const std::string& a, const std::string& b) {
  std::string names;
  for (std::size_t choice = 0; choice < 1U << 14; ++choice) {
    names += ' ';
    for (std::size_t bit = 0; bit < 14; ++bit) names += (choice >> bit & 1) != 0 ? a : b;
  }
  return names;
}

TEST_F(AttackByTexts, NamesThatCollideElsewhere) {
  worker_.expectValue("(LENGTH '(" + collidingNames("AP", "B1") + "))", "16384");
  worker_.expectValue("(LENGTH '(" + collidingNames("AR", "B1") + "))", "16384");
  std::string aligned;
  for (std::size_t i = 0; aligned.size() < 0xFFF00; ++i) {
    aligned += " A" + std::string(i % 7 + 1, '\x01') + std::to_string(i << 12);
  }
  worker_.expectValue("'(" + aligned + ") 1", "1");
}

TEST_F(AttackByTexts, DistinctSymbolsProgramAfterProgram) {
  constexpr std::size_t kFirstRound = 100;  // Numbers of three digits: names of one size.
  const std::size_t round_count = isSanitized() ? 25 : setting("LISP_NAME_ROUNDS", 60);
  long size_after_warm_up = 0;
  for (std::size_t round = kFirstRound; round < kFirstRound + round_count; ++round) {
    std::string names;
    for (std::size_t i = 0; names.size() < 0xFFF00; ++i) {
      names += " " + shortName(i) + "." + std::to_string(round);
    }
    worker_.expectValue("'(" + names + ") 1", "1");
    if (round == kFirstRound + 20) size_after_warm_up = worker_.residentSize();
  }
  worker_.expectResidentAtMost(size_after_warm_up + 1024);
}

TEST_F(AttackByTexts, AsManyDistinctSymbolsAsOneProgramHolds) {
  worker_.expectValue("'(" + shortNames(200000) + ") 1", "1");
  std::string quoted;
  for (std::size_t i = 0; quoted.size() < 0xFFF00; ++i) quoted += "'" + shortName(i) + " ";
  worker_.expectValue("'(" + quoted + ") 1", "1");
  std::string listed;
  for (std::size_t i = 0; listed.size() < 0xFFF00; ++i) listed += "(" + shortName(i) + ")";
  worker_.expectValue("'(" + listed + ") 1", "1");
  std::string texts;
  for (std::size_t i = 0; texts.size() < 0xFFF00; ++i) texts += "\"" + shortName(i) + "\"";
  worker_.expectValue("'(" + texts + ") 1", "1");
}

TEST_F(AttackByTexts, AsManyGlobalsAsOneProgramSets) {
  std::string pairs;
  for (std::size_t i = 0; pairs.size() < 0xFFF00; ++i) pairs += " " + shortName(i) + " 1";
  worker_.expectValue("(SETQ" + pairs + ")", "1");
  worker_.expectError("(SETQ" + pairs + ") (FOO)", "unsupported LISP function: FOO");
}

TEST_F(AttackByTexts, AsManyFunctionsAsOneProgramDefines) {
  std::string definitions;
  for (std::size_t i = 0; definitions.size() < 0xFFF00; ++i) {
    definitions += "(DEFUN " + shortName(i) + ".()1)";
  }
  worker_.expectValue(definitions + " (A.)", "1");
}

TEST_F(AttackByTexts, ManyLocalsCalledInALoop) {
  worker_.expectValue(
      "(SETQ .N 0) (DEFUN F (/" + shortNames(150000) + ") (SETQ .N (1+ .N) B 7) .N)", "F");
  worker_.expectValue(loop(12000, "(F)") + ".N", "12000");
}

TEST_F(AttackByTexts, ManyLocalsUnderManyCalls) {
  worker_.expectValue("(DEFUN F (.N /" + shortNames(150000) +
                          ") (IF (< .N 60) (F (1+ .N)) (WHILE (< .G 25000) (SETQ .G (1+ .G)))))",
                      "F");
  worker_.expectValue("(SETQ .G 0) (F 1)", "25000");
  // Every look-up of a name that no call declares must not ask all calls again.
  worker_.expectValue("(SETQ .G 0 .H 1) (DEFUN H () (WHILE (< .G 25000) (SETQ .G (+ .G .H))))",
                      "H");
  worker_.expectValue("(DEFUN F (.N / A B C D E F G H J K) (IF (< .N 60) (F (1+ .N)) (H)))", "F");
  worker_.expectValue("(F 1)", "25000");
}

TEST_F(AttackByTexts, DefiningManyLocalsInALoop) {
  worker_.expectValue(loop(20000, "(DEFUN F (/" + shortNames(140000) + ") 1)") + "(F)", "1");
  worker_.expectValue(loop(20000, "(DEFUN F (" + shortNames(140000) + ") 1)") + "I", "20000");
}

TEST_F(AttackByTexts, CallsBelowACallerWithManyBindings) {
  worker_.expectValue("(DEFUN G (X) (SETQ X (1+ X))) 1", "1");
  worker_.expectValue(
      "(DEFUN F (" + shortNames(150000) + ") (SETQ .I 0) (WHILE (< .I 9000) (SETQ .I (G .I))) .I)",
      "F");
  worker_.expectValue("(F" + repeated(" 1", 150000) + ")", "9000");
}

// Calls within the arguments of calls, whose copies of the caller's bindings must all be right.
TEST_F(AttackByTexts, AssignmentsInTheArgumentsOfPendingCalls) {
  worker_.expectValue("(DEFUN G (X) X)", "G");
  std::string sets;
  for (std::size_t i = 0; i < 60000; ++i) sets += " " + shortName(i % 20000) + " 1";
  worker_.expectValue("(DEFUN F (" + shortNames(20000) + ") " + repeated("(G ", 60) + "(SETQ" +
                          sets + ")" + repeated(")", 60) + ")",
                      "F");
  worker_.expectValue("(F" + repeated(" 1", 20000) + ")", "1");
  worker_.expectValue("(DEFUN F (A) (G (G (G (WHILE (< A 20000) (G (SETQ A (1+ A)))))))) (F 0)",
                      "20000");
}

TEST_F(AttackByTexts, ManyArguments) {
  worker_.expectValue("(+" + repeated(" 1", 249999) + ")", "249999");
  worker_.expectValue("(PRINC" + repeated(" '()", 249999) + ")", "()");
  const FrameResponse call = worker_.handle(startFrame("(COMMAND" + repeated(" 1", 249999) + ")"));
  EXPECT_EQ(call.status, WorkerStatus::HostCallPending);
  EXPECT_EQ(decodeEvalResult(call.payload).argument_count, 65535);
  worker_.expectAnswered(1, "4", "4");
}

TEST_F(AttackByTexts, LongBodiesInALoop) {
  const std::string body = repeated("()", 400000);
  worker_.expectValue(loop(25000, "(DEFUN F () " + body + ")") + "I", "25000");
  worker_.expectStepLimit("(WHILE T (DEFUN F () (F)) (IF nil (PROGN " + body + ")))");
}

}  // namespace
}  // namespace lisp_worker::testing_support
