// Whole conversations written out: what a host sends, byte for byte what it must receive, and how
// the worker must end. A scenario is held with the worker in this process and with the executable
// over its pipes; nobody could tell the two apart.
//
//   Scenario("AnswersAHostCall")
//       .start("(1+ (GETDIST))").call(1, "GETDIST", 0, "()", 2)
//       .resume(1, "4").value("5", 2)
//
// Every request is followed by what its response must be; the bytes of both follow from that, the
// echoed ids included. A worker must end with exit code 0 unless the scenario says otherwise.

#ifndef TESTING_FORMATS_SCENARIO_H_
#define TESTING_FORMATS_SCENARIO_H_

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "lisp_worker/worker/exit_code.h"
#include "lisp_worker/worker/frame.h"
#include "testing/wire/memory_channel.h"
#include "testing/wire/memory_stream.h"

namespace lisp_worker::testing_support {

class Scenario {
 public:
  // The name tells tests apart: letters and digits only.
  explicit Scenario(std::string name) : name_(std::move(name)) {}

  // Requests. Each gets request and, where it does not matter otherwise, context ids of its own.
  Scenario& ping(std::string_view payload = {});
  Scenario& registerContext(std::uint64_t context_id, std::string_view record);
  // LocateCell, CellPlaneToSystem or Convert.
  Scenario& query(worker::MessageType type, std::uint64_t context_id, std::string_view payload);
  Scenario& geometry(std::string_view payload);
  Scenario& start(std::string_view program, std::uint64_t context_id = 0);
  Scenario& resume(std::uint64_t run_id, std::string_view answer);
  Scenario& cancel(std::uint64_t run_id, std::string_view payload = {});
  Scenario& shutdown(std::string_view payload = {});
  // Any request at all. `header` is sent unchanged, followed by `payload`, of any length.
  Scenario& request(const worker::MessageHeader& header, std::string_view payload = {});
  // A request of these bytes, which begin with a whole header.
  Scenario& requestBytes(std::string_view bytes);
  // Bytes that no response follows: part of a request, or what comes after the worker's end.
  Scenario& unanswered(std::string_view bytes);

  // Responses, each to the request before it.
  Scenario& answer(worker::WorkerStatus status, std::string_view payload = {});
  Scenario& ok(std::string_view payload = {}) { return answer(worker::WorkerStatus::Ok, payload); }
  // Evaluation results. No run is kept by any but a call.
  Scenario& value(std::string_view text, std::uint64_t steps);
  Scenario& readError(std::string_view message);
  Scenario& evalError(std::string_view message, std::uint64_t steps);
  Scenario& stepLimit();
  Scenario& call(std::uint64_t run_id, std::string_view name, std::uint16_t argument_count,
                 std::string_view arguments, std::uint64_t steps);

  // The exit code of the worker once the last byte is sent.
  Scenario& ends(worker::ExitCode exit_code);

  struct Turn {
    std::string request;
    std::string response;
  };

  [[nodiscard]] const std::string& name() const { return name_; }
  [[nodiscard]] const std::vector<Turn>& turns() const { return turns_; }
  [[nodiscard]] worker::ExitCode exitCode() const { return exit_code_; }
  // All requests, and all responses, one after the other.
  [[nodiscard]] std::string input() const;
  [[nodiscard]] std::string output() const;

 private:
  // A request whose context id does not matter.
  Scenario& send(worker::MessageType type, std::string_view payload, std::uint64_t run_id = 0);
  Scenario& result(worker::WorkerStatus status, const EvalPayload& payload);

  std::string name_;
  std::vector<Turn> turns_;
  worker::MessageHeader request_;  // The last one.
  worker::ExitCode exit_code_ = worker::ExitCode::Finished;
};

void PrintTo(const Scenario& scenario, std::ostream* out);

// Payloads of responses.
[[nodiscard]] std::string pointResult(double x, double y, double z);
[[nodiscard]] std::string cellResult(double u, double v, double w, std::int64_t i, std::int64_t j,
                                     std::uint64_t key, std::uint32_t tag);
[[nodiscard]] std::string geometryResult(double x, double y);

// A worker's answer to an input, from its first byte to its end.
struct WorkerLife {
  std::string output;
  int exit_code = 0;
};

// In this process. `piece_size_max` bounds how many bytes go either way at a time; the output fails
// after `output_size_max` bytes.
[[nodiscard]] WorkerLife liveInProcess(std::string input, std::size_t piece_size_max = kAnySize,
                                       std::size_t output_size_max = kAnySize);

// Holds the scenario and returns a line for people on the first thing that is not as it must be;
// empty when all is well.
[[nodiscard]] std::string holdInProcess(const Scenario& scenario,
                                        std::size_t piece_size_max = kAnySize);
// Turn by turn, as a host does, with a process of its own.
[[nodiscard]] std::string holdWithExecutable(const Scenario& scenario);

}  // namespace lisp_worker::testing_support

#endif  // TESTING_FORMATS_SCENARIO_H_
