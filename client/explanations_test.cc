// The words for people, one by one: a host may show them, and a document may cite them.

#include <gtest/gtest.h>

#include <cstdint>
#include <string_view>

#include "lisp_worker/client/names.h"
#include "lisp_worker/worker/exit_code.h"
#include "lisp_worker/worker/frame.h"

namespace lisp_worker::client {
namespace {

struct Row {
  std::string_view said;
  std::string_view expected;
};

TEST(WordsForPeople, OfEveryStatus) {
  const Row rows[] = {
      {explainStatus(worker::WorkerStatus::Ok), "the request was carried out"},
      {explainStatus(worker::WorkerStatus::BadMagic),
       "the request did not begin with the protocol's magic; the worker has ended"},
      {explainStatus(worker::WorkerStatus::BadVersion),
       "the request is of another protocol version; the worker has ended"},
      {explainStatus(worker::WorkerStatus::InvalidRequest),
       "a size, selector, operand, run id or result is outside its limits"},
      {explainStatus(worker::WorkerStatus::ContextNotFound),
       "no coordinate context is registered under this id"},
      {explainStatus(worker::WorkerStatus::QueryFailed), "the transform gave no result"},
      {explainStatus(worker::WorkerStatus::UnknownType),
       "the message type or the geometric operation is unknown"},
      {explainStatus(worker::WorkerStatus::Degenerate),
       "the geometric operation has no finite result"},
      {explainStatus(worker::WorkerStatus::EvalParseError),
       "the program or the answer to a host call could not be read"},
      {explainStatus(worker::WorkerStatus::EvalFailed), "the program ended with an error"},
      {explainStatus(worker::WorkerStatus::EvalStepLimit), "the program used up its steps"},
      {explainStatus(worker::WorkerStatus::HostCallPending),
       "the program waits for the answer to a host call"},
  };
  for (const Row& row : rows) EXPECT_EQ(row.said, row.expected);
}

TEST(WordsForPeople, OfEveryMessageType) {
  const Row rows[] = {
      {explainMessageType(worker::MessageType::Ping), "asks whether the worker answers"},
      {explainMessageType(worker::MessageType::RegisterContext),
       "registers a coordinate context, or replaces the one of the same id"},
      {explainMessageType(worker::MessageType::LocateCell), "asks which cell a point lies in"},
      {explainMessageType(worker::MessageType::CellPlaneToSystem),
       "converts a point of the cell plane into a coordinate system"},
      {explainMessageType(worker::MessageType::Convert),
       "converts a point between two coordinate systems"},
      {explainMessageType(worker::MessageType::GeometryRequest),
       "calculates with up to seven numbers"},
      {explainMessageType(worker::MessageType::EvalStart), "evaluates a program"},
      {explainMessageType(worker::MessageType::EvalResume),
       "answers the host call that a run waits for"},
      {explainMessageType(worker::MessageType::EvalCancel), "drops a run that waits"},
      {explainMessageType(worker::MessageType::Shutdown), "asks the worker to end"},
  };
  for (const Row& row : rows) EXPECT_EQ(row.said, row.expected);
}

TEST(WordsForPeople, OfEveryOutcome) {
  const Row rows[] = {
      {explainEvalStatus(EvalStatus::Value), "the program has ended with a value"},
      {explainEvalStatus(EvalStatus::ReadError), "the program or an answer could not be read"},
      {explainEvalStatus(EvalStatus::EvalError), "the program has ended with an error"},
      {explainEvalStatus(EvalStatus::StepLimit), "the program has run out of steps"},
      {explainEvalStatus(EvalStatus::HostCallRequired),
       "the program waits for the host to perform a call"},
  };
  for (const Row& row : rows) EXPECT_EQ(row.said, row.expected);
}

TEST(WordsForPeople, OfEveryExitCode) {
  const Row rows[] = {
      {explainExitCode(static_cast<std::uint32_t>(worker::ExitCode::Finished)),
       "its input ended or it was told to shut down"},
      {explainExitCode(static_cast<std::uint32_t>(worker::ExitCode::BadMagic)),
       "a request did not begin with the protocol's magic"},
      {explainExitCode(static_cast<std::uint32_t>(worker::ExitCode::BadVersion)),
       "a request was of another protocol version"},
      {explainExitCode(static_cast<std::uint32_t>(worker::ExitCode::PayloadTooLarge)),
       "a request announced too large a payload"},
      {explainExitCode(static_cast<std::uint32_t>(worker::ExitCode::PayloadCut)),
       "its input ended inside a payload"},
      {explainExitCode(static_cast<std::uint32_t>(worker::ExitCode::HeaderUnwritten)),
       "it could not write a response's header"},
      {explainExitCode(static_cast<std::uint32_t>(worker::ExitCode::PayloadUnwritten)),
       "it could not write a response's payload"},
      {explainExitCode(static_cast<std::uint32_t>(worker::ExitCode::OutOfMemory)),
       "it ran out of memory"},
  };
  for (const Row& row : rows) EXPECT_EQ(row.said, row.expected);
}

TEST(WordsForPeople, OfEveryFault) {
  const Row rows[] = {
      {explainFault(Fault::Kind::RequestNotTaken), "the worker no longer reads requests"},
      {explainFault(Fault::Kind::ResponseCut),
       "the worker's output ended where a response belongs"},
      {explainFault(Fault::Kind::BadHeader), "what came is not the header of a response"},
      {explainFault(Fault::Kind::WrongEcho), "what came answers some other request"},
      {explainFault(Fault::Kind::BadResponse), "the response cannot be one to the request"},
      {explainFault(Fault::Kind::ShutDown), "the worker has been asked to end"},
      {explainFault(Fault::Kind::DeadlinePassed), "the worker has not answered in time"},
      {explainFault(Fault::Kind::NotStarted), "the program could not be started"},
  };
  for (const Row& row : rows) EXPECT_EQ(row.said, row.expected);
}

}  // namespace
}  // namespace lisp_worker::client
