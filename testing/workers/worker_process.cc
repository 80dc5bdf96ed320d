// Requests, and the moments at which a host may die.

#include "testing/workers/worker_process.h"

#include "lisp_worker/worker/frame.h"
#include "testing/wire/wire_frames.h"

namespace lisp_worker::testing_support {

using worker::MessageType;

std::string pingFrame() { return frameBytes(requestHeader(MessageType::Ping)); }

std::string programFrame(std::string_view text) {
  return frameBytes(requestHeader(MessageType::EvalStart), text);
}

std::string wordyProgramFrame() { return programFrame("\"" + std::string(1000000, 's') + "\""); }

std::vector<DeadHostRow> deadHosts() {
  return {
      {"BetweenFrames", pingFrame(), 64, "exit code 0"},
      {"InAHeader", pingFrame().substr(0, 33), 0, "exit code 0"},
      {"InAPayload", programFrame("(+ 1 2)").substr(0, 67), 0, "exit code 5"},
      {"WithARunPending", programFrame("(GETPOINT)"), 64 + 66, "exit code 0"},
      {"InTheMiddleOfAResponse", wordyProgramFrame(), 100, "exit code 7"},
  };
}

}  // namespace lisp_worker::testing_support
