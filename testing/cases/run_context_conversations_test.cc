// Conversations about the coordinate contexts of runs: under which one a run is evaluated, and what
// a host that replaces one between the frames of a run brings about.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "lisp_worker/worker/frame.h"
#include "testing/cases/whole_conversation.h"
#include "testing/formats/scenario.h"
#include "testing/wire/frame_makers.h"
#include "testing/wire/wire_frames.h"

namespace lisp_worker::testing_support {
namespace {

using worker::MessageHeader;
using worker::MessageType;
using worker::WorkerStatus;

// A resume whose header names a context of its own.
MessageHeader resumeHeader(std::uint64_t run_id, std::uint64_t context_id, std::size_t size) {
  MessageHeader header = requestHeader(MessageType::EvalResume);
  header.context_id = context_id;
  header.run_id = run_id;
  header.payload_length = static_cast<std::uint32_t>(size);
  return header;
}

// System 1 is `system`, the others are identities.
std::string contextWithSystem(std::uint64_t context_id, const PlanarSystem& system) {
  std::string record = identityContextRecord(context_id);
  setSystem(record, 1, system);
  return record;
}

// System 1 begins at x.
std::string contextWithOrigin(std::uint64_t context_id, double x) {
  return contextWithSystem(context_id, {x, 0, 1, 0, 0, 1, 1, 0});
}

std::vector<Scenario> contexts() {
  return {
      Scenario("OfARunIsTheOneThatItBeganIn")
          .registerContext(7, contextWithOrigin(7, 10))
          .ok()
          .registerContext(8, contextWithOrigin(8, 20))
          .ok()
          .start("(GETPOINT) (TRANS '(1 2 3) 1 0)", 7)
          .call(1, "GETPOINT", 0, "()", 1)
          // Neither another context nor an unknown one in the header of an answer matters.
          .request(resumeHeader(1, 8, 3), "nil")
          .value("(11 2 3)", 5)
          .start("(GETPOINT) (TRANS '(1 2 3) 1 0)", 8)
          .call(2, "GETPOINT", 0, "()", 1)
          .request(resumeHeader(2, 99, 3), "nil")
          .value("(21 2 3)", 5),
      Scenario("NoneStaysNone")
          .registerContext(7, contextWithOrigin(7, 10))
          .ok()
          .start("(GETPOINT) (TRANS '(1 2 3) 1 0)")
          .call(1, "GETPOINT", 0, "()", 1)
          .request(resumeHeader(1, 7, 3), "nil")
          .evalError("trans requires point, source, target and registered context", 5),
      Scenario("ZeroIsNoneThoughOneIsRegisteredUnderIt")
          .start("(TRANS '(1 2 3) 1 0)")
          .evalError("trans requires point, source, target and registered context", 4)
          .registerContext(0, contextWithOrigin(0, 10))
          .ok()
          .start("(TRANS '(1 2 3) 1 0)")
          .evalError("trans requires point, source, target and registered context", 4)
          .query(MessageType::Convert, 0, pointPayload(1, 2, 3, 1, 0))
          .ok(pointResult(11, 2, 3)),
      Scenario("UnknownRefusesTheProgramUnread")
          .start("(", 7)
          .answer(WorkerStatus::ContextNotFound)
          .start("", 7)
          .answer(WorkerStatus::ContextNotFound)
          .start("(SETQ X 1)", 7)
          .answer(WorkerStatus::ContextNotFound)
          .start("X")
          .evalError("unbound symbol: X", 1),
  };
}

INSTANTIATE_TEST_SUITE_P(ContextOfARun, WholeConversation, testing::ValuesIn(contexts()), nameOf);

std::vector<Scenario> replacedContexts() {
  return {
      Scenario("ReplacedChangesAResumedRun")
          .registerContext(7, contextWithOrigin(7, 10))
          .ok()
          .start("(GETPOINT) (TRANS '(1 2 3) 1 0)", 7)
          .call(1, "GETPOINT", 0, "()", 1)
          .registerContext(7, contextWithOrigin(7, 50))
          .ok()
          .resume(1, "nil")
          .value("(51 2 3)", 5),
      Scenario("ReplacedBetweenCallsIsADivergence")
          .registerContext(7, contextWithOrigin(7, 10))
          .ok()
          .start("(SETQ X 1) (GETPOINT 0) (GETDIST (TRANS '(1 2) 1 0)) (GETCORNER)", 7)
          .call(1, "GETPOINT", 1, "(0)", 4)
          .resume(1, "nil")
          .call(1, "GETDIST", 1, "((11 2 0))", 9)
          .registerContext(7, contextWithOrigin(7, 50))
          .ok()
          .resume(1, "nil")
          .evalError("LISP host replay divergence at call 2: GETDIST", 9)
          .resume(1, "nil")
          .answer(WorkerStatus::InvalidRequest)
          .start("X")
          .evalError("unbound symbol: X", 1),
      Scenario("ReplacedMakesAnotherCall")
          .registerContext(7, contextWithOrigin(7, 10))
          .ok()
          .start("(IF (< (CAR (TRANS '(1 2) 1 0)) 12) (GETDIST) (GETPOINT))", 7)
          .call(1, "GETDIST", 0, "()", 9)
          .registerContext(7, contextWithOrigin(7, 50))
          .ok()
          .resume(1, "nil")
          .evalError("LISP host replay divergence at call 1: GETPOINT", 9),
      Scenario("ReplacedChangesTheNumberOfArguments")
          .registerContext(7, contextWithOrigin(7, 10))
          .ok()
          .start("(IF (< (CAR (TRANS '(1 2) 1 0)) 12) (GETDIST 1) (GETDIST 1 2))", 7)
          .call(1, "GETDIST", 1, "(1)", 10)
          .registerContext(7, contextWithOrigin(7, 50))
          .ok()
          .resume(1, "nil")
          .evalError("LISP host replay divergence at call 1: GETDIST", 11),
      Scenario("ReplacedLeavesAnswersOver")
          .registerContext(7, contextWithOrigin(7, 10))
          .ok()
          .start("(SETQ X 1) (IF (< (CAR (TRANS '(1 2) 1 0)) 12) (GETDIST)) 5", 7)
          .call(1, "GETDIST", 0, "()", 11)
          .registerContext(7, contextWithOrigin(7, 50))
          .ok()
          .resume(1, "nil")
          .evalError("LISP host replay transcript has unused answers", 11)
          .resume(1, "nil")
          .answer(WorkerStatus::InvalidRequest)
          .start("X")
          .evalError("unbound symbol: X", 1),
      Scenario("ReplacedMakesATransformSingular")
          .registerContext(7, contextWithOrigin(7, 10))
          .ok()
          .start("(GETDIST) (TRANS '(1 2) 0 1)", 7)
          .call(1, "GETDIST", 0, "()", 1)
          .registerContext(7, contextWithSystem(7, {}))
          .ok()
          .resume(1, "nil")
          .evalError("trans transform is singular", 5),
  };
}

INSTANTIATE_TEST_SUITE_P(ReplacedContext, WholeConversation, testing::ValuesIn(replacedContexts()),
                         nameOf);

// A replay makes the same call if its arguments are equal.
std::vector<Scenario> numbersInReplays() {
  return {
      // A NaN equals nothing, so a replay cannot show that it made the same call again.
      Scenario("ANumberThatIsNoneDiverges")
          .start("(SETQ H (* 1e300 1e300)) (GETDIST (- H H)) 1")
          .call(1, "GETDIST", 1, "(-nan)", 8)
          .resume(1, "nil")
          .evalError("LISP host replay divergence at call 1: GETDIST", 8),
      // The zeros are equal, so the replay goes on, with the one that it has made itself.
      Scenario("ANegativeZeroIsTheSameCall")
          .registerContext(7, contextWithOrigin(7, 0))
          .ok()
          .start("(SETQ A (CAR (TRANS '(-0.0 1) 1 0))) (GETDIST A) A", 7)
          .call(1, "GETDIST", 1, "(0)", 8)
          .registerContext(7, contextWithSystem(7, {-0.0, 0, 1, 0, -0.0, 1, 1, 0}))
          .ok()
          .resume(1, "nil")
          .value("-0", 9),
  };
}

INSTANTIATE_TEST_SUITE_P(NumbersInReplays, WholeConversation, testing::ValuesIn(numbersInReplays()),
                         nameOf);

}  // namespace
}  // namespace lisp_worker::testing_support
