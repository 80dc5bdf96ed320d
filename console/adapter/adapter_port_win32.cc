#include "console/adapter/serve_adapter.h"

namespace lisp_worker::console {

bool serveAdapterPort(int /*port*/, const client::WorkerStarter& /*start_worker*/,
                      std::ostream& /*out*/, std::string& error) {
  error = "dap --port is not in this system's build; without --port it talks over standard input";
  return false;
}

}  // namespace lisp_worker::console
