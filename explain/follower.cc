// Two threads that take turns, with one mutex and one condition: either the follower waits for a
// call, or the evaluation for an answer. The evaluation ends when the follower is destroyed: it is
// told that there will be no answer, and unwinds like any run that stops at a host call.

#include "explain/follower.h"

#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

#include "host/run.h"
#include "lisp/environment.h"
#include "lisp/interpreter.h"
#include "lisp/observer.h"
#include "lisp/outcome.h"

namespace explain {

using lisp::LispValue;

// It observes itself because functions of earlier programs are observed ones, and to learn the
// arguments of calls that were answered before it began.
class Follower::Evaluation : private lisp::Observer, private lisp::HostCallWaiter {
 public:
  Evaluation(ProgramPointer program, const Definitions& definitions,
             const geometry::CoordContext* context)
      : program_(std::move(program)), environment_(definitions.environment()) {
    if (context != nullptr) context_ = *context;
  }

  ~Evaluation() override {
    if (!thread_.joinable()) return;
    is_given_up_ = true;
    if (arguments_) continueEvaluation();
    thread_.join();
  }
  Evaluation(const Evaluation&) = delete;
  Evaluation& operator=(const Evaluation&) = delete;

  std::optional<std::vector<LispValue>> argumentsAfter(std::span<const AnsweredCall> answers) {
    if (program_->reading.fault) return std::nullopt;
    for (std::size_t n = transcript_.size(); n < answers.size(); ++n) {
      transcript_.push_back({answers[n].name, {}, answers[n].answer});
    }
    if (!thread_.joinable()) {
      is_running_ = true;
      thread_ = std::thread([this] { run(); });
    } else if (arguments_) {
      continueEvaluation();
    }
    await(false);
    return arguments_;
  }

 private:
  void continueEvaluation() {
    interpreter_->stepIn();
    arguments_.reset();
    pass(true);
  }

  // Both threads hand over by this flag, and see what the other one has done.
  void pass(bool is_running) {
    const std::lock_guard lock(mutex_);
    is_running_ = is_running;
    has_changed_.notify_all();
  }
  void await(bool is_running) {
    std::unique_lock lock(mutex_);
    has_changed_.wait(lock, [&] { return is_running_ == is_running; });
  }

  // --- On the evaluation's thread ---------------------------------------------------------------

  void run() {
    {
      lisp::Interpreter interpreter(environment_, context_ ? &*context_ : nullptr, &transcript_,
                                    this);
      interpreter.observe(this);
      interpreter_ = &interpreter;
      host::StoredProgram observed{{}, program_->observed};
      static_cast<void>(host::run_program(interpreter, observed, {}));
    }
    pass(false);
  }

  void hostCalled(std::string_view /*name*/, std::span<const LispValue> arguments) override {
    if (answered_count_ < transcript_.size()) complete(arguments);
  }
  void hostAnswered(const lisp::HostTranscriptEntry& /*entry*/) override { ++answered_count_; }

  bool awaitAnswer(lisp::Interpreter& /*interpreter*/, const lisp::HostCall& call) override {
    if (is_given_up_) return false;
    arguments_ = call.arguments;
    pass(false);
    await(true);
    if (answered_count_ == transcript_.size()) return false;
    complete(call.arguments);
    return true;
  }

  void complete(std::span<const LispValue> arguments) {
    transcript_[answered_count_].arguments.assign(arguments.begin(), arguments.end());
  }

  const ProgramPointer program_;
  const lisp::Environment environment_;
  std::optional<geometry::CoordContext> context_;
  lisp::HostTranscript transcript_;
  std::size_t answered_count_ = 0;
  lisp::Interpreter* interpreter_ = nullptr;
  std::optional<std::vector<LispValue>> arguments_;  // While the evaluation waits.
  bool is_given_up_ = false;

  std::thread thread_;
  std::mutex mutex_;
  std::condition_variable has_changed_;
  bool is_running_ = false;
};

Follower::Follower(ProgramPointer program, const Definitions& definitions,
                   const geometry::CoordContext* context)
    : evaluation_(std::make_unique<Evaluation>(std::move(program), definitions, context)) {}

Follower::~Follower() = default;

std::optional<std::vector<LispValue>> Follower::argumentsAfter(
    std::span<const AnsweredCall> answers) {
  return evaluation_->argumentsAfter(answers);
}

}  // namespace explain
