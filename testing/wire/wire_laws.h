// Laws of a worker's output that hold for every input: which requests are answered, how the worker
// ends, and the possible responses to each type of request. Only the values in the answers are left
// open, so random conversations can be judged.

#ifndef TESTING_WIRE_WIRE_LAWS_H_
#define TESTING_WIRE_WIRE_LAWS_H_

#include <string>
#include <string_view>

namespace lisp_worker::testing_support {

// The first law that the output of a worker breaks, in words; empty when it keeps them all. The
// worker was sent `input` and then the end of the input, wrote `output` and ended with `exit_code`.
[[nodiscard]] std::string brokenLaw(std::string_view input, std::string_view output, int exit_code);

}  // namespace lisp_worker::testing_support

#endif  // TESTING_WIRE_WIRE_LAWS_H_
