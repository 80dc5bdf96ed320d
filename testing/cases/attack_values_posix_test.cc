// Programs that attack by the values they build, against the executable: each request's answer,
// time and memory are judged (testing/workers/watched_worker.h).

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

class AttackByValues : public Attack {};

TEST_F(AttackByValues, DoublingAList) {
  const std::string doubled = "(SETQ X '(1)) " + loop(19000, "(SETQ X (LIST X X))");
  worker_.expectValue(doubled + "(LENGTH X)", "2");
  worker_.expectStatus(startFrame(doubled + "X"), WorkerStatus::InvalidRequest);
  worker_.expectValue("(SETQ Y X) " + doubled + "(EQUAL X Y)", "T");
  worker_.expectValue("(EQUAL X (CAR Y))", "nil");
  worker_.expectStatus(startFrame("(GETPOINT X)"), WorkerStatus::InvalidRequest);
  worker_.expectAnswered(1, "5", "5");
  worker_.expectValue("(SETQ X 1 Y 1)", "1");
}

TEST_F(AttackByValues, DoublingByCons) {
  worker_.expectValue("(SETQ X '(1)) " + loop(19000, "(SETQ X (CONS X X))") + "(LENGTH X)",
                      "19001");
  worker_.expectStatus(startFrame("X"), WorkerStatus::InvalidRequest);
  worker_.expectValue("(SETQ Y '(1)) " + loop(19000, "(SETQ Y (CONS Y Y))") +
                          "(LIST (EQUAL X Y) (EQUAL (CDR X) Y))",
                      "(T nil)");
}

// A hundred levels with every form of a loop, over so many runs that ten million levels stand.
TEST_F(AttackByValues, NestingTenMillionLevels) {
  const int runs = isSanitized() ? 4 : 44;
  constexpr std::size_t kPasses = 2200;  // Of 113 steps each.
  const auto nest = [](const std::string& name) {
    return loop(kPasses,
                "(SETQ " + name + " " + repeated("(LIST ", 104) + name + repeated(")", 104) + ")") +
           "(LENGTH " + name + ")";
  };
  worker_.expectValue("(SETQ X nil Y nil)", "nil");
  for (int run = 0; run < runs; ++run) {
    worker_.expectValue(nest("X"), "1");
    worker_.expectValue(nest("Y"), "1");
  }
  worker_.expectStatus(startFrame("X"), WorkerStatus::InvalidRequest);
  worker_.expectStatus(startFrame("(GETPOINT X)"), WorkerStatus::InvalidRequest);
  worker_.expectAnswered(1, "(7)", "(7)");
  worker_.expectValue("(EQUAL X (LIST Y))", "nil");
  worker_.expectValue("(EQUAL X Y)", "T");
  worker_.expectValue("(EQUAL X Y)", "T");
  // The rest of them at each level is not walked again.
  worker_.expectValue(loop(15000, "(EQUAL X Y) (SETQ X (CAR X) Y (CAR Y))") + "(EQUAL X Y)", "T");
  worker_.expectValue("(SETQ X nil)", "nil");
  worker_.expectValue("(SETQ Y nil)", "nil");
  worker_.expectValue("(LIST X Y)", "(nil nil)");
}

// Each level is the rest of a list, and so begins in the middle of its storage.
TEST_F(AttackByValues, NestingInTheRestsOfLists) {
  worker_.expectValue("(SETQ X nil Y nil)", "nil");
  for (int run = 0; run < 4; ++run) {
    worker_.expectValue(loop(20000, "(SETQ X (CDR (LIST 0 X)))") + "(LENGTH X)", "1");
    worker_.expectValue(loop(12000, "(SETQ Y (CDR (CDR '(1 2 3))) Y (CDR (LIST Y X)))") + "1", "1");
  }
  worker_.expectValue(loop(15000, "(SETQ Z (CDR (LIST Y X)))") + "(EQUAL Z (LIST X))", "T");
}

TEST_F(AttackByValues, ConsOntoALongList) {
  worker_.expectValue("(SETQ L '(" + repeated("1 ", 100000) + ")) (LENGTH L)", "100000");
  worker_.expectValue("(SETQ K '()) " + loop(20000, "(SETQ K (CONS (CONS I L) K))") +
                          "(LIST (LENGTH K) (LENGTH (CAR K)) (CAR (CAR K)))",
                      "(20000 100001 20000)");
}

