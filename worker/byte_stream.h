// The two ends of the worker's channel as the loop sees them.
//
// The process itself talks through its standard input and output (worker/stdio.h); tests, fuzzers
// and benchmarks put whole conversations into memory instead.

#ifndef WORKER_BYTE_STREAM_H_
#define WORKER_BYTE_STREAM_H_

#include <span>
#include <string_view>

namespace lisp_worker::worker {

// The source of requests.
class ByteReader {
 public:
  virtual ~ByteReader() = default;

  // Fills `destination` with the next bytes of the input, waiting for them as long as it takes,
  // and takes none beyond them. False when the input ends or fails first; what `destination` then
  // holds is unspecified. An empty destination succeeds without touching the input.
  [[nodiscard]] virtual bool readExact(std::span<char> destination) = 0;
};

// The part of a frame that reached the output.
enum class FrameWrite { Complete, HeaderFailed, PayloadFailed };

// The destination of responses.
class ByteWriter {
 public:
  virtual ~ByteWriter() = default;

  // Hands all of `bytes` to the output, waiting as long as it takes. False when the output is
  // closed or fails first. No bytes succeed without touching the output.
  [[nodiscard]] virtual bool writeExact(std::string_view bytes) = 0;

  // Writes a header and its payload, in this order. HeaderFailed unless the whole header was
  // taken, PayloadFailed when it was and the payload was not.
  //
  // A response in one piece wakes its reader once instead of twice, so an output that can take
  // both at once overrides this.
  [[nodiscard]] virtual FrameWrite writeFrame(std::string_view header, std::string_view payload) {
    if (!writeExact(header)) return FrameWrite::HeaderFailed;
    if (!writeExact(payload)) return FrameWrite::PayloadFailed;
    return FrameWrite::Complete;
  }
};

}  // namespace lisp_worker::worker

#endif  // WORKER_BYTE_STREAM_H_
