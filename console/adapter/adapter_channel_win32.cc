#include <fcntl.h>
#include <io.h>
#include <stdio.h>
#include <windows.h>

#include "console/adapter/adapter_channel.h"

namespace lisp_worker::console {
namespace {

class StandardChannel : public AdapterChannel {
 public:
  StandardChannel() {
    _setmode(_fileno(stdin), _O_BINARY);
    _setmode(_fileno(stdout), _O_BINARY);
  }

  std::size_t read(char* buffer, std::size_t size) override {
    const int count = _read(_fileno(stdin), buffer, static_cast<unsigned int>(size));
    return count < 0 ? 0 : static_cast<std::size_t>(count);
  }

  // Only a pipe can tell; anything else has none until it is read.
  bool hasInput() override {
    DWORD count = 0;
    return PeekNamedPipe(GetStdHandle(STD_INPUT_HANDLE), nullptr, 0, nullptr, &count, nullptr) !=
               0 &&
           count != 0;
  }

  bool write(std::string_view bytes) override {
    while (!bytes.empty()) {
      const int count =
          _write(_fileno(stdout), bytes.data(), static_cast<unsigned int>(bytes.size()));
      if (count <= 0) return false;
      bytes.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
  }
};

}  // namespace

std::unique_ptr<AdapterChannel> standardChannel() { return std::make_unique<StandardChannel>(); }

}  // namespace lisp_worker::console
