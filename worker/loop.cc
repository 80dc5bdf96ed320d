// Read a header, check it, read the payload, dispatch, write the response; and one exit code for
// each way in which that can end. All of it sees two byte interfaces, so a test can hold a
// conversation in memory.

#include "worker/loop.h"

#include <array>
#include <cassert>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "lisp_worker/worker/frame.h"

namespace lisp_worker::worker {
namespace {

// Room for responses of this many bytes is kept from one turn to the next; more is given back to
// the heap, for any need of the next request.
constexpr std::size_t kResponseSizeKept = 0x10000;

// The next header, or nothing at the end of the input, be it inside a header: that is how a host
// lets its worker go.
std::optional<MessageHeader> readHeader(ByteReader& input) {
  std::array<char, kHeaderSize> bytes;
  if (!input.readExact(bytes)) return std::nullopt;
  return decodeHeader(bytes);
}

FrameWrite writeResponse(ByteWriter& output, const MessageHeader& request, WorkerStatus status,
                         std::string_view payload) {
  MessageHeader response = makeResponseHeader(request);
  response.status = static_cast<std::uint32_t>(status);
  response.payload_length = static_cast<std::uint32_t>(payload.size());
  std::array<char, kHeaderSize> header_bytes;
  encodeHeader(response, header_bytes);
  return output.writeFrame({header_bytes.data(), header_bytes.size()}, payload);
}

// Why a worker ends that was sent a header of this status.
ExitCode exitCodeOf(WorkerStatus header_status) {
  switch (header_status) {
    case WorkerStatus::BadMagic:
      return ExitCode::BadMagic;
    case WorkerStatus::BadVersion:
      return ExitCode::BadVersion;
    default:
      assert(header_status == WorkerStatus::InvalidRequest);
      return ExitCode::PayloadTooLarge;
  }
}

}  // namespace

ExitCode runWorker(ByteReader& input, ByteWriter& output) {
  Dispatcher dispatcher;
  return serve(dispatcher, input, output);
}

ExitCode serve(Dispatcher& dispatcher, ByteReader& input, ByteWriter& output) {
  std::string response;
  while (true) {
    const std::optional<MessageHeader> request = readHeader(input);
    if (!request) return ExitCode::Finished;

    // After a bad header nobody knows where the next one begins: answer, unread payload or not,
    // and end. The fault outweighs a failure to report it.
    const WorkerStatus header_status = validateHeader(*request);
    if (header_status != WorkerStatus::Ok) {
      static_cast<void>(writeResponse(output, *request, header_status, {}));
      return exitCodeOf(header_status);
    }

    std::string payload(request->payload_length, '\0');
    if (!input.readExact(payload)) return ExitCode::PayloadCut;
    response.clear();
    const WorkerStatus status = dispatcher.handleRequest(*request, payload, response);

    const FrameWrite written = writeResponse(output, *request, status, response);
    if (static_cast<MessageType>(request->type) == MessageType::Shutdown) return ExitCode::Finished;
    if (written == FrameWrite::HeaderFailed) return ExitCode::HeaderUnwritten;
    if (written == FrameWrite::PayloadFailed) return ExitCode::PayloadUnwritten;
    if (response.capacity() > kResponseSizeKept) std::string().swap(response);
  }
}

}  // namespace lisp_worker::worker
