// Requests for tests, and the record of a coordinate context.

#ifndef TESTING_WIRE_FRAME_MAKERS_H_
#define TESTING_WIRE_FRAME_MAKERS_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "testing/wire/frame_port.h"

namespace lisp_worker::testing_support {

[[nodiscard]] Frame startFrame(std::string program, std::uint64_t context_id = 0);
[[nodiscard]] Frame resumeFrame(std::uint64_t run_id, std::string answer);
[[nodiscard]] Frame cancelFrame(std::uint64_t run_id);
// `record` is the context's record of 416 bytes.
[[nodiscard]] Frame registerFrame(std::uint64_t context_id, std::string record);

// A planar system: origin_x, origin_y, a, b, c, d, z_scale, z_offset.
using PlanarSystem = std::array<double, 8>;
inline constexpr PlanarSystem kIdentitySystem = {0, 0, 1, 0, 0, 1, 1, 0};

// A record of five identity systems, an identity cell plane and cells of size 1.
[[nodiscard]] std::string identityContextRecord(std::uint64_t context_id);
// Replaces system `index`, 0 to 4, of a record.
void setSystem(std::string& record, std::size_t index, const PlanarSystem& system);
[[nodiscard]] PlanarSystem systemOf(const std::string& record, std::size_t index);

}  // namespace lisp_worker::testing_support

#endif  // TESTING_WIRE_FRAME_MAKERS_H_
