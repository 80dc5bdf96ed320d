#include "client/names.h"

namespace client {

using worker::WorkerStatus;

std::string_view statusName(WorkerStatus status) {
  switch (status) {
    case WorkerStatus::Ok:
      return "Ok";
    case WorkerStatus::BadMagic:
      return "BadMagic";
    case WorkerStatus::BadVersion:
      return "BadVersion";
    case WorkerStatus::BadRequest:
      return "BadRequest";
    case WorkerStatus::ContextNotFound:
      return "ContextNotFound";
    case WorkerStatus::QueryFailed:
      return "QueryFailed";
    case WorkerStatus::UnknownType:
      return "UnknownType";
    case WorkerStatus::Degenerate:
      return "Degenerate";
    case WorkerStatus::EvalParseError:
      return "EvalParseError";
    case WorkerStatus::EvalFailed:
      return "EvalFailed";
    case WorkerStatus::EvalStepLimit:
      return "EvalStepLimit";
    case WorkerStatus::HostCallPending:
      return "HostCallPending";
  }
  return "unknown status";
}

std::string_view explainStatus(WorkerStatus status) {
  switch (status) {
    case WorkerStatus::Ok:
      return "the request was carried out";
    case WorkerStatus::BadMagic:
      return "the request did not begin with the protocol's magic; the worker has ended";
    case WorkerStatus::BadVersion:
      return "the request is of another protocol version; the worker has ended";
    case WorkerStatus::BadRequest:
      return "a size, selector, operand, run id or result is outside its limits";
    case WorkerStatus::ContextNotFound:
      return "no coordinate context is registered under this id";
    case WorkerStatus::QueryFailed:
      return "the transform gave no result";
    case WorkerStatus::UnknownType:
      return "the message type or the geometric operation is unknown";
    case WorkerStatus::Degenerate:
      return "the geometric operation has no finite result";
    case WorkerStatus::EvalParseError:
      return "the program or the answer to a host call could not be read";
    case WorkerStatus::EvalFailed:
      return "the program ended with an error";
    case WorkerStatus::EvalStepLimit:
      return "the program used up its steps";
    case WorkerStatus::HostCallPending:
      return "the program waits for the answer to a host call";
  }
  return "this version of the client does not know the status";
}

namespace {

std::string_view explainExitCode(std::uint32_t code) {
  switch (code) {
    case 0:
      return "its input ended or it was told to shut down";
    case 2:
      return "a request did not begin with the protocol's magic";
    case 3:
      return "a request was of another protocol version";
    case 4:
      return "a request announced too large a payload";
    case 5:
      return "its input ended inside a payload";
    case 6:
      return "it could not write a response's header";
    case 7:
      return "it could not write a response's payload";
    case 8:
      return "it ran out of memory";
    default:
      return "not an exit code of the worker";
  }
}

}  // namespace

std::string describeExit(const WorkerExit& exit) {
  const std::string code = std::to_string(exit.code);
  switch (exit.kind) {
    case WorkerExit::Kind::Exited:
      return "the worker ended with exit code " + code + ": " +
             std::string(explainExitCode(exit.code));
    case WorkerExit::Kind::Signaled:
      return "the worker was ended by signal " + code;
    case WorkerExit::Kind::Killed:
      return "the worker went on after its input had ended, and was killed";
    case WorkerExit::Kind::Unknown:
      break;
  }
  return "the worker ended in a way that the system did not tell";
}

}  // namespace client
