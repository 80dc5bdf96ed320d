// One switch over the message types. The work on a request is counted around it
// (worker/work_law.h), and a bounded clean-up follows each request, so that none of them pays for
// all that an earlier one has dropped.

#include "worker/dispatch.h"

#include <cassert>

#include "lisp/graveyard.h"
#include "worker/context_requests.h"
#include "worker/geometry_requests.h"

namespace lisp_worker::worker {

WorkerStatus Dispatcher::handleRequest(const MessageHeader& request, std::string_view payload,
                                       std::string& response) {
  assert(response.empty());
  law_.begin();
  const WorkerStatus status = dispatch(request, payload, response);
  lisp::tidyUp();
  law_.end(request, payload, response);
  return status;
}

WorkerStatus Dispatcher::dispatch(const MessageHeader& request, std::string_view payload,
                                  std::string& response) {
  switch (static_cast<MessageType>(request.type)) {
    case MessageType::Ping:
      return WorkerStatus::Ok;
    case MessageType::RegisterContext:
      return handleRegisterContext(request, payload, contexts_);
    case MessageType::LocateCell:
    case MessageType::CellPlaneToSystem:
    case MessageType::Convert:
      return handlePointRequest(request, payload, contexts_, response);
    case MessageType::GeometryRequest:
      return handleGeometryRequest(payload, response);
    case MessageType::EvalStart:
      return evaluation_requests_.handleEvalStart(request, payload, response);
    case MessageType::EvalResume:
      return evaluation_requests_.handleEvalResume(request, payload, response);
    case MessageType::EvalCancel:
      return evaluation_requests_.handleEvalCancel(request);
    case MessageType::Shutdown:
      return WorkerStatus::Ok;
  }
  return WorkerStatus::UnknownType;
}

}  // namespace lisp_worker::worker
