// The library that serves the page is not built for this system.

#include "console/watch/watch.h"

namespace lisp_worker::console {

bool watch(const WatchSettings& /*settings*/, std::ostream& /*out*/, std::string& error) {
  error = "watch is not in this system's build; it is in that for Linux";
  return false;
}

}  // namespace lisp_worker::console
