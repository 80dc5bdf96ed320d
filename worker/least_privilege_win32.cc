#include "worker/least_privilege.h"

namespace lisp_worker::worker {

void giveUpPrivileges() {}

bool restrictsSystemCalls() { return false; }

}  // namespace lisp_worker::worker
