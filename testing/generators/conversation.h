// Random conversations of a host with a worker, with the answers that the literal implementation
// gives, and a way to make one that goes wrong smaller.

#ifndef TESTING_GENERATORS_CONVERSATION_H_
#define TESTING_GENERATORS_CONVERSATION_H_

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "testing/wire/frame_port.h"

namespace lisp_worker::testing_support {

// A request of a conversation. The run that it names is the one that an earlier turn opened, so
// turns can be taken out without the others losing their meaning.
struct Turn {
  Frame frame;
  // The index of the EvalStart whose run this names; without one, frame.run_id stands.
  std::optional<std::size_t> opened_by;
};

// A request with its run id filled in, and the right answer.
struct Exchange {
  Frame frame;
  FrameResponse expected;
};

struct Conversation {
  std::vector<Turn> turns;
  std::vector<Exchange> exchanges;  // As many as turns.
};

// Programs, answers, cancellations, registrations and mistakes, the same for the same seed. The
// last turns ask for every variable and function that the programs use, so what the worker keeps
// is compared too. Ends early when a program copies more than the literal implementation bears.
[[nodiscard]] Conversation generateConversation(std::uint64_t seed);

// The literal implementation's answers to `turns`; shorter than `turns` when it gives up.
[[nodiscard]] std::vector<Exchange> answerLiterally(const std::vector<Turn>& turns);

// The index of the first exchange that `port` answers with another status or payload.
[[nodiscard]] std::optional<std::size_t> firstDisagreement(const std::vector<Exchange>& exchanges,
                                                           FramePort& port);

// Takes out turns and parts of programs as long as `fails` stays true; asks it at most
// `attempts_max` times.
[[nodiscard]] std::vector<Turn> shrinkConversation(
    std::vector<Turn> turns, const std::function<bool(const std::vector<Turn>&)>& fails,
    int attempts_max);

// The frames up to and including the one at `last`, with their right answers, for people.
[[nodiscard]] std::string describe(const std::vector<Exchange>& exchanges, std::size_t last);

}  // namespace lisp_worker::testing_support

#endif  // TESTING_GENERATORS_CONVERSATION_H_
