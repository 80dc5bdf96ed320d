#include "lisp_worker/client/version.h"

namespace lisp_worker::client {

// The build gives it, from its one place.
std::string_view libraryVersion() { return LISP_VERSION; }

}  // namespace lisp_worker::client
