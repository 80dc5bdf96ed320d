// The changes that a program makes to the host's document, as one change.

#ifndef LISP_WORKER_CLIENT_HOST_TRANSACTION_H_
#define LISP_WORKER_CLIENT_HOST_TRANSACTION_H_

namespace lisp_worker::client {

// Implemented by hosts, usually with their own undo. runProgram calls begin once, before it sends
// the program, and then exactly one of the other two:
//
//   commit    after the program has ended with a value. The worker has kept the program's
//             variables by then.
//   rollBack  on every other way out: an error, a limit, a refusal of the worker, a call that was
//             not answered, an exception of the Answerer, a worker that has died or passed its
//             deadline. The program has been cancelled by then, if there still is a worker.
//
// An exception of begin or commit leaves runProgram, and neither of the other functions is called
// after it. When an Answerer runs another program with a transaction, that one begins and ends
// inside the outer one.
class HostTransaction {
 public:
  HostTransaction() = default;
  HostTransaction(const HostTransaction&) = delete;
  HostTransaction& operator=(const HostTransaction&) = delete;
  virtual ~HostTransaction() = default;

  virtual void begin() = 0;
  virtual void commit() = 0;
  virtual void rollBack() noexcept = 0;
};

}  // namespace lisp_worker::client

#endif  // LISP_WORKER_CLIENT_HOST_TRANSACTION_H_
