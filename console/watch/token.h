// The secret in a page's address.

#ifndef CONSOLE_WATCH_TOKEN_H_
#define CONSOLE_WATCH_TOKEN_H_

#include <string>
#include <string_view>

namespace lisp_worker::console {

// 32 hexadecimal digits from the system's source of randomness; empty when that fails.
[[nodiscard]] std::string makeToken();

// Compares in a time that tells nothing of where the texts differ.
[[nodiscard]] bool isSameSecret(std::string_view a, std::string_view b);

}  // namespace lisp_worker::console

#endif  // CONSOLE_WATCH_TOKEN_H_
