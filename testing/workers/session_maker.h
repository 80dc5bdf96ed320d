// Recorded sessions held in this process, for tests of what can be told about sessions.

#ifndef TESTING_WORKERS_SESSION_MAKER_H_
#define TESTING_WORKERS_SESSION_MAKER_H_

#include <string>
#include <string_view>

#include "lisp_worker/client/frame_observer.h"
#include "lisp_worker/client/worker.h"
#include "lisp_worker/session/session.h"
#include "testing/workers/in_process_worker.h"

namespace lisp_worker::testing_support {

// A worker and the session with it. Times are counted, not measured.
class SessionMaker : private client::FrameObserver {
 public:
  SessionMaker() : worker_(&InProcessWorker::start, {.time_limit = {}, .observer = this}) {}

  [[nodiscard]] client::Worker& worker() { return worker_; }
  [[nodiscard]] const session::RecordedSession& session() const { return session_; }

 private:
  void onStart() override { add(session::RecordKind::Start, {}); }
  void onRequest(std::string_view frame) override {
    add(session::RecordKind::Request, std::string(frame));
  }
  void onResponse(std::string_view header, std::string_view payload) override {
    add(session::RecordKind::Response, std::string(header).append(payload));
  }
  void onBrokenResponse(std::string_view bytes) override {
    add(session::RecordKind::Broken, std::string(bytes));
  }
  void onEnd(const client::WorkerExit& exit) override {
    add(session::RecordKind::End, session::encodeEnd(exit));
  }

  void add(session::RecordKind kind, std::string body) {
    session_.records.push_back({kind, 100 * session_.records.size(), std::move(body)});
  }

  session::RecordedSession session_;
  client::Worker worker_;  // Last: it is gone before the session that it adds to.
};

}  // namespace lisp_worker::testing_support

#endif  // TESTING_WORKERS_SESSION_MAKER_H_
