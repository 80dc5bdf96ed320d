// A host whose own code is in the library's way, as far as that is possible: it includes X11 and
// Windows, as far as they are there, before all headers of the library, and uses the names of our
// directories for namespaces of its own. Built from the tree, and from an installed package by
// tools/check_packages, which also sees to it that no installed header is missing here.

// The standard library's headers are not ours to defend.
#include <stddef.h>
#include <stdint.h>

#include <array>
#include <bit>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <filesystem>
#include <functional>
#include <iosfwd>
#include <limits>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

// clang-format off: the order is the point.
#if __has_include(<X11/Xlib.h>)
#include <X11/X.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#endif
#if __has_include(<windows.h>)
#include <windows.h>
#endif

// Macros of these headers, and of a few others, in case that the headers are not there.
#ifndef BadRequest
#define Bool int
#define Status int
#define True 1
#define False 0
#define None 0L
#define Always 2
#define Success 0
#define BadRequest 1
#define BadValue 2
#define BadAccess 10
#define BadLength 16
#define KeyPress 2
#define Above 0
#define Below 1
#define Complex 0
#define Unsorted 0
#define Expose 12
#define NoSymbol 0L
#define GrayScale 1
#endif
#ifndef ERROR
#define ERROR 0
#define IN
#define OUT
#define OPTIONAL
#define CONST const
#define VOID void
#define DELETE 0x00010000L
#define ABSOLUTE 1
#define RELATIVE 2
#define OPAQUE 2
#define TRANSPARENT 1
#define near
#define far
#define interface struct
#define small char
#endif
#ifndef min
#define min(a, b) (((a) < (b)) ? (a) : (b))
#define max(a, b) (((a) > (b)) ? (a) : (b))
#endif
#define emit
#define signals public
#define slots
#define foreach for
#define check(expression) (expression)
#define verify(expression) (expression)
#define DEBUG 1

namespace client {
constexpr int kOwn = 1;
}
namespace worker {
constexpr int kOwn = 2;
}
namespace session {
constexpr int kOwn = 3;
}
namespace console {
constexpr int kOwn = 4;
}

#include <lisp_worker/c_interface/lisp_async_worker.h>
#include <lisp_worker/c_interface/lisp_worker.h>
#include <lisp_worker/client/answer_text.h>
#include <lisp_worker/client/async_channel.h>
#include <lisp_worker/client/async_worker.h>
#include <lisp_worker/client/channel.h>
#include <lisp_worker/client/coordinates.h>
#include <lisp_worker/client/datum.h>
#include <lisp_worker/client/eval_result.h>
#include <lisp_worker/client/frame_observer.h>
#include <lisp_worker/client/geometry.h>
#include <lisp_worker/client/host_transaction.h>
#include <lisp_worker/client/limits.h>
#include <lisp_worker/client/names.h>
#include <lisp_worker/client/number_text.h>
#include <lisp_worker/client/process.h>
#include <lisp_worker/client/run.h>
#include <lisp_worker/client/version.h>
#include <lisp_worker/client/worker.h>
#include <lisp_worker/client/worker_client.h>
#include <lisp_worker/client/worker_text.h>
#include <lisp_worker/session/append_file.h>
#include <lisp_worker/session/explain.h>
#include <lisp_worker/session/recorder.h>
#include <lisp_worker/session/replay.h>
#include <lisp_worker/session/session.h>
#include <lisp_worker/session/show.h>
#include <lisp_worker/worker/exit_code.h>
#include <lisp_worker/worker/frame.h>
// clang-format on

int main(int count, char** arguments) {
  using lisp_worker::worker::WorkerStatus;
  if (count < 2) return 2;
  if (lisp_worker_interface_version() != LISP_WORKER_INTERFACE_VERSION) return 3;
  lisp_worker::client::Worker worker(arguments[1]);
  const auto reply = worker.evalResume(client::kOwn + worker::kOwn + session::kOwn, "nil");
  const bool is_refused = reply && reply->status == WorkerStatus::InvalidRequest;
  const auto run = worker.run("(+ 1 2)");
  return is_refused && run && run->text == "3" && console::kOwn == 4 ? 0 : 1;
}
