// The bytes between the adapter and its client: standard input and output, or a connection.

#ifndef CONSOLE_ADAPTER_ADAPTER_CHANNEL_H_
#define CONSOLE_ADAPTER_ADAPTER_CHANNEL_H_

#include <cstddef>
#include <memory>
#include <string_view>

namespace lisp_worker::console {

class AdapterChannel {
 public:
  virtual ~AdapterChannel() = default;

  // Waits for bytes and puts as many as there are, `size` at most, into `buffer`. Returns how many;
  // 0 when there will be no more.
  [[nodiscard]] virtual std::size_t read(char* buffer, std::size_t size) = 0;
  // True if read would not wait.
  [[nodiscard]] virtual bool hasInput() = 0;
  // False when the client is gone.
  [[nodiscard]] virtual bool write(std::string_view bytes) = 0;
};

// Of this process. Nothing else may use them.
[[nodiscard]] std::unique_ptr<AdapterChannel> standardChannel();

}  // namespace lisp_worker::console

#endif  // CONSOLE_ADAPTER_ADAPTER_CHANNEL_H_
