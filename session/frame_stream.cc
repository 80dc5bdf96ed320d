// A frame does not say who has sent it. A response has zeros where a request may hold anything, and
// a status; and what answers an evaluation begins with a result that contradicts itself if it is in
// fact a program.

#include "session/frame_stream.h"

#include <span>
#include <string>

#include "lisp_worker/client/eval_result.h"
#include "lisp_worker/worker/frame.h"
#include "session/frame_splitter.h"

namespace lisp_worker::session {
namespace {

using worker::HeaderOffset;
using worker::MessageType;
using worker::WorkerStatus;

struct Look {
  bool may_be_response;
  bool must_be_response;
};

Look lookAt(std::string_view frame) {
  const worker::MessageHeader header =
      worker::decodeHeader(std::span(frame).first<worker::kHeaderSize>());
  const auto status = static_cast<WorkerStatus>(header.status);
  const std::string_view rest =
      frame.substr(HeaderOffset::kRunId, worker::kHeaderSize - HeaderOffset::kRunId);
  if (rest.find_first_not_of('\0') != rest.npos || status > WorkerStatus::HostCallPending) {
    return {false, false};
  }
  const auto type = static_cast<MessageType>(header.type);
  const std::string_view payload = frame.substr(worker::kHeaderSize);
  const bool is_evaluation = type == MessageType::EvalStart || type == MessageType::EvalResume;
  if (!is_evaluation || payload.empty()) return {true, status != WorkerStatus::Ok};
  const bool is_result = client::decodeEvalResult(status, payload, nullptr).has_value();
  return {is_result, is_result};
}

}  // namespace

// A recorded session begins with the same four bytes, but never goes on with the version.
bool beginsWithFrame(std::string_view bytes) {
  if (bytes.size() < worker::kHeaderSize) return false;
  const WorkerStatus status =
      worker::validateHeader(worker::decodeHeader(std::span(bytes).first<worker::kHeaderSize>()));
  return status != WorkerStatus::BadMagic && status != WorkerStatus::BadVersion;
}

RecordedSession sessionOfFrames(std::string_view bytes) {
  RecordedSession session;
  FrameSplitter splitter;
  bool may_be_responses = true;
  bool must_be_responses = false;
  splitter.feed(bytes, [&](std::string_view frame) {
    const Look look = lookAt(frame);
    may_be_responses = may_be_responses && look.may_be_response;
    must_be_responses = must_be_responses || look.must_be_response;
    session.records.push_back({RecordKind::Request, 0, std::string(frame)});
  });
  if (may_be_responses && must_be_responses) {
    for (Record& record : session.records) record.kind = RecordKind::Response;
  }
  if (!splitter.rest().empty()) {
    session.end = FileEnd::Cut;
    session.end_text = (splitter.isOver() ? "bytes without a frame follow record "
                                          : "the stream ends inside the frame after record ") +
                       std::to_string(session.records.size() - 1);
  }
  return session;
}

}  // namespace lisp_worker::session
