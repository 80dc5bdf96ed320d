// A switch for each enumeration gives an enumerator its name and its explanation, so the compilers
// find one that has none. Tables for looking a name up are made from these switches at compile
// time.

#include "lisp_worker/client/names.h"

#include <algorithm>
#include <iterator>

namespace lisp_worker::client {

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

struct Words {
  std::string_view name;
  std::string_view explanation;
};

// A switch for each enumeration: the compilers find an enumerator that has no words.
constexpr Words wordsOf(WorkerStatus status) {
  switch (status) {
    case WorkerStatus::Ok:
      return {"Ok", "the request was carried out"};
    case WorkerStatus::BadMagic:
      return {"BadMagic",
              "the request did not begin with the protocol's magic; the worker has ended"};
    case WorkerStatus::BadVersion:
      return {"BadVersion", "the request is of another protocol version; the worker has ended"};
    case WorkerStatus::InvalidRequest:
      return {"BadRequest", "a size, selector, operand, run id or result is outside its limits"};
    case WorkerStatus::ContextNotFound:
      return {"ContextNotFound", "no coordinate context is registered under this id"};
    case WorkerStatus::QueryFailed:
      return {"QueryFailed", "the transform gave no result"};
    case WorkerStatus::UnknownType:
      return {"UnknownType", "the message type or the geometric operation is unknown"};
    case WorkerStatus::Degenerate:
      return {"Degenerate", "the geometric operation has no finite result"};
    case WorkerStatus::EvalParseError:
      return {"EvalParseError", "the program or the answer to a host call could not be read"};
    case WorkerStatus::EvalFailed:
      return {"EvalFailed", "the program ended with an error"};
    case WorkerStatus::EvalStepLimit:
      return {"EvalStepLimit", "the program used up its steps"};
    case WorkerStatus::HostCallPending:
      return {"HostCallPending", "the program waits for the answer to a host call"};
  }
  return {"unknown status", "this version of the client does not know the status"};
}

constexpr Words wordsOf(MessageType type) {
  switch (type) {
    case MessageType::Ping:
      return {"Ping", "asks whether the worker answers"};
    case MessageType::RegisterContext:
      return {"RegisterContext",
              "registers a coordinate context, or replaces the one of the same id"};
    case MessageType::LocateCell:
      return {"LocateCell", "asks which cell a point lies in"};
    case MessageType::CellPlaneToSystem:
      return {"CellPlaneToSystem", "converts a point of the cell plane into a coordinate system"};
    case MessageType::Convert:
      return {"Convert", "converts a point between two coordinate systems"};
    case MessageType::GeometryRequest:
      return {"GeometryRequest", "calculates with up to seven numbers"};
    case MessageType::EvalStart:
      return {"EvalStart", "evaluates a program"};
    case MessageType::EvalResume:
      return {"EvalResume", "answers the host call that a run waits for"};
    case MessageType::EvalCancel:
      return {"EvalCancel", "drops a run that waits"};
    case MessageType::Shutdown:
      return {"Shutdown", "asks the worker to end"};
  }
  return {"unknown type", "this version of the client does not know the message type"};
}

constexpr Words wordsOf(EvalStatus status) {
  switch (status) {
    case EvalStatus::Value:
      return {"Value", "the program has ended with a value"};
    case EvalStatus::ReadError:
      return {"ReadError", "the program or an answer could not be read"};
    case EvalStatus::EvalError:
      return {"EvalError", "the program has ended with an error"};
    case EvalStatus::StepLimit:
      return {"StepLimit", "the program has run out of steps"};
    case EvalStatus::HostCallRequired:
      return {"HostCallRequired", "the program waits for the host to perform a call"};
  }
  return {"unknown outcome", "this version of the client does not know the outcome"};
}

constexpr Words wordsOf(ExitCode code) {
  switch (code) {
    case ExitCode::Finished:
      return {"Finished", "its input ended or it was told to shut down"};
    case ExitCode::BadMagic:
      return {"BadMagic", "a request did not begin with the protocol's magic"};
    case ExitCode::BadVersion:
      return {"BadVersion", "a request was of another protocol version"};
    case ExitCode::PayloadTooLarge:
      return {"PayloadTooLarge", "a request announced too large a payload"};
    case ExitCode::PayloadCut:
      return {"PayloadCut", "its input ended inside a payload"};
    case ExitCode::HeaderUnwritten:
      return {"HeaderUnwritten", "it could not write a response's header"};
    case ExitCode::PayloadUnwritten:
      return {"PayloadUnwritten", "it could not write a response's payload"};
    case ExitCode::OutOfMemory:
      return {"OutOfMemory", "it ran out of memory"};
  }
  return {"unknown exit code", "not an exit code of the worker"};
}

constexpr Words wordsOf(Fault::Kind kind) {
  switch (kind) {
    case Fault::Kind::RequestNotTaken:
      return {"RequestNotTaken", "the worker no longer reads requests"};
    case Fault::Kind::ResponseCut:
      return {"ResponseCut", "the worker's output ended where a response belongs"};
    case Fault::Kind::BadHeader:
      return {"BadHeader", "what came is not the header of a response"};
    case Fault::Kind::WrongEcho:
      return {"WrongEcho", "what came answers some other request"};
    case Fault::Kind::BadResponse:
      return {"BadResponse", "the response cannot be one to the request"};
    case Fault::Kind::ShutDown:
      return {"ShutDown", "the worker has been asked to end"};
    case Fault::Kind::DeadlinePassed:
      return {"DeadlinePassed", "the worker has not answered in time"};
    case Fault::Kind::NotStarted:
      return {"NotStarted", "the program could not be started"};
  }
  return {"unknown fault", "this version of the client does not know the fault"};
}

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

// Windows gives these as the exit code of a program that has crashed.
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

}  // namespace

std::string_view statusName(WorkerStatus status) { return wordsOf(status).name; }

std::string_view explainStatus(WorkerStatus status) { return wordsOf(status).explanation; }

std::string_view messageTypeName(MessageType type) { return wordsOf(type).name; }

std::string_view explainMessageType(MessageType type) { return wordsOf(type).explanation; }

std::string_view evalStatusName(EvalStatus status) { return wordsOf(status).name; }

std::string_view explainEvalStatus(EvalStatus status) { return wordsOf(status).explanation; }

std::string_view exitCodeName(std::uint32_t code) {
  return wordsOf(static_cast<ExitCode>(code)).name;
}

std::string_view explainExitCode(std::uint32_t code) {
  return wordsOf(static_cast<ExitCode>(code)).explanation;
}

std::string_view faultName(Fault::Kind kind) { return wordsOf(kind).name; }

std::string_view explainFault(Fault::Kind kind) { return wordsOf(kind).explanation; }

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

}  // namespace lisp_worker::client
