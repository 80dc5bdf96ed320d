// Streams of bytes that the recording proxy splits into frames.
//
// The first byte of the input is the size of the pieces in which the rest comes. The frames must be
// the same as from the stream as a whole, and together with what is left they must be the stream
// itself. Each frame is a header and as much as it announces; only the last one may have a header
// that no worker goes on after.

#include <algorithm>
#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/law.h"
#include "lisp_worker/worker/frame.h"
#include "session/frame_splitter.h"

namespace {

namespace fuzz = lisp_worker::fuzz;
namespace worker = lisp_worker::worker;

using lisp_worker::session::FrameSplitter;

struct Split {
  std::vector<std::string> frames;
  std::string rest;
  bool is_over = false;
};

Split splitInPieces(std::string_view stream, std::size_t piece_size) {
  Split split;
  FrameSplitter splitter;
  for (std::size_t at = 0; at < stream.size(); at += piece_size) {
    splitter.feed(stream.substr(at, piece_size),
                  [&](std::string_view frame) { split.frames.emplace_back(frame); });
  }
  split.rest = splitter.rest();
  split.is_over = splitter.isOver();
  return split;
}

void checkFrame(std::string_view frame, bool may_be_faulty) {
  fuzz::require(frame.size() >= worker::kHeaderSize, "a frame has a header");
  const worker::MessageHeader header =
      worker::decodeHeader(std::span(frame).first<worker::kHeaderSize>());
  const bool is_faulty = worker::validateHeader(header) != worker::WorkerStatus::Ok;
  fuzz::require(!is_faulty || may_be_faulty, "nothing follows a header that ends the worker");
  const std::size_t size = worker::kHeaderSize + (is_faulty ? 0 : header.payload_length);
  fuzz::require(frame.size() == size, "a frame has the payload that its header announces");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const std::size_t piece_size = std::max<std::size_t>(input.byte(), 1);
  const std::string_view stream = input.rest();
  const Split whole = splitInPieces(stream, std::max<std::size_t>(stream.size(), 1));
  const Split split = splitInPieces(stream, piece_size);
  fuzz::require(split.frames == whole.frames && split.is_over == whole.is_over,
                "pieces of any size give the same frames");
  std::string joined;
  for (std::size_t i = 0; i < split.frames.size(); ++i) {
    checkFrame(split.frames[i], split.is_over && i + 1 == split.frames.size());
    joined += split.frames[i];
  }
  joined += split.rest;
  // After the last frame nothing more is kept than what came with it.
  fuzz::require(split.is_over ? stream.starts_with(joined) : stream == joined,
                "the frames and the rest are the stream");
  return 0;
}
