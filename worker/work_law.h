// The law of linear work: what a request costs is at most a constant times what it asks for.
//
// In the build that counts work (LISP_COUNT_WORK), every Dispatcher checks each of its requests
// and ends the process, with a line on standard error, when one breaks the law. So every test of
// that build is a test of the law. In every other build nothing is counted.

#ifndef WORKER_WORK_LAW_H_
#define WORKER_WORK_LAW_H_

#include <string_view>

#include "lisp_worker/worker/frame.h"

#ifdef LISP_COUNT_WORK

#include <cstdint>
#include <map>

namespace lisp_worker::worker {

class WorkLaw {
 public:
  // Around the work on a request.
  void begin();
  void end(const MessageHeader& request, std::string_view payload, std::string_view response);

 private:
  std::uint64_t work_before_ = 0;
  // Bytes of the program and of the answers so far, of every run that waits. Not hashed: a table
  // that grows would make one request expensive in the build that looks for such requests.
  std::map<std::uint64_t, std::uint64_t> run_sizes_;
};

}  // namespace lisp_worker::worker

#else

namespace lisp_worker::worker {

class WorkLaw {
 public:
  void begin() {}
  void end(const MessageHeader& /*request*/, std::string_view /*payload*/,
           std::string_view /*response*/) {}
};

}  // namespace lisp_worker::worker

#endif

#endif  // WORKER_WORK_LAW_H_
