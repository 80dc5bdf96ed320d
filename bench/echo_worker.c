// The least that a worker can be: it answers every frame with a frame, without looking at it.
//
// It makes the worker's system calls for the same bytes: a read of the header, a read of the
// payload when there is one, one gathered write of the response. What the worker takes longer is
// the worker's own work. A request's run_id says how many bytes of payload its response is to have.
// In C, because a process that starts quickly is compared with it, too.

#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <sys/uio.h>
#include <unistd.h>

enum {
  kHeaderSize = 64,
  kPayloadLengthOffset = 8,
  kRunIdOffset = 32,
  kPayloadSizeMax = 0x100000,
};

static char header[kHeaderSize];
static char request[kPayloadSizeMax];
static char response[kPayloadSizeMax];

static uint32_t getU32(const char* bytes) {
  const unsigned char* const digits = (const unsigned char*)bytes;
  return (uint32_t)digits[0] | (uint32_t)digits[1] << 8 | (uint32_t)digits[2] << 16 |
         (uint32_t)digits[3] << 24;
}

static void putU32(char* bytes, uint32_t value) {
  for (int i = 0; i < 4; ++i) bytes[i] = (char)(value >> 8 * i);
}

static int readExact(char* destination, size_t size) {
  while (size > 0) {
    const ssize_t moved = read(STDIN_FILENO, destination, size);
    if (moved <= 0) return 0;
    destination += moved;
    size -= (size_t)moved;
  }
  return 1;
}

int main(void) {
  while (readExact(header, kHeaderSize)) {
    const uint32_t request_size = getU32(header + kPayloadLengthOffset);
    const uint32_t response_size = getU32(header + kRunIdOffset);
    if (request_size > kPayloadSizeMax || response_size > kPayloadSizeMax) return EXIT_FAILURE;
    if (!readExact(request, request_size)) return EXIT_FAILURE;
    memset(header + kRunIdOffset, 0, kHeaderSize - kRunIdOffset);
    putU32(header + kPayloadLengthOffset, response_size);
    const struct iovec pieces[] = {{header, kHeaderSize}, {response, response_size}};
    // Responses of benchmarks fit into a pipe, so a write that is not whole is a failure.
    if (writev(STDOUT_FILENO, pieces, 2) != kHeaderSize + (ssize_t)response_size) {
      return EXIT_FAILURE;
    }
  }
  return EXIT_SUCCESS;
}
