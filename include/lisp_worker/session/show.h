// A recorded session for a person: one line a record, and all of a record on demand.

#ifndef LISP_WORKER_SESSION_SHOW_H_
#define LISP_WORKER_SESSION_SHOW_H_

#include <cstddef>
#include <string>

#include "lisp_worker/session/session.h"

namespace lisp_worker::session {

// "   3  0.001250  host    EvalStart        context 1, 127 bytes: (SETQ FROM ...". No line end.
[[nodiscard]] std::string describeRecord(const Record& record, std::size_t number);

// The whole session, a line a record, with a line on its end when it is not whole.
[[nodiscard]] std::string showSession(const RecordedSession& session);

// Everything in one record: the fields of its header, and its payload as text, as fields or as
// bytes, whichever it is.
[[nodiscard]] std::string showRecord(const Record& record, std::size_t number);

}  // namespace lisp_worker::session

#endif  // LISP_WORKER_SESSION_SHOW_H_
