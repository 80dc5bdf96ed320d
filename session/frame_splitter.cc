// Bytes are kept until their frame is whole; its header tells the size. Between calls at most one
// unfinished frame is kept.

#include "session/frame_splitter.h"

#include <cstddef>
#include <span>

#include "lisp_worker/worker/frame.h"

namespace lisp_worker::session {

void FrameSplitter::feed(std::string_view bytes,
                         const std::function<void(std::string_view frame)>& take) {
  // Bytes after the last frame are not kept: a host may send them without end.
  if (is_over_) return;
  rest_ += bytes;
  std::string_view unread = rest_;
  while (!is_over_ && unread.size() >= worker::kHeaderSize) {
    const worker::MessageHeader header =
        worker::decodeHeader(std::span(unread).first<worker::kHeaderSize>());
    is_over_ = worker::validateHeader(header) != worker::WorkerStatus::Ok;
    const std::size_t size = worker::kHeaderSize + (is_over_ ? 0 : header.payload_length);
    if (unread.size() < size) break;
    take(unread.substr(0, size));
    unread.remove_prefix(size);
  }
  rest_.erase(0, rest_.size() - unread.size());
}

}  // namespace lisp_worker::session
