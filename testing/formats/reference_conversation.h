// One conversation of more than sixty requests, of every type and with every status but the step
// limit's, for tests that damage it. It is short in bytes and in steps, so that a test can hold it
// thousands of times.

#ifndef TESTING_FORMATS_REFERENCE_CONVERSATION_H_
#define TESTING_FORMATS_REFERENCE_CONVERSATION_H_

#include "testing/formats/scenario.h"

namespace lisp_worker::testing_support {

[[nodiscard]] const Scenario& referenceConversation();

}  // namespace lisp_worker::testing_support

#endif  // TESTING_FORMATS_REFERENCE_CONVERSATION_H_
