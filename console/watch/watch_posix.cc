#include <ostream>

#include "console/line_editor.h"
#include "console/watch/mailbox.h"
#include "console/watch/page_runner.h"
#include "console/watch/page_server.h"
#include "console/watch/watch.h"

namespace lisp_worker::console {

bool watch(const WatchSettings& settings, std::ostream& out, std::string& error) {
  catchInterrupts();
  Mailbox mailbox;
  const auto server = startPageServer(mailbox, settings.port, error);
  if (server == nullptr) return false;
  out << "watching " << settings.program_path << " at " << server->address()
      << "   Ctrl-C ends it\n"
      << std::flush;
  PageRunner(settings, mailbox, takeInterrupt).watch();
  return true;
}

}  // namespace lisp_worker::console
