// The version of this library, which is also that of the worker it comes with.

#ifndef CLIENT_VERSION_H_
#define CLIENT_VERSION_H_

#include <string_view>

namespace client {

// "1.0.0", with a zero after it.
[[nodiscard]] std::string_view libraryVersion();

}  // namespace client

#endif  // CLIENT_VERSION_H_
