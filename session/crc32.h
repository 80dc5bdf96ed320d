// The checksum of recorded sessions: CRC-32 with the polynomial 0xEDB88320, as Ethernet, gzip and
// PNG use it. It finds every error of up to three bits in a record, and every burst of up to 32.

#ifndef SESSION_CRC32_H_
#define SESSION_CRC32_H_

#include <cstdint>
#include <string_view>

namespace lisp_worker::session {

// Of `bytes`; or, with the checksum of what stands before them, of both together.
[[nodiscard]] std::uint32_t crc32(std::string_view bytes, std::uint32_t before = 0);

}  // namespace lisp_worker::session

#endif  // SESSION_CRC32_H_
