#include "client/names.h"

#include <algorithm>
#include <iterator>

namespace client {

using worker::ExitCode;
using worker::MessageType;
using worker::WorkerStatus;

namespace {

template <typename Key>
struct Row {
  Key key;
  std::string_view name;
  std::string_view explanation;
};

constexpr Row<WorkerStatus> kStatuses[] = {
    {WorkerStatus::Ok, "Ok", "the request was carried out"},
    {WorkerStatus::BadMagic, "BadMagic",
     "the request did not begin with the protocol's magic; the worker has ended"},
    {WorkerStatus::BadVersion, "BadVersion",
     "the request is of another protocol version; the worker has ended"},
    {WorkerStatus::BadRequest, "BadRequest",
     "a size, selector, operand, run id or result is outside its limits"},
    {WorkerStatus::ContextNotFound, "ContextNotFound",
     "no coordinate context is registered under this id"},
    {WorkerStatus::QueryFailed, "QueryFailed", "the transform gave no result"},
    {WorkerStatus::UnknownType, "UnknownType",
     "the message type or the geometric operation is unknown"},
    {WorkerStatus::Degenerate, "Degenerate", "the geometric operation has no finite result"},
    {WorkerStatus::EvalParseError, "EvalParseError",
     "the program or the answer to a host call could not be read"},
    {WorkerStatus::EvalFailed, "EvalFailed", "the program ended with an error"},
    {WorkerStatus::EvalStepLimit, "EvalStepLimit", "the program used up its steps"},
    {WorkerStatus::HostCallPending, "HostCallPending",
     "the program waits for the answer to a host call"},
};
constexpr Row<WorkerStatus> kUnknownStatus = {
    {}, "unknown status", "this version of the client does not know the status"};

constexpr Row<MessageType> kMessageTypes[] = {
    {MessageType::Ping, "Ping", "asks whether the worker answers"},
    {MessageType::RegisterContext, "RegisterContext",
     "registers a coordinate context, or replaces the one of the same id"},
    {MessageType::LocateCell, "LocateCell", "asks which cell a point lies in"},
    {MessageType::CellPlaneToSystem, "CellPlaneToSystem",
     "converts a point of the cell plane into a coordinate system"},
    {MessageType::Convert, "Convert", "converts a point between two coordinate systems"},
    {MessageType::GeometryRequest, "GeometryRequest", "calculates with up to seven numbers"},
    {MessageType::EvalStart, "EvalStart", "evaluates a program"},
    {MessageType::EvalResume, "EvalResume", "answers the host call that a run waits for"},
    {MessageType::EvalCancel, "EvalCancel", "drops a run that waits"},
    {MessageType::Shutdown, "Shutdown", "asks the worker to end"},
};
constexpr Row<MessageType> kUnknownMessageType = {
    {}, "unknown type", "this version of the client does not know the message type"};

constexpr Row<EvalStatus> kEvalStatuses[] = {
    {EvalStatus::Value, "Value", "the program has ended with a value"},
    {EvalStatus::ReadError, "ReadError", "the program or an answer could not be read"},
    {EvalStatus::EvalError, "EvalError", "the program has ended with an error"},
    {EvalStatus::StepLimit, "StepLimit", "the program has run out of steps"},
    {EvalStatus::HostCallRequired, "HostCallRequired",
     "the program waits for the host to perform a call"},
};
constexpr Row<EvalStatus> kUnknownEvalStatus = {
    {}, "unknown outcome", "this version of the client does not know the outcome"};

constexpr Row<ExitCode> kExitCodes[] = {
    {ExitCode::Finished, "Finished", "its input ended or it was told to shut down"},
    {ExitCode::BadMagic, "BadMagic", "a request did not begin with the protocol's magic"},
    {ExitCode::BadVersion, "BadVersion", "a request was of another protocol version"},
    {ExitCode::PayloadTooLarge, "PayloadTooLarge", "a request announced too large a payload"},
    {ExitCode::PayloadCut, "PayloadCut", "its input ended inside a payload"},
    {ExitCode::HeaderUnwritten, "HeaderUnwritten", "it could not write a response's header"},
    {ExitCode::PayloadUnwritten, "PayloadUnwritten", "it could not write a response's payload"},
    {ExitCode::OutOfMemory, "OutOfMemory", "it ran out of memory"},
};
constexpr Row<ExitCode> kUnknownExitCode = {
    {}, "unknown exit code", "not an exit code of the worker"};

constexpr Row<Fault::Kind> kFaults[] = {
    {Fault::Kind::RequestNotTaken, "RequestNotTaken", "the worker no longer reads requests"},
    {Fault::Kind::ResponseCut, "ResponseCut", "the worker's output ended where a response belongs"},
    {Fault::Kind::BadHeader, "BadHeader", "what came is not the header of a response"},
    {Fault::Kind::WrongEcho, "WrongEcho", "what came answers some other request"},
    {Fault::Kind::BadResponse, "BadResponse", "the response cannot be one to the request"},
    {Fault::Kind::ShutDown, "ShutDown", "the worker has been asked to end"},
    {Fault::Kind::DeadlinePassed, "DeadlinePassed", "the worker has not answered in time"},
    {Fault::Kind::NotStarted, "NotStarted", "the program could not be started"},
};
constexpr Row<Fault::Kind> kUnknownFault = {
    {}, "unknown fault", "this version of the client does not know the fault"};

// Signals that end programs, by their numbers on Linux.
constexpr Row<std::uint32_t> kSignals[] = {
    {3, "SIGQUIT", "asked to end"},
    {4, "SIGILL", "an illegal instruction"},
    {6, "SIGABRT", "it has given itself up"},
    {7, "SIGBUS", "a bad memory access"},
    {8, "SIGFPE", "a faulty calculation"},
    {9, "SIGKILL", "killed by someone else, or by the system for want of memory"},
    {11, "SIGSEGV", "a bad memory access"},
    {13, "SIGPIPE", "nobody reads what it writes"},
    {15, "SIGTERM", "asked to end"},
    {31, "SIGSYS", "a forbidden system call"},
};

// What Windows gives as the exit code of a program that has crashed.
constexpr Row<std::uint32_t> kCrashCodes[] = {
    {0xC0000005, "0xC0000005", "it has crashed, by a bad memory access"},
    {0xC000001D, "0xC000001D", "it has crashed, by an illegal instruction"},
    {0xC00000FD, "0xC00000FD", "it has crashed, for want of stack"},
    {0xC0000135, "0xC0000135", "a library that it needs was not found"},
    {0xC0000374, "0xC0000374", "it has crashed, with its memory corrupted"},
    {0xC0000409, "0xC0000409", "it has given itself up"},
};

template <typename Key, std::size_t count>
const Row<Key>* findRow(const Row<Key> (&rows)[count], Key key) {
  const auto* const row = std::find_if(std::begin(rows), std::end(rows),
                                       [key](const Row<Key>& each) { return each.key == key; });
  return row == std::end(rows) ? nullptr : row;
}

template <typename Key, std::size_t count>
const Row<Key>& rowOf(const Row<Key> (&rows)[count], const Row<Key>& unknown, Key key) {
  const Row<Key>* const row = findRow(rows, key);
  return row == nullptr ? unknown : *row;
}

}  // namespace

std::string_view statusName(WorkerStatus status) {
  return rowOf(kStatuses, kUnknownStatus, status).name;
}

std::string_view explainStatus(WorkerStatus status) {
  return rowOf(kStatuses, kUnknownStatus, status).explanation;
}

std::string_view messageTypeName(MessageType type) {
  return rowOf(kMessageTypes, kUnknownMessageType, type).name;
}

std::string_view explainMessageType(MessageType type) {
  return rowOf(kMessageTypes, kUnknownMessageType, type).explanation;
}

std::string_view evalStatusName(EvalStatus status) {
  return rowOf(kEvalStatuses, kUnknownEvalStatus, status).name;
}

std::string_view explainEvalStatus(EvalStatus status) {
  return rowOf(kEvalStatuses, kUnknownEvalStatus, status).explanation;
}

std::string_view exitCodeName(std::uint32_t code) {
  return rowOf(kExitCodes, kUnknownExitCode, static_cast<ExitCode>(code)).name;
}

std::string_view explainExitCode(std::uint32_t code) {
  return rowOf(kExitCodes, kUnknownExitCode, static_cast<ExitCode>(code)).explanation;
}

std::string_view faultName(Fault::Kind kind) { return rowOf(kFaults, kUnknownFault, kind).name; }

std::string_view explainFault(Fault::Kind kind) {
  return rowOf(kFaults, kUnknownFault, kind).explanation;
}

std::string describeExit(const WorkerExit& exit) {
  const std::string code = std::to_string(exit.code);
  switch (exit.kind) {
    case WorkerExit::Kind::Exited: {
      const Row<std::uint32_t>* const crash = findRow(kCrashCodes, exit.code);
      return "the worker ended with exit code " +
             std::string(crash == nullptr ? code : std::string(crash->name)) + ": " +
             std::string(crash == nullptr ? explainExitCode(exit.code) : crash->explanation);
    }
    case WorkerExit::Kind::Signaled: {
      const Row<std::uint32_t>* const signal = findRow(kSignals, exit.code);
      if (signal == nullptr) return "the worker was ended by signal " + code;
      return "the worker was ended by signal " + code + " (" + std::string(signal->name) +
             "): " + std::string(signal->explanation);
    }
    case WorkerExit::Kind::Killed:
      return "the worker went on when it should have ended, and was killed";
    case WorkerExit::Kind::Unknown:
      break;
  }
  return "the worker ended in a way that the system did not tell";
}

}  // namespace client
