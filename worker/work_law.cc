// Units of work are counted all over lisp/ (lisp/work.h). Here they are compared, request by
// request, with the steps and bytes that the request was about.

#include "worker/work_law.h"

#ifdef LISP_COUNT_WORK

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "lisp/interpreter.h"
#include "lisp/work.h"

namespace lisp_worker::worker {
namespace {

// The constant of the law: units of work for a step or a byte. Most programs take two to four; most
// of the rest is freeing what earlier requests have dropped.
constexpr std::uint64_t kWorkPerUnit = 40;
// The cost of any request on top of that, for work that earlier requests left: freeing 16384
// elements, 4096 locals and 64 nodes of environments, and comparing 16384 elements.
constexpr std::uint64_t kWorkPerRequest = 150000;

bool isEvaluation(const MessageHeader& request) {
  const auto type = static_cast<MessageType>(request.type);
  return type == MessageType::EvalStart || type == MessageType::EvalResume;
}

// The most work that any request took for a unit, for LISP_SHOW_WORK.
double& highestShare() {
  static double share = [] {
    if (std::getenv("LISP_SHOW_WORK") != nullptr) {
      std::atexit([] { std::fprintf(stderr, "work per unit: %.2f\n", highestShare()); });
    }
    return 0.0;
  }();
  return share;
}

}  // namespace

void WorkLaw::begin() { work_before_ = lisp::workDone(); }

void WorkLaw::end(const MessageHeader& request, std::string_view payload,
                  std::string_view response) {
  std::uint64_t units = payload.size() + response.size();
  if (isEvaluation(request)) {
    const bool has_result = response.size() >= kEvalResultHeaderSize;
    // A result that is too long to send does not tell its steps, and may have been written to the
    // last byte that could be sent.
    units += has_result ? getU64(response.data() + EvalResultOffset::kSteps)
                        : lisp::EvalLimits().step_limit + kPayloadSizeMax;
    if (request.type == static_cast<std::uint16_t>(MessageType::EvalResume)) {
      units += run_sizes_[request.run_id];
    }
    const std::uint64_t run_id =
        has_result ? getU64(response.data() + EvalResultOffset::kRunId) : request.run_id;
    run_sizes_[run_id] += payload.size();
  } else if (request.type == static_cast<std::uint16_t>(MessageType::EvalCancel)) {
    units += run_sizes_[request.run_id];
  }
  const std::uint64_t work = lisp::workDone() - work_before_;
  const std::uint64_t granted = kWorkPerUnit * units + kWorkPerRequest;
  highestShare() = std::max(highestShare(), (static_cast<double>(work) - kWorkPerRequest) /
                                                static_cast<double>(units + 1));
  if (work <= granted) return;
  std::fprintf(stderr, "the law of work is broken: %llu units for %llu steps and bytes\n",
               static_cast<unsigned long long>(work), static_cast<unsigned long long>(units));
  std::abort();
}

}  // namespace lisp_worker::worker

#endif
