// Follows the programs that a worker runs, so that their errors can be explained.

#ifndef CONSOLE_EXPLAINER_H_
#define CONSOLE_EXPLAINER_H_

#include <cstddef>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "explain/evaluation.h"
#include "explain/follower.h"
#include "explain/watcher.h"
#include "lisp_worker/client/coordinates.h"
#include "lisp_worker/client/datum.h"
#include "lisp_worker/client/eval_result.h"
#include "lisp_worker/client/worker_client.h"

namespace lisp_worker::console {

// For each program: start, the answers to its host calls, finish. What programs leave behind it
// keeps as the worker does, from the same text, so that the next one is followed too.
class Explainer {
 public:
  // `context` is what the program runs under; null for none.
  void start(std::string_view name, std::string_view text, const client::CoordContext* context);

  // The host answers the call that the program waits for, and has refused it unless `refusal` is
  // empty; because of `refused_argument`, counted from 0, if it is one of them.
  void answer(std::string_view call_name, std::string_view answer_text, std::string_view refusal,
              std::optional<std::size_t> refused_argument = std::nullopt);

  // The arguments of the call that waits, as its program has made them; empty when this evaluation
  // does not come to them, or no text can be written for them. Evaluates the program once more, all
  // of its calls together; once for each call after replaceContext().
  [[nodiscard]] std::optional<client::DatumList> argumentsOf(const client::EvalResult& waiting);

  // The context has been replaced, while a call waits.
  void replaceContext(const client::CoordContext& context);

  // The program has come to an end. What there is to tell about it: nothing for a value, an
  // explanation for an error; or why there is none, because this evaluation and the worker's differ
  // in message or steps.
  [[nodiscard]] std::string finish(const client::Reply<client::EvalResult>& reply);

  // The program has been cancelled while a call waited. Where that call stands.
  [[nodiscard]] std::string cancel();

  // True once a program has been started.
  [[nodiscard]] bool hasProgram() const { return program_ != nullptr; }

  // The program has been cancelled because a call was refused: finds the places of refused calls.
  void stop();

  // The place of the pending call, such as "a.lsp:4:3"; empty when it is not known. Evaluates the
  // program once more.
  [[nodiscard]] std::string placeOfWaitingCall();

  // The calls that the host has refused, each with its place, and only a count of those that are
  // too many. Once the program has come to an end.
  [[nodiscard]] std::string explainRefusals() const;

  // The last function of a program of functions alone, when its name is that of a command to be
  // typed, C:NAME: a call of it. Otherwise empty.
  [[nodiscard]] std::string callOfTypedCommand() const;

  // Told of the evaluation of each program and library that has come to an end; null for nobody.
  void setWatcher(explain::Watcher* watcher) { watcher_ = watcher; }

  // The answered calls of the program, each with its place once an evaluation has met it: after
  // finish, cancel, stop or placeOfWaitingCall.
  [[nodiscard]] const std::vector<explain::AnsweredCall>& answeredCalls() const { return answers_; }

  // The outcome of the last program as evaluated here, with its steps by line.
  [[nodiscard]] const explain::Outcome& outcome() const { return outcome_; }

  // The variables and functions of finished programs. Set for a worker that was given other ones.
  [[nodiscard]] const explain::Definitions& definitions() const { return definitions_; }
  void setDefinitions(explain::Definitions definitions) { definitions_ = std::move(definitions); }

 private:
  [[nodiscard]] std::optional<std::vector<lisp::LispValue>> valuesOfWaitingCall(
      const client::EvalResult& waiting);

  struct ContextVersion {
    std::size_t call_count;  // Calls that were reached under it or an earlier one.
    geometry::CoordContext context;
  };

  explain::Outcome evaluateAgain(explain::Watcher* watcher);
  explain::Outcome evaluateAside(explain::Watcher* watcher = nullptr);
  std::string explainUnreadableAnswer(const client::EvalResult& result);

  explain::Definitions definitions_;
  explain::ProgramPointer program_;
  bool has_context_ = false;
  geometry::CoordContext context_;
  std::vector<ContextVersion> earlier_contexts_;
  std::vector<explain::AnsweredCall> answers_;
  std::map<std::size_t, std::size_t> refused_arguments_;  // By index in answers_.
  std::string last_answer_;
  std::unique_ptr<explain::Follower> follower_;  // Of the program, once it is needed.
  explain::Outcome outcome_;
  explain::Watcher* watcher_ = nullptr;
};

}  // namespace lisp_worker::console

#endif  // CONSOLE_EXPLAINER_H_
