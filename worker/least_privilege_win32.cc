#include "worker/least_privilege.h"

namespace worker {

void giveUpPrivileges() {}

bool restrictsSystemCalls() { return false; }

}  // namespace worker
