// The frames of a conversation and what may be wrong with them, apart from how their bytes travel:
// WorkerClient waits for the bytes, AsyncWorker does not.

#ifndef CLIENT_EXCHANGE_H_
#define CLIENT_EXCHANGE_H_

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "lisp_worker/client/worker_client.h"
#include "lisp_worker/worker/frame.h"

namespace lisp_worker::client {

// The header of a request with a payload of `payload_size` bytes, with the protocol's constants.
[[nodiscard]] worker::MessageHeader requestHeader(worker::MessageType type,
                                                  std::uint64_t request_id,
                                                  std::size_t payload_size);

// Replaces `frame_out` by the request's bytes.
void encodeRequest(const worker::MessageHeader& header, std::string_view payload,
                   std::string& frame_out);

// The fault of a header that does not answer `request`; empty when it does.
[[nodiscard]] std::optional<Fault> faultOfHeader(const worker::MessageHeader& request,
                                                 const worker::MessageHeader& response);

// The fault of a request, whose bytes are `frame`, that the worker has not taken in time.
[[nodiscard]] Fault faultOfSlowRequest(std::string_view frame, std::chrono::milliseconds limit);

// The fault of a response of which `size` of `whole` bytes of the `part` "header" or "payload" have
// come before the worker's output ended, or before the limit has passed.
[[nodiscard]] Fault faultOfEnd(std::string_view part, std::size_t size, std::size_t whole);
[[nodiscard]] Fault faultOfSlowResponse(std::string_view frame, std::chrono::milliseconds limit,
                                        std::string_view part, std::size_t size, std::size_t whole);

// "Ok with 12 bytes"
[[nodiscard]] std::string describeResponse(worker::WorkerStatus status, std::size_t payload_size);

// The fault of a response to a request that is answered by its status alone, if it has one. Only a
// registration can be refused.
[[nodiscard]] std::optional<Fault> faultOfStatus(worker::MessageType type,
                                                 worker::WorkerStatus status,
                                                 std::size_t payload_size);

// The reply to an EvalStart or an EvalResume. Empty when it contradicts itself, with the fault in
// `fault_out`.
[[nodiscard]] std::optional<Reply<EvalResult>> decodeEvaluation(worker::WorkerStatus status,
                                                                std::string_view payload,
                                                                std::optional<Fault>& fault_out);

}  // namespace lisp_worker::client

#endif  // CLIENT_EXCHANGE_H_
