// lisp_record_sessions: holds conversations with a worker as hosts do, and records each into a file
// of its own. testing/sessions/ has what came of them; it is run again only for new ones.
//
//   lisp_record_sessions WORKER DIRECTORY
//
// A file that exists already is left alone.

#include <array>
#include <filesystem>
#include <functional>
#include <iostream>
#include <span>
#include <string>
#include <vector>

#include "lisp_worker/client/answer_text.h"
#include "lisp_worker/client/process.h"
#include "lisp_worker/client/worker.h"
#include "lisp_worker/session/recorder.h"
#include "testing/wire/wire_frames.h"

namespace lisp_worker::testing_support {
namespace {

using client::CoordContext;
using client::Datum;
using client::GeometryOperation;
using client::HostCall;
using client::RunReport;
using client::Worker;
using worker::MessageType;

CoordContext plan(std::uint64_t id, double origin_x) {
  CoordContext context;
  context.id = id;
  context.tag = 7;
  context.cell_key_seed = 0x1234;
  context.cell_size = 250;
  context.systems[1] = {.origin_x = origin_x, .origin_y = 50, .a = 0, .b = 1, .c = -1, .d = 0};
  context.systems[2] = {.a = 25.4, .d = 25.4, .z_scale = 25.4};
  context.systems[4].d = 0;  // Cannot be inverted.
  return context;
}

// Replies are not looked at, since the recording has them; a conversation that breaks shows by its
// end.
template <typename Reply>
void note(const Reply& /*reply*/) {}

// Answers calls by their names.
std::optional<Datum> answerCall(const HostCall& call) {
  if (call.name == "GETPOINT") return client::point(10, 20, 0);
  if (call.name == "GETDIST") return client::number(12.5);
  if (call.name == "SSGET") {
    return client::selectionSet({client::string("1F"), client::string("20")});
  }
  if (call.name == "ENTGET") {
    return client::list({client::list({client::number(0), client::string("LINE")}),
                         client::list({client::number(8), client::string("WALLS")})});
  }
  return client::nil();
}

void useEveryMessage(Worker& worker) {
  note(worker.ping());
  note(worker.registerContext(plan(1, 100)));
  for (std::uint8_t system = 0; system <= worker::kSystemCount; ++system) {
    note(worker.locateCell(1, {1234.5, -87.25, 3}, system));
    note(worker.cellPlaneToSystem(1, {0.5, 1.5, 2.5}, system));
    note(worker.convert(1, {10, 20, 30}, system, 2));
    note(worker.convert(1, {10, 20, 30}, 2, system));
  }
  note(worker.convert(2, {10, 20, 30}, 0, 1));
  for (int operation = 1; operation <= 8; ++operation) {
    const auto kind = static_cast<GeometryOperation>(operation);
    const std::array<double, 4> operands = {3, 4, 0.5, -2};
    note(worker.computeGeometry(kind, operands));
    note(worker.computeGeometry(kind, std::span(operands).first(1)));
  }
  const std::array<double, 2> division_by_zero = {1, 0};
  note(worker.computeGeometry(GeometryOperation::Quotient, division_by_zero));
}

void keepSeveralRunsWaiting(Worker& worker) {
  note(worker.run("(SETQ SHARED 1)"));
  note(worker.evalStart("(SETQ A (GETPOINT \"first\"))(LIST 'FIRST A SHARED)", 0));
  note(worker.evalStart("(SETQ B (GETPOINT \"second\"))(SETQ C (GETDIST B))(LIST B C)", 0));
  note(worker.evalStart("(GETDIST \"third\")(/ 1 0)", 0));
  note(worker.evalResume(2, "(5 6 7)"));
  note(worker.run("(SETQ SHARED 2)"));
  note(worker.evalResume(1, "(1 2 3)"));
  note(worker.evalResume(3, "4"));
  note(worker.evalResume(2, "8"));
  note(worker.run("(LIST B C SHARED)"));
  note(worker.run("A"));
  note(worker.evalResume(2, "8"));
}

void cancelRuns(Worker& worker) {
  note(worker.evalStart("(SETQ LOST (GETPOINT))", 0));
  note(worker.evalCancel(1));
  note(worker.evalResume(1, "nil"));
  note(worker.evalCancel(99));
  note(worker.run("(GETDIST)"));  // Without a host that answers.
  note(worker.run("LOST"));
}

void restartWithContexts(Worker& worker) {
  note(worker.registerContext(plan(1, 100)));
  note(worker.registerContext(plan(0, 300)));
  note(worker.run("(SETQ KEPT (TRANS '(1 2) 1 0))", answerCall, {.context_id = 1}));
  worker.stop();
  worker.restart();
  note(worker.run("(TRANS '(1 2) 1 0)", answerCall, {.context_id = 1}));
  note(worker.run("KEPT"));
}

void fillTheContextTable(Worker& worker) {
  for (std::uint64_t id = 1; id <= 33; ++id) note(worker.registerContext(plan(id, 1.5)));
  note(worker.registerContext(plan(32, 99)));
  note(worker.run("(TRANS '(0 0) 1 0)", answerCall, {.context_id = 32}));
  note(worker.run("(TRANS '(0 0) 1 0)", answerCall, {.context_id = 33}));
}

void passStrings(Worker& worker) {
  const auto echo = [](const HostCall& /*call*/) {
    return std::optional(client::list({client::string("C:\\drawings\\\"old\"\r\n\ttabbed"),
                                       client::string("M\xC3\xB6"
                                                      "bel \xE2\x8C\x80"
                                                      "12"),
                                       client::string(""), client::symbol("$KVSEL"),
                                       client::string("; no comment")}));
  };
  note(worker.run("(SETQ TEXTS (GETPOINT \"a\\nb\\\\c\\\"d\"))", echo));
  note(worker.run("(EQUAL (CAR TEXTS) \"C:\\\\drawings\\\\\\\"old\\\"\r\n\ttabbed\")"));
  note(worker.run("\"3/4\\\" bolt\""));
  note(worker.run("\"never closed"));
  note(worker.run("'(foo \xC3\xA4 |odd| a.b)"));
}

void divergeByNaN(Worker& worker) {
  note(worker.run("(SETQ INF (* 1e200 1e200))(GETDIST \"ok\")(GETPOINT (LIST 1 (- INF INF)))",
                  answerCall));
}

void leaveAnswersUnused(Worker& worker) {
  note(worker.registerContext(plan(1, 0)));
  note(worker.evalStart("(GETDIST \"always\")(IF (= (CAR (TRANS '(0 0) 1 0)) 0) (GETPOINT))", 1));
  note(worker.evalResume(1, "12"));
  note(worker.registerContext(plan(1, 5)));
  note(worker.evalResume(1, "(1 2)"));
}

void walkSelectionSets(Worker& worker) {
  note(
      worker.run("(SETQ SET (SSGET \"X\") N 0 LAYERS '())\n"
                 "(WHILE (< N (SSLENGTH SET))\n"
                 "  (SETQ LAYERS (CONS (ENTGET (SSNAME SET N)) LAYERS) N (1+ N)))\n"
                 "LAYERS",
                 answerCall));
  note(worker.run("(LIST (SSNAME SET 1) (SSNAME SET 2) (SSNAME SET 0.5) (SSLENGTH SET))"));
  note(worker.run("(SSLENGTH LAYERS)"));
}

void printNumbers(Worker& worker) {
  for (const char* const program :
       {"(LIST 0.1 1e308 5e-324 (- 0) 1e21 123456789012345678 (/ 1 3) 0x1p-3)",
        "(LIST (* 1e200 1e200) (- (* 1e200 1e200)) (- (* 1e200 1e200) (* 1e200 1e200)))",
        "(LIST (= 0 (- 0)) (EQUAL 1 1.0) (< 1 1e999))", "(+ 1 \"2\")", "(/ 1 1e-301)",
        "(LIST (DISTANCE '(0 0) '(3 4)) (ANGLE '(0 0) '(-1 0)) (POLAR '(1 2) 0.5 10))"}) {
    note(worker.run(program));
  }
}

void keepDefinitions(Worker& worker) {
  for (const char* const program :
       {"(DEFUN SQUARE (N) (* N N))", "(DEFUN SUM-TO (N) (IF (<= N 0) 0 (+ N (SUM-TO (1- N)))))",
        "(LIST (SQUARE 12) (SUM-TO 30))", "(DEFUN + (A B) (LIST A B))", "(+ 1 2)", "(SUM-TO 3)",
        "(SUM-TO 60)", "(SQUARE)", "(DEFUN BROKEN (A 1) A)", "(SETQ SQUARE 5)",
        "(SQUARE SQUARE)"}) {
    note(worker.run(program));
  }
}

void spendAllSteps(Worker& worker) {
  note(worker.run("(SETQ N 0)(WHILE (< N 41660) (SETQ N (1+ N)))"));
  note(worker.run("(SETQ N 0)(WHILE (< N 41670) (SETQ N (1+ N)))"));
  note(worker.run("(WHILE T (GETPOINT))", answerCall, {.host_call_count_max = 3}));
  note(worker.run("(SETQ X 1 N 0)(WHILE (< N 40) (SETQ X (LIST X X) N (1+ N)))(EQUAL X X)"));
  note(worker.run("X"));
}

void runALongProgram(Worker& worker) {
  std::string program = "(SETQ TOTAL 0)\n";
  for (int line = 1; line <= 400; ++line) {
    program +=
        "(SETQ TOTAL (+ TOTAL " + std::to_string(line) + ")) ; line " + std::to_string(line) + "\n";
  }
  note(worker.run(program + "TOTAL"));
}

struct Use {
  const char* name;
  void (*hold)(Worker& worker);
};

constexpr Use kUses[] = {
    {"14_every_message", useEveryMessage},
    {"15_several_waiting_runs", keepSeveralRunsWaiting},
    {"16_cancelled_runs", cancelRuns},
    {"17_restart_with_contexts", restartWithContexts},
    {"18_full_context_table", fillTheContextTable},
    {"19_strings", passStrings},
    {"20_nan_divergence", divergeByNaN},
    {"21_unused_answers", leaveAnswersUnused},
    {"22_selection_sets", walkSelectionSets},
    {"23_numbers", printNumbers},
    {"24_definitions", keepDefinitions},
    {"25_steps", spendAllSteps},
    {"26_long_program", runALongProgram},
};

// Requests that no client sends, with what a worker makes of them and the code that it ends with.
struct BadRequest {
  const char* name;
  std::string bytes;
  std::size_t response_size;
};

std::vector<BadRequest> badRequests() {
  worker::MessageHeader magic = requestHeader(MessageType::Ping);
  magic.magic = 0x21212121;
  worker::MessageHeader version = requestHeader(MessageType::Ping);
  version.version = 4;
  const std::string cut = frameBytes(requestHeader(MessageType::EvalStart), "(+ 1 2)");
  return {
      {"27_bad_magic", frameBytes(magic), worker::kHeaderSize},
      {"28_bad_version", frameBytes(version), worker::kHeaderSize},
      {"29_unknown_type", frameBytes(requestHeader(std::uint16_t{77}), "odd"), worker::kHeaderSize},
      {"30_cut_payload", cut.substr(0, cut.size() - 3), 0}};
}

bool recordBadRequest(const BadRequest& request, const std::string& path,
                      session::Recorder& recorder) {
  std::string error;
  const auto process = client::startWorker(path, &error);
  if (process == nullptr) return false;
  recorder.onStart();
  if (!process->write(request.bytes)) return false;
  recorder.onRequest(request.bytes);
  if (request.response_size > 0) {
    std::string response(request.response_size, '\0');
    if (process->read(response.data(), response.size()) != response.size()) return false;
    recorder.onResponse(response, {});
  }
  recorder.onEnd(process->finish());
  return true;
}

// Makes a recorder for a session and has `hold` fill it, unless there is one already.
bool record(const std::string& directory, const char* name,
            const std::function<bool(session::Recorder&)>& hold) {
  const std::filesystem::path path =
      std::filesystem::path(directory) / (std::string(name) + ".session");
  if (std::filesystem::exists(path)) return true;
  std::string error;
  const auto recorder = session::Recorder::create(path, &error);
  if (recorder == nullptr) {
    std::cerr << path.string() << ": " << error << "\n";
    return false;
  }
  return hold(*recorder) && recorder->isComplete();
}

bool recordAll(const std::string& path, const std::string& directory) {
  bool all_done = true;
  for (const Use& use : kUses) {
    all_done &= record(directory, use.name, [&](session::Recorder& recorder) {
      Worker worker(path, {.time_limit = {}, .observer = &recorder});
      use.hold(worker);
      worker.stop();
      return worker.fault()->kind == client::Fault::Kind::ShutDown;
    });
  }
  for (const BadRequest& request : badRequests()) {
    all_done &= record(directory, request.name, [&](session::Recorder& recorder) {
      return recordBadRequest(request, path, recorder);
    });
  }
  return all_done;
}

}  // namespace
}  // namespace lisp_worker::testing_support

int main(int argc, char** argv) {
  if (argc != 3) {
    std::cerr << "usage: lisp_record_sessions WORKER DIRECTORY\n";
    return 2;
  }
  return lisp_worker::testing_support::recordAll(argv[1], argv[2]) ? 0 : 1;
}
