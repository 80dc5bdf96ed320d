// The fixture of all attacks on the executable.

#ifndef TESTING_CASES_ATTACK_H_
#define TESTING_CASES_ATTACK_H_

#include <gtest/gtest.h>

#include <string>

#include "testing/workers/watched_worker.h"

namespace lisp_worker::testing_support {

// After each attack the worker must still answer, and leave when its input ends.
class Attack : public testing::Test {
 protected:
  void TearDown() override {
    RecordProperty("longest_us", std::to_string(worker_.longestTime().count()));
    RecordProperty("largest_growth_kib", std::to_string(worker_.largestGrowth()));
    worker_.expectValue("(+ 1 2)", "3");
    worker_.expectLeaves();
  }

  WatchedWorker worker_;
};

}  // namespace lisp_worker::testing_support

#endif  // TESTING_CASES_ATTACK_H_
