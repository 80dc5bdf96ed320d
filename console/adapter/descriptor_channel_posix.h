// A channel over two file descriptors.

#ifndef CONSOLE_ADAPTER_DESCRIPTOR_CHANNEL_POSIX_H_
#define CONSOLE_ADAPTER_DESCRIPTOR_CHANNEL_POSIX_H_

#include <cstddef>
#include <string_view>

#include "console/adapter/adapter_channel.h"

namespace lisp_worker::console {

// Leaves the descriptors open.
class DescriptorChannel : public AdapterChannel {
 public:
  DescriptorChannel(int input, int output) : input_(input), output_(output) {}

  std::size_t read(char* buffer, std::size_t size) override;
  bool hasInput() override;
  bool write(std::string_view bytes) override;

 private:
  int input_;
  int output_;
};

}  // namespace lisp_worker::console

#endif  // CONSOLE_ADAPTER_DESCRIPTOR_CHANNEL_POSIX_H_
