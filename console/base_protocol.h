// The frame around each message of an editor's protocol: a header with the number of bytes, an
// empty line, and then the message itself.
//
//   Content-Length: 17\r\n
//   \r\n
//   {"jsonrpc":"2.0"}
//
// The language server and the debug adapter share it. Both protocols call it their base protocol.

#ifndef CONSOLE_BASE_PROTOCOL_H_
#define CONSOLE_BASE_PROTOCOL_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace lisp_worker::console {

// Takes bytes as they come, and gives whole messages.
class MessageReader {
 public:
  // A header is at most so long, with its empty line, and a message without its header.
  static constexpr std::size_t kHeaderBytesMax = 4096;
  static constexpr std::size_t kMessageBytesMax = std::size_t{64} << 20;

  enum class Result : std::uint8_t {
    Message,
    More,    // There is no whole message yet.
    Broken,  // The bytes are no header, and nothing after them can be read. It stays so.
  };

  void append(std::string_view bytes);

  // The next message, in `message`; the reason in `message` when broken; otherwise `message` is
  // left alone.
  [[nodiscard]] Result next(std::string& message);

  // True if there are bytes of a message that is not whole.
  [[nodiscard]] bool isInMessage() const { return begin_ != bytes_.size(); }

 private:
  [[nodiscard]] bool readHeader();

  std::string bytes_;
  std::size_t begin_ = 0;          // Of what was not given yet.
  std::size_t searched_ = 0;       // No end of the header is before this.
  std::size_t message_begin_ = 0;  // After the header; 0 while it is not read.
  std::size_t message_size_ = 0;
  std::string why_broken_;
};

// The message with its header.
[[nodiscard]] std::string framed(std::string_view message);

}  // namespace lisp_worker::console

#endif  // CONSOLE_BASE_PROTOCOL_H_
