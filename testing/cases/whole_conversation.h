// The tests that hold a scenario, once in this process and once with the executable. Each file of
// scenarios instantiates them with its table.

#ifndef TESTING_CASES_WHOLE_CONVERSATION_H_
#define TESTING_CASES_WHOLE_CONVERSATION_H_

#include <gtest/gtest.h>

#include <string>

#include "testing/formats/scenario.h"

namespace lisp_worker::testing_support {

class WholeConversation : public testing::TestWithParam<Scenario> {};

// Names the tests of a table after its scenarios.
[[nodiscard]] inline std::string nameOf(const testing::TestParamInfo<Scenario>& info) {
  return info.param.name();
}

}  // namespace lisp_worker::testing_support

#endif  // TESTING_CASES_WHOLE_CONVERSATION_H_
