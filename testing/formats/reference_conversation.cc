// Programs first, then contexts and points, then everything that is refused. The end is a Shutdown.

#include "testing/formats/reference_conversation.h"

#include <limits>
#include <string>

#include "lisp_worker/worker/frame.h"
#include "testing/wire/frame_makers.h"
#include "testing/wire/wire_frames.h"

namespace lisp_worker::testing_support {
namespace {

using worker::MessageType;
using worker::WorkerStatus;

constexpr double kInfinity = std::numeric_limits<double>::infinity();

// System 1 begins at x, system 2 is flat.
std::string record(std::uint64_t context_id, double x) {
  std::string bytes = identityContextRecord(context_id);
  setSystem(bytes, 1, {x, 20, 1, 0, 0, 1, 1, 30});
  setSystem(bytes, 2, {});
  return bytes;
}

void addPlainRequests(Scenario& scenario) {
  scenario.ping().ok();
  scenario.ping("ten bytes!").ok();
  scenario.cancel(0).ok();
  scenario.cancel(99, "ignored").ok();
  for (const int type : {0, 10, 256}) {
    scenario.request(requestHeader(static_cast<std::uint16_t>(type)));
    scenario.answer(WorkerStatus::UnknownType);
  }
}

void addContexts(Scenario& scenario) {
  scenario.query(MessageType::Convert, 7, pointPayload(1, 2, 3, 0, 1));
  scenario.answer(WorkerStatus::ContextNotFound);
  scenario.registerContext(7, record(7, 10)).ok();
  scenario.registerContext(8, record(7, 10)).answer(WorkerStatus::InvalidRequest);
  scenario.registerContext(7, "short").answer(WorkerStatus::InvalidRequest);
  scenario.query(MessageType::Convert, 7, pointPayload(1, 2, 3, 1, 0)).ok(pointResult(11, 22, 33));
  scenario.query(MessageType::Convert, 7, pointPayload(1, 2, 3, 0, 2));
  scenario.answer(WorkerStatus::QueryFailed);
  scenario.query(MessageType::Convert, 7, pointPayload(1, 2, 3, 5, 0));
  scenario.answer(WorkerStatus::InvalidRequest);
  scenario.query(MessageType::Convert, 7, "short").answer(WorkerStatus::InvalidRequest);
  scenario.query(MessageType::CellPlaneToSystem, 7, pointPayload(1, 2, 3, 0, 0));
  scenario.ok(pointResult(1, 2, 3));
  scenario.query(MessageType::CellPlaneToSystem, 7, pointPayload(1, 2, 3, 0, 5));
  scenario.answer(WorkerStatus::InvalidRequest);
  scenario.query(MessageType::LocateCell, 7, pointPayload(0.5, 0.5, 0, 0, 0));
  scenario.ok(cellResult(0.5, 0.5, 0, 0, 0, 0x1d5fb089a0e993c4, 0));
  scenario.query(MessageType::LocateCell, 7, pointPayload(kInfinity, 0, 0, 0, 0));
  scenario.answer(WorkerStatus::QueryFailed);
}

void addGeometry(Scenario& scenario) {
  scenario.geometry(geometryPayload(worker::GeometryOperation::Sum, 3, {1, 2, 3}))
      .ok(geometryResult(6, 0));
  scenario.geometry(geometryPayload(worker::GeometryOperation::Polar, 4, {1, 2, 0, 5}))
      .ok(geometryResult(6, 2));
  scenario.geometry(geometryPayload(worker::GeometryOperation::Distance, 3, {1, 2, 3}));
  scenario.answer(WorkerStatus::InvalidRequest, geometryResult(0, 0));
  scenario.geometry(geometryPayload(worker::GeometryOperation{8}, 1, {1}));
  scenario.answer(WorkerStatus::UnknownType, geometryResult(0, 0));
  scenario.geometry(geometryPayload(worker::GeometryOperation::Quotient, 2, {1, 0}));
  scenario.answer(WorkerStatus::Degenerate, geometryResult(0, 0));
  scenario.geometry(geometryPayload(worker::GeometryOperation::Product, 2, {1e200, 1e200}));
  scenario.answer(WorkerStatus::Degenerate, geometryResult(kInfinity, 0));
  scenario.geometry("short").answer(WorkerStatus::InvalidRequest);
}

void addPrograms(Scenario& scenario) {
  scenario.start("").value("nil", 0);
  scenario.start("(+ 1 2.5)").value("3.5", 3);
  scenario.start("(SETQ X '(1 \"two\" three nil ())) X").value("(1 \"two\" THREE nil ())", 3);
  scenario.start("(DEFUN F (A / B) (SETQ B (1+ A)) (IF (< B 3) (F B) B))").value("F", 1);
  scenario.start("(F 1)").value("3", 19);
  scenario.start("(SETQ I 0) (WHILE (< I 3) (SETQ I (1+ I)))").value("3", 2 + 1 + 3 * 6 + 3);
  scenario.start("(CAR X").readError("unterminated list");
  scenario.start("\"abc").readError("unterminated string");
  scenario.start("(SETQ Y 1) (/ 1 0)").evalError("division by zero", 5);
  scenario.start("Y").evalError("unbound symbol: Y", 1);
  scenario.start("(DISTANCE '(0 0) '(3 4))").value("5", 3);
  scenario.start("(TRANS '(1 2) 1 0)", 7).value("(11 22 30)", 4);
  scenario.start("(TRANS '(1 2) 1 0)", 9).answer(WorkerStatus::ContextNotFound);
  scenario.start("(TRANS '(1 2) 1 0)");
  scenario.evalError("trans requires point, source, target and registered context", 4);
}

void addRuns(Scenario& scenario) {
  scenario.start("(GETPOINT \"from\")").call(1, "GETPOINT", 1, "(\"from\")", 2);
  scenario.start("(LIST (GETDIST) (ENTGET (CAR (SSGET))))").call(2, "GETDIST", 0, "()", 2);
  scenario.resume(2, "2.5").call(2, "SSGET", 0, "()", 5);
  scenario.resume(1, "(1 2 3)").value("(1 2 3)", 2);
  scenario.resume(2, "($KVSEL \"E1\")").call(2, "ENTGET", 1, "($KVSEL)", 5);
  scenario.resume(2, "nil").value("(2.5 nil)", 5);
  scenario.resume(2, "nil").answer(WorkerStatus::InvalidRequest);
  scenario.start("(SETQ X 5) (COMMAND X)").call(3, "COMMAND", 1, "(5)", 4);
  scenario.start("X").value("(1 \"two\" THREE nil ())", 1);
  scenario.resume(0, "nil").answer(WorkerStatus::InvalidRequest);
  scenario.resume(3, "1 2").readError("host response parse error: expected exactly one form");
  scenario.start("(OSNAP)").call(4, "OSNAP", 0, "()", 1);
  scenario.cancel(4).ok();
  scenario.resume(4, "nil").answer(WorkerStatus::InvalidRequest);
  // A context that is replaced while a run waits in it.
  scenario.start("(GETCORNER (TRANS '(1 2) 1 0)) 1", 7);
  scenario.call(5, "GETCORNER", 1, "((11 22 30))", 5);
  scenario.registerContext(7, record(7, 50)).ok();
  scenario.resume(5, "nil").evalError("LISP host replay divergence at call 1: GETCORNER", 5);
  scenario.start("(IF (< (CAR (TRANS '(1 2) 1 0)) 60) (ENTMOD))", 7).call(6, "ENTMOD", 0, "()", 9);
  scenario.registerContext(7, record(7, 90)).ok();
  scenario.resume(6, "nil").evalError("LISP host replay transcript has unused answers", 8);
  scenario.start("(ENTMAKE)").call(7, "ENTMAKE", 0, "()", 1);  // Stays pending.
  scenario.ping().ok();
}

Scenario makeReferenceConversation() {
  Scenario scenario("Reference");
  addPlainRequests(scenario);
  addContexts(scenario);
  addGeometry(scenario);
  addPrograms(scenario);
  addRuns(scenario);
  return scenario;
}

}  // namespace

const Scenario& referenceConversation() {
  static const Scenario scenario = makeReferenceConversation();
  return scenario;
}

}  // namespace lisp_worker::testing_support
