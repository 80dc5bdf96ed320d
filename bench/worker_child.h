// The worker's process as the system sees it, for benchmarks with one worker at a time.

#ifndef BENCH_WORKER_CHILD_H_
#define BENCH_WORKER_CHILD_H_

#include <filesystem>
#include <fstream>
#include <string>

namespace lisp_worker::bench {

// The id of the only child of this process: a child of the thread that the client keeps for it.
// Empty when there is none to be seen.
inline std::string childProcess() {
  for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task")) {
    std::ifstream children(thread.path() / "children");
    std::string process;
    if (children >> process) return process;
  }
  return {};
}

}  // namespace lisp_worker::bench

#endif  // BENCH_WORKER_CHILD_H_
