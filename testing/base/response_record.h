// A record of the worker's responses in the tests, so that builds for different systems can be
// compared byte for byte.

#ifndef TESTING_BASE_RESPONSE_RECORD_H_
#define TESTING_BASE_RESPONSE_RECORD_H_

#include <string_view>

namespace lisp_worker::testing_support {

// Appends `response` to the file that the environment variable LISP_RESPONSE_RECORD names; without
// one, or when only some of the tests run, does nothing, so that they leave the record of all. The
// file begins anew with each process and holds, for each response: the name of the running test, a
// space, the number of bytes, a line feed, the bytes, a line feed. tools/compare_responses reads
// it.
void recordResponse(std::string_view response);

}  // namespace lisp_worker::testing_support

#endif  // TESTING_BASE_RESPONSE_RECORD_H_