TEST_F(AttackByValues, EveryRestOfALongList) {
  worker_.expectValue("(SETQ L '(" + repeated("1 ", 100000) + ")) (LENGTH L)", "100000");
  worker_.expectValue("(SETQ K '()) " + loop(15000, "(SETQ L (CDR L) K (CONS L K))") +
                          "(LIST (LENGTH K) (LENGTH (CAR K)))",
                      "(15000 85000)");
  worker_.expectValue("(SETQ M L) " + loop(15000, "(SETQ M (CONS 1 (CDR M)))") + "(EQUAL L M)",
                      "T");
}

// Every CONS makes a run of its own, with room that nobody uses.
TEST_F(AttackByValues, AsManyRunsAsOneProgramMakes) {
  const std::string list = "(SETQ X '(1 2 3 4 5 6 7 8)) ";
  worker_.expectValue(list + "(LENGTH (SETQ K (LIST " + repeated("(CONS()X)", 83000) + ")))",
                      "83000");
  worker_.expectValue(list + "(LENGTH (SETQ K (LIST " + repeated("(CONS 1 X)", 83000) + ")))",
                      "83000");
}

TEST_F(AttackByValues, IndexingAListOfManyRuns) {
  worker_.expectValue("(SETQ S '($KVSEL 0)) " +
                          loop(12000, "(CONS 0 (CDR S)) (SETQ S (CONS '$KVSEL (CONS I (CDR S))))") +
                          "(SSLENGTH S)",
                      "12001");
  worker_.expectValue(loop(25000, "(SSNAME S 12000)") + "(LIST (SSNAME S 0) (SSNAME S 11999))",
                      "(12000 1)");
  worker_.expectValue("(SETQ N 0) " + loop(15000, "(SETQ N (+ N (SSNAME S 6000)))") + "N",
                      "90000000");
}

TEST_F(AttackByValues, ComparingLongListsUpToTheStepLimit) {
  const std::string ones = repeated("1 ", 200000);
  worker_.expectValue("(SETQ A '(" + ones + ")) (SETQ C '(" + ones + "2)) (LENGTH C)", "200001");
  worker_.expectValue("(SETQ B '(" + ones + ")) (LENGTH B)", "200000");
  worker_.expectStepLimit("(WHILE T (EQUAL A B) (EQUAL B (CDR C)))");
  worker_.expectStepLimit("(WHILE T (EQUAL (LIST 1 A) (LIST 2 B)) (EQUAL (CONS 1 A) (CONS 2 B)))");
  worker_.expectStepLimit("(WHILE T (EQUAL (CDR (CDR A)) (CDR (CDR B))))");
  worker_.expectValue("(LIST (EQUAL A B) (EQ A (CDR C)))", "(T nil)");
}

// Lists that differ only where one has nil and the other the number whose bits stand for nil.
TEST_F(AttackByValues, ComparingLongListsThatDifferAtTheirEnds) {
  const std::string ones = repeated("1 ", 200000);
  for (const char* const last :
       {"4.9406564584124654e-324", "0", "()", "\"\"", "1.0000000000000002"}) {
    worker_.expectValue("(SETQ A '(" + ones + "nil)) (LENGTH A)", "200001");
    worker_.expectValue("(SETQ B '(" + ones + last + ")) (LENGTH B)", "200001");
    worker_.expectStepLimit("(WHILE T (EQUAL A B))");
  }
}

TEST_F(AttackByValues, ComparingNansAtTheEndsOfLongLists) {
  const std::string ones = repeated("1 ", 200000);
  worker_.expectValue("(SETQ I (* 1e308 10) N (- I I) A '(" + ones + ")) (LENGTH A)", "200000");
  worker_.expectValue("(SETQ B '(" + ones + ")) (LENGTH B)", "200000");
  worker_.expectStepLimit("(WHILE T (EQUAL (LIST A N) (LIST B N)))");
}

