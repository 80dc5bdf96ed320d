// The version of this library, which is also that of the worker it comes with.

#ifndef LISP_WORKER_CLIENT_VERSION_H_
#define LISP_WORKER_CLIENT_VERSION_H_

#include <string_view>

namespace lisp_worker::client {

// "1.0.0", with a zero after it.
[[nodiscard]] std::string_view libraryVersion();

}  // namespace lisp_worker::client

#endif  // LISP_WORKER_CLIENT_VERSION_H_
