#include "client/version.h"

namespace client {

// The build gives it, from its one place.
std::string_view libraryVersion() { return LISP_VERSION; }

}  // namespace client
