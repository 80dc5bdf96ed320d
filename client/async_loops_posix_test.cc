// The client that does not wait, in an event loop that somebody else has made.

#include <glib-unix.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "lisp_worker/client/async_worker.h"
#include "testing/workers/executable_worker.h"

namespace lisp_worker::client {
namespace {

// Two documents of one host, each with a worker.
struct GlibHost {
  GMainLoop* loop = g_main_loop_new(nullptr, FALSE);
  AsyncWorker workers[2] = {AsyncWorker(testing_support::workerExecutable()),
                            AsyncWorker(testing_support::workerExecutable())};
  std::vector<std::string> ends = {};

  ~GlibHost() { g_main_loop_unref(loop); }

  void watch(AsyncWorker& worker) {
    const auto process = [](gint, GIOCondition, gpointer data) -> gboolean {
      static_cast<AsyncWorker*>(data)->process();
      return G_SOURCE_CONTINUE;
    };
    g_unix_fd_add(static_cast<int>(worker.handle()), G_IO_IN, process, &worker);
  }
};

TEST(AsyncLoops, RunUnderGlib) {
  GlibHost host;
  for (AsyncWorker& worker : host.workers) {
    ASSERT_TRUE(worker.start());
    host.watch(worker);
    worker.submit(
        "(GETDIST \"D\")",
        {.on_call = [&worker](ProgramId id, const HostCall&) { worker.answer(id, number(20)); },
         .on_end =
             [&host](ProgramId, const ProgramOutcome& outcome) {
               host.ends.push_back(outcome.report.text);
               if (host.ends.size() == 2) g_main_loop_quit(host.loop);
             }});
  }
  const guint alarm = g_timeout_add_seconds(
      20,
      [](gpointer loop) -> gboolean { return g_main_loop_quit(static_cast<GMainLoop*>(loop)), 0; },
      host.loop);
  g_main_loop_run(host.loop);
  EXPECT_EQ(host.ends, std::vector<std::string>(2, "20"));
  if (host.ends.size() == 2) g_source_remove(alarm);
}

}  // namespace
}  // namespace lisp_worker::client
