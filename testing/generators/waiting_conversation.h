// Random conversations in which programs wait for their host: many host calls, several runs at
// once, definitions, contexts and other programs between two answers.
//
// They try to tell a kept evaluation from a replayed one, so they are played to several workers
// that keep more or less (testing/cases/kept_runs_test.cc).

#ifndef TESTING_GENERATORS_WAITING_CONVERSATION_H_
#define TESTING_GENERATORS_WAITING_CONVERSATION_H_

#include <cstdint>
#include <vector>

#include "testing/generators/conversation.h"
#include "testing/wire/frame_port.h"

namespace lisp_worker::testing_support {

// The conversation of a seed, with the answers of `reference`, which must be a worker that has not
// been asked anything. The same for the same seed, as long as workers give the same answers.
[[nodiscard]] std::vector<Exchange> playWaitingConversation(std::uint64_t seed,
                                                            FramePort& reference);

}  // namespace lisp_worker::testing_support

#endif  // TESTING_GENERATORS_WAITING_CONVERSATION_H_
