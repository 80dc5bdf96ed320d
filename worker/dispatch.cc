// One switch over the message types. The work on a request is counted around it
// (worker/work_law.h), and a bounded clean-up follows each request, so that none of them pays for
// all that an earlier one has dropped.

#include "worker/dispatch.h"

#include <cassert>
#include <cstddef>

#include "lisp/environment.h"
#include "lisp/equality.h"
#include "lisp/list.h"
#include "lisp/storage.h"
#include "lisp/user_function.h"
#include "worker/context_requests.h"
#include "worker/geometry_request.h"

namespace lisp_worker::worker {
namespace {

// In 1000 requests these are 16 million elements and 256 MiB.
constexpr std::size_t kElementsDecomposedPerRequest = 16384;
constexpr std::size_t kNodesDecomposedPerRequest = 64;
constexpr std::size_t kLocalsDecomposedPerRequest = 4096;
constexpr std::size_t kSlabsGivenBackPerRequest = 32;

}  // namespace

void tidyUp() {
  lisp::decomposeEnvironments(kNodesDecomposedPerRequest);
  lisp::decomposeFunctions(kLocalsDecomposedPerRequest);
  lisp::decompose(kElementsDecomposedPerRequest);
  lisp::storage::giveBack(kSlabsGivenBackPerRequest);
  lisp::haste_left = lisp::kHasteMax;
  lisp::comparisons_left = lisp::kComparisonsMax;
}

WorkerStatus Dispatcher::handleRequest(const MessageHeader& request, std::string_view payload,
                                       std::string& response) {
  assert(response.empty());
  law_.begin();
  const WorkerStatus status = dispatch(request, payload, response);
  tidyUp();
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
      return evaluation_.handleEvalStart(request, payload, response);
    case MessageType::EvalResume:
      return evaluation_.handleEvalResume(request, payload, response);
    case MessageType::EvalCancel:
      return evaluation_.handleEvalCancel(request);
    case MessageType::Shutdown:
      return WorkerStatus::Ok;
  }
  return WorkerStatus::UnknownType;
}

}  // namespace lisp_worker::worker
