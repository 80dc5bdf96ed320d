// The cost of the host's answers to the worker: one run with many host calls, several runs in turn,
// other programs between two answers. A late answer must cost what an early one does, for nobody
// should notice how many there were before. ./dev bench runs it.
//
//   answer_costs_posix <worker>
//
// A line for each conversation: processor time of the worker for an answer among the first and
// among the last thousand that its loops have in common, and in all.

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

#include "bench/worker_child.h"
#include "lisp_worker/client/process.h"
#include "lisp_worker/client/worker_client.h"

namespace {

[[noreturn]] void fail(const std::string& message) {
  std::cerr << "answer_costs: " << message << "\n";
  std::exit(EXIT_FAILURE);
}

// Of the worker, in microseconds.
double processorTimeOfChild() {
  static std::string id;
  if (id.empty() || !std::filesystem::exists("/proc/" + id))
    id = lisp_worker::bench::childProcess();
  std::ifstream statistics("/proc/" + id + "/schedstat");
  double nanoseconds = -1;
  statistics >> nanoseconds;
  if (nanoseconds < 0) fail("the system does not tell a child's processor time");
  return nanoseconds / 1000;
}

lisp_worker::client::EvalResult resultOf(
    const std::optional<lisp_worker::client::Reply<lisp_worker::client::EvalResult>>& reply) {
  if (!reply || !reply->value) fail("a program is refused");
  if (reply->status != lisp_worker::worker::WorkerStatus::Ok &&
      reply->status != lisp_worker::worker::WorkerStatus::HostCallPending) {
    fail("a program fails: " + reply->value->text);
  }
  return *reply->value;
}

struct Conversation {
  const char* name;
  std::string program;
  int run_count = 1;
  std::function<void(lisp_worker::client::WorkerClient&)> between =
      [](lisp_worker::client::WorkerClient&) {};
};

// A loop of `turns` with one host call in each, and `before` and `call` as the program says.
std::string loop(int turns, const std::string& call, const std::string& work = "") {
  return "(SETQ I 0) (WHILE (< I " + std::to_string(turns) + ") " + call + work +
         " (SETQ I (1+ I)))";
}

constexpr const char* kCall = "(ENTMAKE (LIST I (+ I 1)))";
// With the rest of its turn 40 steps.
constexpr const char* kWork = " (SETQ J 0) (WHILE (< J 3) (SETQ J (1+ J)))";

void measure(const std::string& worker, const Conversation& conversation) {
  std::string error;
  const auto process = lisp_worker::client::startWorker(worker, &error);
  if (process == nullptr) fail(error);
  lisp_worker::client::WorkerClient client(*process);
  lisp_worker::client::CoordContext context;
  context.id = 1;
  static_cast<void>(client.registerContext(context));
  std::vector<std::uint64_t> runs;
  for (int i = 0; i < conversation.run_count; ++i) {
    runs.push_back(resultOf(client.evalStart(conversation.program, 1)).run_id);
  }
  std::vector<double> times;  // Of the worker, after every round of answers.
  const double begin = processorTimeOfChild();
  bool is_over = false;
  while (!is_over) {
    double used = 0;
    for (std::uint64_t& run : runs) {
      conversation.between(client);
      const double before = processorTimeOfChild();
      run = resultOf(client.evalResume(run, "(1 2)")).run_id;
      used += processorTimeOfChild() - before;
      is_over = is_over || run == 0;
    }
    times.push_back(used / conversation.run_count);
  }
  const double total = processorTimeOfChild() - begin;
  // The first answers of a run are replayed; from the 300th on they are continued.
  constexpr std::size_t kCount = 1000;
  double early = 0;
  double late = 0;
  for (std::size_t i = 0; i < kCount; ++i) {
    early += times[300 + i] / kCount;
    late += times[times.size() - 1 - kCount + i] / kCount;
  }
  std::printf("%-34s %7zu answers  early %6.1f us  late %6.1f us  in all %8.1f ms\n",
              conversation.name, times.size() * runs.size(), early, late, total / 1000);
}

}  // namespace

int main(int count, char** words) {
  if (count != 2) fail("usage: answer_costs_posix <worker>");
  const std::string deep =
      "(DEFUN F (X / A B) (SETQ A X) (LIST A (G (LIST A X)))) "
      "(DEFUN G (Y / C) (SETQ C Y) (LIST C (H (CAR C) 5))) "
      "(DEFUN H (X Y / D) (SETQ D X) (LIST D (ENTMAKE (LIST D Y)))) ";
  std::string globals;
  for (int i = 0; i < 5000; ++i) {
    globals += "(SETQ V" + std::to_string(i) + " " + std::to_string(i) + ")";
  }
  const auto tiny = [](lisp_worker::client::WorkerClient& client) {
    static_cast<void>(resultOf(client.evalStart("(SETQ I 7)", 0)));
  };
  const auto same_context = [](lisp_worker::client::WorkerClient& client) {
    lisp_worker::client::CoordContext context;
    context.id = 1;
    static_cast<void>(client.registerContext(context));
  };
  const std::vector<Conversation> conversations = {
      {"10000 calls", loop(10000, kCall)},
      {"4000 calls, 40 steps between", loop(4000, kCall, kWork)},
      {"two runs in turn", loop(4000, kCall, kWork), 2},
      {"eight runs in turn", loop(4000, kCall, kWork), 8},
      {"a tiny program between", loop(4000, kCall, kWork), 1, tiny},
      {"three functions deep", deep + loop(4000, "(F I)", "")},
      {"5000 globals assigned", globals + loop(4000, kCall, kWork)},
      {"the same context again between", loop(4000, kCall, kWork), 1, same_context},
  };
  for (const Conversation& conversation : conversations) measure(words[1], conversation);
  return EXIT_SUCCESS;
}
