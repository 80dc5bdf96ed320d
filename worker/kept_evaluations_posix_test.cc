// The part of its stack that a kept evaluation uses, as the system counts it.

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <fstream>
#include <string>

#include "geometry/context_table.h"
#include "lisp/graveyard.h"
#include "worker/evaluation_requests.h"
#include "worker/kept_evaluations.h"
#include "worker/side_stack.h"

namespace lisp_worker::worker {
namespace {

// Resident bytes of the side stacks of this process: mappings of their size without the guard page.
std::size_t residentBytesOfSideStacks() {
  const std::size_t size_looked_for =
      SideStack::size() - static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  std::ifstream maps("/proc/self/smaps");
  std::size_t resident = 0;
  bool is_stack = false;
  for (std::string line; std::getline(maps, line);) {
    const std::size_t dash = line.find('-');
    const std::size_t blank = line.find(' ');
    if (dash != std::string::npos && dash < blank && line.find(':') > blank) {
      const std::size_t begin = std::strtoull(line.c_str(), nullptr, 16);
      const std::size_t end = std::strtoull(line.c_str() + dash + 1, nullptr, 16);
      is_stack = end - begin == size_looked_for;
    } else if (is_stack && line.starts_with("Rss:")) {
      resident += 1024 * std::strtoull(line.c_str() + 4, nullptr, 10);
    }
  }
  return resident;
}

// Host calls inside each other take the most: each keeps the arguments that it has evaluated.
TEST(KeptEvaluations, UseLittleOfTheirStackAtTheDepthLimit) {
  if (SideStack::size() > std::size_t{256} << 10) GTEST_SKIP() << "functions are larger here";
  lisp::takeAllApart();
  geometry::ContextTable contexts;
  EvaluationRequests evaluation(contexts, {.steps_min = 0});
  std::string program = "(GETDIST) ";
  for (int i = 0; i < 126; ++i) program += "(ENTGET ";
  program += "(GETDIST)" + std::string(126, ')');
  MessageHeader request;
  std::string response;
  ASSERT_EQ(evaluation.handleEvalStart(request, program, response), WorkerStatus::HostCallPending);
  request.run_id = 1;
  response.clear();
  ASSERT_EQ(evaluation.handleEvalResume(request, "1", response), WorkerStatus::HostCallPending);
  ASSERT_EQ(evaluation.keptEvaluations().count(), 1U);
  const std::size_t resident = residentBytesOfSideStacks();
  EXPECT_GT(resident, 4096U);
  EXPECT_LE(resident, KeepLimits::kStackBytes);
}

}  // namespace
}  // namespace lisp_worker::worker