TEST_F(AttackByValues, ComparingWhatWasDoubled) {
  worker_.expectValue(
      "(SETQ X '(1) Y '(1)) " + loop(15000, "(SETQ X (LIST X X) Y (LIST Y Y))") + "(EQUAL X Y)",
      "T");
  worker_.expectStepLimit("(WHILE T (EQUAL X Y))");
  worker_.expectStepLimit("(SETQ I 0) (WHILE T (SETQ I (1+ I)) (EQUAL (LIST I X) (LIST I Y)))");
}

// A replay compares arguments that it builds anew each time, exponentially large.
TEST_F(AttackByValues, ReplayingLargeArguments) {
  worker_.expectStatus(startFrame("(SETQ X '(1)) " + loop(15000, "(SETQ X (LIST X X))") +
                                  "(GETPOINT X) (GETDIST X) (LENGTH X)"),
                       WorkerStatus::InvalidRequest);
  worker_.grantTime(2);
  worker_.expectStatus(resumeFrame(1, "1"), WorkerStatus::InvalidRequest);
  worker_.expectAnswered(1, "2", "2");
  const std::string ones = repeated("1 ", 200000);
  const int count = isSanitized() ? 20 : 100;
  const std::uint64_t run_id =
      worker_.expectCall("(SETQ A '(" + ones + ")) " +
                             loop(static_cast<std::size_t>(count), "(ENTGET A)") + "(LENGTH A)",
                         "ENTGET");
  for (int answer = 1; answer < count; ++answer) {
    EXPECT_EQ(worker_.handle(resumeFrame(run_id, "(" + ones + ")")).status,
              WorkerStatus::HostCallPending);
  }
  worker_.expectAnswered(run_id, "nil", "200000");
}

// Elements of every length, so that storage of every size is needed once.
TEST_F(AttackByValues, ListsOfEveryLengthInTurn) {
  const long size_before = worker_.residentSize();
  for (std::size_t length = 1; length <= 40; ++length) {
    const std::string list = "(" + repeated("1 ", length - 1) + "1)";
    worker_.expectValue("(LENGTH '(" + asOftenAsFits(list, 0xFFF00) + "))",
                        std::to_string(0xFFF00 / list.size()));
  }
  worker_.expectResidentAtMost(size_before + kRequestMemoryMax);
}

TEST_F(AttackByValues, SymbolsOfEveryLengthInTurn) {
  const long size_before = worker_.residentSize();
  for (std::size_t length = 4; length <= 500; length += isSanitized() ? 64 : 8) {
    std::string names;
    for (std::size_t i = 0; names.size() + length < 0xFFF00; ++i) {
      names += " " + shortName(i);
      names.append(length - shortName(i).size(), '-');
    }
    worker_.expectValue("'(" + names + ") 1", "1");
  }
  worker_.expectResidentAtMost(size_before + kRequestMemoryMax);
}

TEST_F(AttackByValues, DroppingMillionsOfValuesAtOnce) {
  for (int run = 0; run < 20; ++run) {
    worker_.expectValue(
        "(SETQ K '()) " + loop(19000, "(SETQ K (CONS (LIST I I) K))") + "(LENGTH K)", "19000");
    worker_.expectError("(SETQ J '()) " + loop(18000, "(SETQ J (CONS (LIST I J) J))") + "(FOO)",
                        "unsupported LISP function: FOO");
  }
  worker_.expectValue("(SETQ K nil)", "nil");
}

TEST_F(AttackByValues, EncodingUpToTheLastByte) {
  worker_.expectValue("(SETQ S \"" + std::string(1000000, 's') + "\") 1", "1");
  worker_.expectStatus(startFrame("(LIST S S)"), WorkerStatus::InvalidRequest);
  worker_.expectStatus(startFrame("(SETQ X S) " + loop(1000, "(SETQ X (LIST X X S))") + "X"),
                       WorkerStatus::InvalidRequest);
  worker_.expectStatus(startFrame("(LIST" + repeated(" 0.1", 249999) + ")"),
                       WorkerStatus::InvalidRequest);
  worker_.expectValue("(LIST" + repeated(" 1", 249999) + ")", "(1" + repeated(" 1", 249998) + ")");
  // Every list of () costs the stack of open lists its most.
  worker_.expectStatus(startFrame("(SETQ X nil) " + loop(19000, "(SETQ X (LIST X X))") + "X"),
                       WorkerStatus::InvalidRequest);
}

}  // namespace
}  // namespace lisp_worker::testing_support
