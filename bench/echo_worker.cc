// The least that a worker can be: it answers every frame with a frame, without looking at it.
//
// It reads and writes through the worker's own streams, so it makes the same system calls for the
// same bytes; what the worker takes longer is the worker's own work. A request's run_id says how
// many bytes of payload its response is to have.

#include <array>
#include <cstdlib>
#include <string>
#include <string_view>

#include "worker/frame.h"
#include "worker/stdio.h"

int main() {
  worker::keepAliveOnBrokenPipe();
  worker::StandardInput input;
  worker::StandardOutput output;
  std::array<char, worker::kHeaderSize> header;
  while (input.readExact(header)) {
    const worker::MessageHeader request = worker::decodeHeader(header);
    std::string payload(request.payload_length, '\0');
    if (!input.readExact(payload)) return EXIT_FAILURE;
    const std::string response(request.run_id, ' ');
    worker::MessageHeader answer = worker::makeResponseHeader(request);
    answer.payload_length = static_cast<std::uint32_t>(response.size());
    worker::encodeHeader(answer, header);
    const std::string_view header_bytes(header.data(), header.size());
    if (output.writeFrame(header_bytes, response) != worker::FrameWrite::Complete) {
      return EXIT_FAILURE;
    }
  }
  return EXIT_SUCCESS;
}
