// A conversation with a worker, in types.
//
// Every operation sends one request, waits for its response and checks it: the header's fixed
// fields and echoes, that the status is one that this request can be answered with, that the
// payload is what the status promises. What comes back has two layers.
//
//   A reply carries the worker's status. A refusal such as ContextNotFound is a reply too.
//   No reply at all (an empty optional) means that the conversation is over: the worker went away,
//   or sent what no worker sends. fault() then says what happened, and every later operation fails
//   with the same fault without touching the channel, since nothing could tell its answer from
//   the rubbish before it.
//
// A payload above worker::kPayloadSizeMax would end the worker. It is not sent; the reply is
// InvalidRequest, and the conversation goes on.
//
// worker.h puts a process under such a conversation; most hosts begin there.

#ifndef LISP_WORKER_CLIENT_WORKER_CLIENT_H_
#define LISP_WORKER_CLIENT_WORKER_CLIENT_H_

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "lisp_worker/client/channel.h"
#include "lisp_worker/client/coordinates.h"
#include "lisp_worker/client/eval_result.h"
#include "lisp_worker/client/frame_observer.h"
#include "lisp_worker/client/geometry.h"
#include "lisp_worker/worker/frame.h"

namespace lisp_worker::client {

// A worker's answer to a request that asks for something.
template <typename T>
struct Reply {
  worker::WorkerStatus status = worker::WorkerStatus::Ok;
  std::optional<T> value;  // Present as the operation says.
};

// Why a conversation is over.
struct Fault {
  enum class Kind : std::uint8_t {
    RequestNotTaken,  // The worker no longer reads.
    ResponseCut,      // The worker's output ended before or inside a response.
    BadHeader,        // Not the header of a response.
    WrongEcho,        // The response to some other request.
    BadResponse,      // A status or payload that does not answer the request.
    ShutDown,         // We have asked the worker to end, and it has agreed.
    DeadlinePassed,   // The worker has not taken the request or not answered it in time.
    NotStarted,       // There is no worker: the program could not be started.
  };

  Kind kind;
  std::string message;  // One sentence for a person, with the figures at fault.
};

struct ClientSettings {
  // The time that one request may take, from its first byte to the last of its response. Zero:
  // forever. The worker itself bounds every evaluation by its step limit, so what passes a limit of
  // seconds is a worker that is stuck, or none at all.
  std::chrono::milliseconds time_limit{30000};

  // The same for the request to end, which an idle worker answers at once. Zero: only time_limit
  // counts. Otherwise the shorter of the two does.
  std::chrono::milliseconds stop_time_limit{5000};

  // Sees every frame; null: nobody does. Must outlive the client.
  FrameObserver* observer = nullptr;
};

class WorkerClient {
 public:
  // `channel` leads to a worker that nobody else talks to, and must outlive the client.
  explicit WorkerClient(Channel& channel, ClientSettings settings = {})
      : channel_(channel), settings_(settings) {}

  [[nodiscard]] std::optional<worker::WorkerStatus> ping();

  // Registers `context` under its id, or replaces the one there. InvalidRequest when the worker's
  // table is full.
  [[nodiscard]] std::optional<worker::WorkerStatus> registerContext(const CoordContext& context);

  // Where a point of `source_system` lies in the cell plane. A value when the status is Ok.
  [[nodiscard]] std::optional<Reply<CellLocation>> locateCell(std::uint64_t context_id,
                                                              const Point& point,
                                                              std::uint8_t source_system);

  // A point of the cell plane in `target_system`. A value when the status is Ok.
  [[nodiscard]] std::optional<Reply<Point>> cellPlaneToSystem(std::uint64_t context_id,
                                                              const Point& point,
                                                              std::uint8_t target_system);

  // A point of `source_system` in `target_system`. A value when the status is Ok.
  [[nodiscard]] std::optional<Reply<Point>> convert(std::uint64_t context_id, const Point& point,
                                                    std::uint8_t source_system,
                                                    std::uint8_t target_system);

  // Always a value: zeros for a refusal, the non-finite figures for some Degenerate results. At
  // most worker::kGeometryOperandCountMax operands.
  [[nodiscard]] std::optional<Reply<GeometryResult>> computeGeometry(
      GeometryOperation operation, std::span<const double> operands);

  // Evaluates a program under a registered context, or under none when `context_id` is 0. A value
  // unless the status is ContextNotFound, or InvalidRequest because the result is too long to send.
  // A run whose host call is too long to send would wait under an id that the worker has not told;
  // the client ends it by one more request.
  [[nodiscard]] std::optional<Reply<EvalResult>> evalStart(std::string_view program,
                                                           std::uint64_t context_id);

  // Answers the host call that run `run_id` waits for. answer_text.h makes `answer`. A value
  // unless the status is InvalidRequest (no such run waits, or the answer or the result is too long
  // to send) or ContextNotFound. A run whose answer or next call is too long to send waits on.
  [[nodiscard]] std::optional<Reply<EvalResult>> evalResume(std::uint64_t run_id,
                                                            std::string_view answer);

  // Drops a pending run. Ok whether or not there was one.
  [[nodiscard]] std::optional<worker::WorkerStatus> evalCancel(std::uint64_t run_id);

  // Asks the worker to end, within ClientSettings::stop_time_limit. Afterwards the conversation is
  // over, with the fault ShutDown.
  [[nodiscard]] std::optional<worker::WorkerStatus> shutdown();

  // When the last request had to be answered; empty without a time limit.
  [[nodiscard]] Deadline deadline() const { return deadline_; }

  // Why the conversation is over; empty while it is not.
  [[nodiscard]] const std::optional<Fault>& fault() const { return fault_; }

 private:
  struct Request {
    worker::MessageType type;
    std::uint64_t context_id = 0;
    std::uint64_t run_id = 0;
    std::string_view payload = {};
  };

  struct Response {
    worker::WorkerStatus status;
    std::string payload;
  };

  [[nodiscard]] std::chrono::milliseconds timeLimitOf(worker::MessageType type) const;
  std::optional<Response> exchange(const Request& request);
  template <typename Notice>
  void notify(Notice notice);
  bool send(const worker::MessageHeader& header, std::string_view payload);
  std::optional<Response> receive(const worker::MessageHeader& request);
  std::nullopt_t failCut(std::string_view part, std::size_t size, std::size_t whole);
  bool checkHeader(const worker::MessageHeader& request, const worker::MessageHeader& response);

  std::optional<worker::WorkerStatus> exchangeForStatus(const Request& request);
  std::optional<Response> queryPoint(worker::MessageType type, std::uint64_t context_id,
                                     const Point& point, std::uint8_t source_system,
                                     std::uint8_t target_system);
  std::optional<Reply<EvalResult>> evaluate(const Request& request);
  bool endUntoldRun();
  void endUntoldRunQuietly();

  std::nullopt_t fail(Fault::Kind kind, std::string message);

  Channel& channel_;
  ClientSettings settings_;
  std::uint64_t next_request_id_ = 1;
  std::uint64_t next_run_id_ = 1;  // The id that the worker gives to the next run that waits.
  std::string frame_;              // The request in hand, as bytes.
  std::chrono::milliseconds time_limit_{0};  // Of the request in hand.
  Deadline deadline_;
  std::optional<Fault> fault_;
  std::exception_ptr observer_failure_;  // Thrown during the request in hand.
};

}  // namespace lisp_worker::client

#endif  // LISP_WORKER_CLIENT_WORKER_CLIENT_H_
