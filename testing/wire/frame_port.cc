// The result header of an evaluation, decoded and described for people.

#include "testing/wire/frame_port.h"

#include "lisp_worker/worker/frame.h"

namespace lisp_worker::testing_support {

EvalResult decodeEvalResult(const std::string& payload) {
  EvalResult result;
  if (payload.size() < worker::kEvalResultHeaderSize) return result;
  const char* bytes = payload.data();
  const std::size_t text_size = worker::getU32(bytes + worker::EvalResultOffset::kTextLength);
  if (payload.size() != worker::kEvalResultHeaderSize + text_size) return result;
  result.decoded = true;
  result.eval_status = worker::getU8(bytes + worker::EvalResultOffset::kEvalStatus);
  result.argument_count = worker::getU16(bytes + worker::EvalResultOffset::kArgCount);
  result.steps = worker::getU64(bytes + worker::EvalResultOffset::kSteps);
  const std::string name_field =
      payload.substr(worker::EvalResultOffset::kCallName, worker::kCallNameSize);
  result.call_name = name_field.substr(0, name_field.find('\0'));
  result.run_id = worker::getU64(bytes + worker::EvalResultOffset::kRunId);
  result.text = payload.substr(worker::kEvalResultHeaderSize);
  return result;
}

std::string describe(const FrameResponse& response) {
  std::string line = "status " + std::to_string(static_cast<std::uint32_t>(response.status));
  if (response.payload.empty()) return line + ", no payload";
  const EvalResult result = decodeEvalResult(response.payload);
  if (!result.decoded) return line + ", a payload that is no evaluation result";
  line += ", steps " + std::to_string(result.steps);
  if (result.run_id != 0) line += ", run " + std::to_string(result.run_id);
  if (!result.call_name.empty()) line += ", call " + result.call_name;
  return line + ": " + result.text;
}

}  // namespace lisp_worker::testing_support
