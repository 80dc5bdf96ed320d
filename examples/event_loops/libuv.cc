// A host with libuv: one notifier for the worker, and timers that are its user.

#include <lisp_worker/client/async_worker.h>
#include <uv.h>

#include <iostream>
#include <string>

namespace client = lisp_worker::client;

namespace {

struct Host {
  explicit Host(const char* path) : worker(path) {}

  void submit(const char* program) {
    ++open_count;
    worker.submit(program,
                  {.on_call =
                       [this](client::ProgramId id, const client::HostCall& call) {
                         std::cout << id << " asks " << call.text << "\n";
                         // The user looks at the drawing for a moment, and then wants no corner.
                         if (id == 2) uv_timer_start(&user, cancel, 20, 0);
                       },
                   .on_end =
                       [this](client::ProgramId id, const client::ProgramOutcome& outcome) {
                         std::cout << id << ": "
                                   << (outcome.hasValue() ? outcome.report.text : "ended")
                                   << std::endl;
                         if (id == 2) worker.answer(1, client::number(20));
                         if (--open_count == 0) close();
                       }});
  }

  static void cancel(uv_timer_t* timer) { static_cast<Host*>(timer->data)->worker.cancel(2); }

  // A loop ends when nothing is left that could happen in it.
  void close() {
    uv_close(reinterpret_cast<uv_handle_t*>(&notifier), nullptr);
    uv_close(reinterpret_cast<uv_handle_t*>(&user), nullptr);
  }

  client::AsyncWorker worker;
  uv_poll_t notifier{};
  uv_timer_t user{};
  int open_count = 0;
};

}  // namespace

int main(int count, char** arguments) {
  Host host(count > 1 ? arguments[1] : "/usr/bin/lisp_worker");
  if (!host.worker.start()) {
    std::cerr << host.worker.fault()->message << "\n";
    return 1;
  }
  uv_loop_t* const loop = uv_default_loop();
  uv_timer_init(loop, &host.user);
  uv_poll_init(loop, &host.notifier, static_cast<int>(host.worker.handle()));
  host.user.data = host.notifier.data = &host;
  uv_poll_start(&host.notifier, UV_READABLE, [](uv_poll_t* notifier, int, int) {
    static_cast<Host*>(notifier->data)->worker.process();
  });
  host.submit("(* 2 (GETDIST \"Width: \"))");
  host.submit("(GETPOINT \"Corner: \")");
  uv_run(loop, UV_RUN_DEFAULT);
  return uv_loop_close(loop);
}
