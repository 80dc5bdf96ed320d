// Reads and writes by handle: the C runtime's streams would translate line ends and read ahead. A
// frame is two writes, since Windows has no gathered write for pipes.

#include <windows.h>

#include <cstddef>

#include "worker/exact_transfer.h"
#include "worker/stdio.h"

namespace lisp_worker::worker {
namespace {

// The process's standard handle of that name as it is now, or null when there is none.
HANDLE standardHandle(DWORD name) {
  const HANDLE handle = ::GetStdHandle(name);
  return handle == INVALID_HANDLE_VALUE ? nullptr : handle;
}

}  // namespace

// The handles are used directly: the C runtime's streams would translate line ends and read ahead.

bool StandardInput::readExact(std::span<char> destination) {
  if (destination.empty()) return true;
  const HANDLE input = standardHandle(STD_INPUT_HANDLE);
  if (input == nullptr) return false;
  const auto read_chunk = [&](std::size_t offset, std::size_t chunk_size) -> std::size_t {
    DWORD moved = 0;
    const BOOL succeeded = ::ReadFile(input, destination.data() + offset,
                                      static_cast<DWORD>(chunk_size), &moved, nullptr);
    return succeeded ? moved : 0;
  };
  return transferExactly(destination.size(), read_chunk) == destination.size();
}

bool StandardOutput::writeExact(std::string_view bytes) {
  if (bytes.empty()) return true;
  const HANDLE output = standardHandle(STD_OUTPUT_HANDLE);
  if (output == nullptr) return false;
  const auto write_chunk = [&](std::size_t offset, std::size_t chunk_size) -> std::size_t {
    DWORD moved = 0;
    const BOOL succeeded =
        ::WriteFile(output, bytes.data() + offset, static_cast<DWORD>(chunk_size), &moved, nullptr);
    return succeeded ? moved : 0;
  };
  return transferExactly(bytes.size(), write_chunk) == bytes.size();
}

FrameWrite StandardOutput::writeFrame(std::string_view header, std::string_view payload) {
  return ByteWriter::writeFrame(header, payload);
}

// A broken pipe is an error code of WriteFile here, never a signal.
void keepAliveOnBrokenPipe() {}

}  // namespace lisp_worker::worker
