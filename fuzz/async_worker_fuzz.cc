// The client that never waits, against hostile workers and a host that changes its mind.
//
// The input is a list of steps, a byte each and what it needs: programs are submitted, answered,
// declined and cancelled; the worker responds, in pieces of any size, with a status and a result
// from the input, sends bytes out of nowhere, reads no more or ends. Laws: a program calls and ends
// only while it is in hand, ends once, and is in hand until then; after a fault none is; what is
// sent are requests, one after the other. In the end the worker is killed, and all programs end.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <utility>

#include "fuzz/law.h"
#include "lisp_worker/client/async_worker.h"
#include "lisp_worker/client/datum.h"
#include "lisp_worker/worker/frame.h"
#include "testing/wire/memory_async_channel.h"
#include "testing/wire/memory_channel.h"

namespace {

namespace client = lisp_worker::client;
namespace fuzz = lisp_worker::fuzz;
namespace testing_support = lisp_worker::testing_support;

using lisp_worker::worker::WorkerStatus;

class Host {
 public:
  explicit Host(fuzz::Input& input) : input_(input) {
    client::AsyncSettings settings;
    settings.time_limit = std::chrono::milliseconds(0);
    worker_ = std::make_unique<client::AsyncWorker>(
        [this](std::string* /*error_out*/) -> std::unique_ptr<client::AsyncChannel> {
          pipes_ = {};
          return std::make_unique<testing_support::MemoryAsyncChannel>(pipes_);
        },
        std::move(settings));
  }

  void run() {
    while (!input_.empty()) {
      takeStep();
      checkPrograms();
    }
    worker_->kill();
    worker_->process();
    for (const auto& [program, is_over] : programs_) {
      fuzz::require(is_over, "a program ends when its worker is killed");
    }
  }

 private:
  void takeStep() {
    switch (input_.byte() % 10) {
      case 0:
        submit();
        break;
      case 1:
        static_cast<void>(worker_->answer(someProgram(), client::number(1.0)));
        break;
      case 2:
        static_cast<void>(worker_->decline(someProgram()));
        break;
      case 3:
        worker_->cancel(someProgram());
        break;
      case 4:
      case 5:
        respond();
        break;
      case 6:
        pipes_.incoming += input_.take(input_.byte());
        break;
      case 7:
        pipes_.piece_max = std::size_t{input_.byte()} + 1;
        break;
      case 8:
        if (input_.byte() % 8 == 0) pipes_.has_ended = true;
        break;
      case 9:
        if (input_.byte() % 8 == 0) pipes_.takes_writes = false;
        break;
    }
    worker_->process();
  }

  void submit() {
    client::ProgramSettings settings;
    settings.on_call = [this](client::ProgramId program, const client::HostCall& /*call*/) {
      fuzz::require(programs_.contains(program) && !programs_[program],
                    "only a program in hand calls its host");
    };
    settings.on_end = [this](client::ProgramId program, const client::ProgramOutcome& /*outcome*/) {
      // It may end before submit() has returned its name.
      fuzz::require(!programs_[program], "a program ends once");
      programs_[program] = true;
    };
    const client::ProgramId program =
        worker_->submit(std::string(input_.take(input_.byte() % 16)), std::move(settings));
    fuzz::require(program != 0, "a program has a name");
    programs_.try_emplace(program, false);
  }

  // One of those submitted, or one that was not.
  client::ProgramId someProgram() { return input_.byte() % (programs_.size() + 2); }

  void respond() {
    const auto status = static_cast<WorkerStatus>(input_.byte() % 13);
    testing_support::EvalPayload payload;
    payload.eval_status = input_.byte() % 6;
    payload.steps = input_.byte();
    payload.run_id = input_.byte() % 4;
    if (status == WorkerStatus::HostCallPending) payload.call_name = "GETDIST";
    payload.text = std::string(input_.take(input_.byte() % 8));
    pipes_.respond(status, payload.bytes());
  }

  void checkPrograms() {
    for (const auto& [program, is_over] : programs_) {
      fuzz::require(worker_->progress(program).has_value() != is_over,
                    "a program is in hand until it ends");
      fuzz::require(is_over || !worker_->fault(), "after a fault no program is in hand");
    }
    std::size_t size = 0;
    for (const auto& [header, payload] : pipes_.requests()) {
      fuzz::require(lisp_worker::worker::validateHeader(header) == WorkerStatus::Ok,
                    "what is sent are requests");
      size += lisp_worker::worker::kHeaderSize + payload.size();
    }
    fuzz::require(pipes_.written.size() - size < lisp_worker::worker::kHeaderSize + 16,
                  "at most the last request is not whole");
  }

  fuzz::Input& input_;
  testing_support::MemoryPipes pipes_;
  std::map<client::ProgramId, bool> programs_;  // And if each has ended.
  std::unique_ptr<client::AsyncWorker> worker_;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  Host(input).run();
  return 0;
}
