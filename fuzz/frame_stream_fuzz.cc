// Streams of frames.
//
// The input is a list of requests in short: a byte for the type, one for the ids, two for the size
// of the payload, the payload; a type byte of 0xFF makes the rest of the input raw bytes, headers
// and all. What the worker does with the stream must be what any worker may do (wire laws), be the
// same in single bytes, and be the beginning of it when the output fails.

#include "fuzz/law.h"
#include "lisp_worker/worker/exit_code.h"
#include "lisp_worker/worker/frame.h"
#include "testing/formats/scenario.h"
#include "testing/wire/wire_frames.h"
#include "testing/wire/wire_laws.h"

namespace {

using lisp_worker::testing_support::WorkerLife;

std::string streamOf(lisp_worker::fuzz::Input input) {
  std::string stream;
  while (!input.empty()) {
    const std::uint8_t type = input.byte();
    if (type == 0xFF) return stream.append(input.rest());
    const std::uint8_t ids = input.byte();
    const std::size_t size = input.byte() | std::size_t{input.byte()} << 8;
    lisp_worker::worker::MessageHeader header = lisp_worker::testing_support::requestHeader(
        static_cast<std::uint16_t>(type == 0xFE ? 255 : type % 12));
    header.request_id = stream.size();
    header.context_id = ids & 3U;
    header.run_id = ids >> 2 & 7U;
    stream += lisp_worker::testing_support::frameBytes(header, input.take(size));
  }
  return stream;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string stream = streamOf({data, size});
  const WorkerLife life = lisp_worker::testing_support::liveInProcess(stream);
  lisp_worker::fuzz::requireEqual(
      lisp_worker::testing_support::brokenLaw(stream, life.output, life.exit_code), "",
      "the worker keeps the laws of the wire");
  const WorkerLife in_bytes = lisp_worker::testing_support::liveInProcess(stream, 1);
  lisp_worker::fuzz::require(in_bytes.output == life.output && in_bytes.exit_code == life.exit_code,
                             "single bytes make no difference");
  const std::size_t cut = life.output.size() / 2;
  const WorkerLife unheard = lisp_worker::testing_support::liveInProcess(stream, 64, cut);
  lisp_worker::fuzz::require(unheard.output == life.output.substr(0, cut),
                             "an output that fails has got what was written so far");
  return 0;
}
