// Requests and responses are put together byte for byte as they are named; holding the scenario
// compares bytes and nothing else.

#include "testing/formats/scenario.h"

#include <algorithm>
#include <memory>
#include <ostream>
#include <span>
#include <utility>

#include "lisp_worker/client/process.h"
#include "testing/wire/frame_port.h"
#include "testing/wire/wire_frames.h"
#include "testing/workers/executable_worker.h"
#include "worker/loop.h"

namespace lisp_worker::testing_support {
namespace {

using worker::kHeaderSize;
using worker::MessageHeader;
using worker::MessageType;
using worker::WorkerStatus;

constexpr std::size_t kShownSizeMax = 200;  // Bytes of a response that a message shows.

// A response for people; `bytes` may be cut anywhere.
std::string describeBytes(std::string_view bytes) {
  std::string size = std::to_string(bytes.size()) + " bytes";
  if (bytes.size() < kHeaderSize) return size;
  const MessageHeader header =
      worker::decodeHeader(std::span<const char, kHeaderSize>(bytes.data(), kHeaderSize));
  const FrameResponse response{static_cast<WorkerStatus>(header.status),
                               std::string(bytes.substr(kHeaderSize))};
  return size + " to type " + std::to_string(header.type) + ", " +
         describe(response).substr(0, kShownSizeMax);
}

std::string differenceAt(std::size_t turn, std::string_view actual, std::string_view expected) {
  if (actual == expected) return {};
  const auto [at, _] =
      std::mismatch(actual.begin(), actual.end(), expected.begin(), expected.end());
  return "turn " + std::to_string(turn) + ", byte " + std::to_string(at - actual.begin()) +
         ": expected " + describeBytes(expected) + "\n  but received " + describeBytes(actual);
}

std::string exitDifference(int actual, worker::ExitCode expected) {
  if (actual == static_cast<int>(expected)) return {};
  return "expected exit code " + std::to_string(static_cast<int>(expected)) + " but got " +
         std::to_string(actual);
}

// No two requests of a scenario have an id in common, and every byte of an id matters.
std::uint64_t someId(std::size_t turn) { return 0x0123456789ABCDEF * (turn + 1); }

MessageHeader headerOf(MessageType type, std::string_view payload) {
  MessageHeader header = requestHeader(type);
  header.payload_length = static_cast<std::uint32_t>(payload.size());
  return header;
}

}  // namespace

Scenario& Scenario::request(const MessageHeader& header, std::string_view payload) {
  request_ = header;
  turns_.push_back({headerBytes(header).append(payload), {}});
  return *this;
}

Scenario& Scenario::requestBytes(std::string_view bytes) {
  request_ = worker::decodeHeader(std::span<const char, kHeaderSize>(bytes.data(), kHeaderSize));
  turns_.push_back({std::string(bytes), {}});
  return *this;
}

Scenario& Scenario::unanswered(std::string_view bytes) {
  turns_.push_back({std::string(bytes), {}});
  return *this;
}

Scenario& Scenario::send(MessageType type, std::string_view payload, std::uint64_t run_id) {
  MessageHeader header = headerOf(type, payload);
  header.request_id = someId(turns_.size());
  header.context_id = ~header.request_id;
  header.run_id = run_id;
  return request(header, payload);
}

Scenario& Scenario::ping(std::string_view payload) { return send(MessageType::Ping, payload); }

Scenario& Scenario::registerContext(std::uint64_t context_id, std::string_view record) {
  return query(MessageType::RegisterContext, context_id, record);
}

Scenario& Scenario::query(MessageType type, std::uint64_t context_id, std::string_view payload) {
  MessageHeader header = headerOf(type, payload);
  header.request_id = someId(turns_.size());
  header.context_id = context_id;
  return request(header, payload);
}

Scenario& Scenario::geometry(std::string_view payload) {
  return send(MessageType::GeometryRequest, payload);
}

Scenario& Scenario::start(std::string_view program, std::uint64_t context_id) {
  return query(MessageType::EvalStart, context_id, program);
}

Scenario& Scenario::resume(std::uint64_t run_id, std::string_view answer) {
  return send(MessageType::EvalResume, answer, run_id);
}

Scenario& Scenario::cancel(std::uint64_t run_id, std::string_view payload) {
  return send(MessageType::EvalCancel, payload, run_id);
}

Scenario& Scenario::shutdown(std::string_view payload) {
  return send(MessageType::Shutdown, payload);
}

Scenario& Scenario::answer(WorkerStatus status, std::string_view payload) {
  MessageHeader header;
  header.magic = worker::kMagic;
  header.version = worker::kProtocolVersion;
  header.type = request_.type;
  header.status = static_cast<std::uint32_t>(status);
  header.request_id = request_.request_id;
  header.context_id = request_.context_id;
  turns_.back().response = frameBytes(header, payload);
  return *this;
}

Scenario& Scenario::result(WorkerStatus status, const EvalPayload& payload) {
  return answer(status, payload.bytes());
}

Scenario& Scenario::value(std::string_view text, std::uint64_t steps) {
  return result(WorkerStatus::Ok, {.eval_status = 0, .steps = steps, .text = std::string(text)});
}

Scenario& Scenario::readError(std::string_view message) {
  return result(WorkerStatus::EvalParseError, {.eval_status = 1, .text = std::string(message)});
}

Scenario& Scenario::evalError(std::string_view message, std::uint64_t steps) {
  return result(WorkerStatus::EvalFailed,
                {.eval_status = 2, .steps = steps, .text = std::string(message)});
}

Scenario& Scenario::stepLimit() {
  return result(WorkerStatus::EvalStepLimit,
                {.eval_status = 3, .steps = 250001, .text = "LISP evaluation step limit exceeded"});
}

Scenario& Scenario::call(std::uint64_t run_id, std::string_view name, std::uint16_t argument_count,
                         std::string_view arguments, std::uint64_t steps) {
  return result(WorkerStatus::HostCallPending, {.eval_status = 4,
                                                .arg_count = argument_count,
                                                .steps = steps,
                                                .call_name = std::string(name),
                                                .run_id = run_id,
                                                .text = std::string(arguments)});
}

Scenario& Scenario::ends(worker::ExitCode exit_code) {
  exit_code_ = exit_code;
  return *this;
}

std::string Scenario::input() const {
  std::string bytes;
  for (const Turn& turn : turns_) bytes += turn.request;
  return bytes;
}

std::string Scenario::output() const {
  std::string bytes;
  for (const Turn& turn : turns_) bytes += turn.response;
  return bytes;
}

void PrintTo(const Scenario& scenario, std::ostream* out) { *out << scenario.name(); }

std::string pointResult(double x, double y, double z) { return cellResult(x, y, z, 0, 0, 0, 0); }

std::string cellResult(double u, double v, double w, std::int64_t i, std::int64_t j,
                       std::uint64_t key, std::uint32_t tag) {
  std::string payload(worker::kPointResultSize, '\0');
  worker::putF64(payload.data(), u);
  worker::putF64(payload.data() + 8, v);
  worker::putF64(payload.data() + 16, w);
  worker::putU64(payload.data() + 24, static_cast<std::uint64_t>(i));
  worker::putU64(payload.data() + 32, static_cast<std::uint64_t>(j));
  worker::putU64(payload.data() + 40, key);
  worker::putU32(payload.data() + 48, tag);
  return payload;
}

std::string geometryResult(double x, double y) {
  std::string payload(worker::kGeometryResultSize, '\0');
  worker::putF64(payload.data(), x);
  worker::putF64(payload.data() + 8, y);
  return payload;
}

WorkerLife liveInProcess(std::string input, std::size_t piece_size_max,
                         std::size_t output_size_max) {
  MemoryReader reader(std::move(input), piece_size_max);
  MemoryWriter writer(output_size_max, piece_size_max);
  const worker::ExitCode exit_code = worker::runWorker(reader, writer);
  return {writer.written(), static_cast<int>(exit_code)};
}

std::string holdInProcess(const Scenario& scenario, std::size_t piece_size_max) {
  const WorkerLife life = liveInProcess(scenario.input(), piece_size_max);
  std::string_view rest = life.output;
  for (std::size_t i = 0; i < scenario.turns().size(); ++i) {
    const std::string& expected = scenario.turns()[i].response;
    std::string difference = differenceAt(i, rest.substr(0, expected.size()), expected);
    if (!difference.empty()) return difference;
    rest.remove_prefix(expected.size());
  }
  if (!rest.empty()) return "after the last turn came " + describeBytes(rest);
  return exitDifference(life.exit_code, scenario.exitCode());
}

std::string holdWithExecutable(const Scenario& scenario) {
  std::string error;
  const std::unique_ptr<client::WorkerProcess> process =
      client::startWorker(workerExecutable(), &error);
  if (process == nullptr) return "the worker does not start: " + error;
  for (std::size_t i = 0; i < scenario.turns().size(); ++i) {
    const Scenario::Turn& turn = scenario.turns()[i];
    // A worker that has ended takes nothing more. Its output shows if it had to end.
    static_cast<void>(process->write(turn.request));
    if (turn.response.empty()) continue;
    std::string difference = differenceAt(i, readResponse(*process), turn.response);
    if (!difference.empty()) return difference;
  }
  const client::WorkerExit exit = process->finish();
  if (exit.kind != client::WorkerExit::Kind::Exited) return "the worker did not end by itself";
  return exitDifference(static_cast<int>(exit.code), scenario.exitCode());
}

}  // namespace lisp_worker::testing_support
