// Numbers that nobody can guess, from the system.

#ifndef LISP_SECRET_H_
#define LISP_SECRET_H_

#include <cstdint>

namespace lisp {

// 64 bits of the system's randomness. Ends the process when the system has none. Only for the start
// of a process: once a worker serves, it may not ask the system any more.
[[nodiscard]] std::uint64_t drawSecret();

}  // namespace lisp

#endif  // LISP_SECRET_H_
