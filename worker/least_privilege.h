// The rights of the process, given up as far as the system lets it.
//
// A worker reads requests, writes responses and needs memory. Should a mistake in it ever let a
// program reach further than the language, the system refuses the rest: on Linux every other system
// call ends the process, on Windows there is no code but that of the program's file, and no child.

#ifndef WORKER_LEAST_PRIVILEGE_H_
#define WORKER_LEAST_PRIVILEGE_H_

namespace lisp_worker::worker {

// Gives up all rights but those that answering requests takes, for the rest of the process's life.
// Called once, by the only thread, after everything that a start needs: secrets are drawn, tables
// made. A system that cannot do a part of it is not a failure.
void giveUpPrivileges();

// False in a build whose own bookkeeping calls the system when it likes (LISP_FREE_SYSTEM_CALLS in
// cmake/hardening.cmake), and on systems without such a filter: there, giveUpPrivileges() does not
// restrict the system calls.
[[nodiscard]] bool restrictsSystemCalls();

}  // namespace lisp_worker::worker

#endif  // WORKER_LEAST_PRIVILEGE_H_
