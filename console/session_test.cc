// The output and the requests of a session, with a worker whose answers are written down
// beforehand.

#include "console/session.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "console/contexts.h"
#include "lisp_worker/client/coordinates.h"
#include "testing/wire/memory_channel.h"

namespace lisp_worker::console {
namespace {

using testing_support::EvalPayload;
using testing_support::MemoryChannel;
using worker::MessageType;
using worker::WorkerStatus;

constexpr std::uint64_t kContext = 1;

class SessionTest : public testing::Test {
 protected:
  void respond(MessageType type, WorkerStatus status, const EvalPayload& payload) {
    const std::uint64_t context = type == MessageType::EvalStart ? kContext : 0;
    channel.respond(++request_count, type, status, payload.bytes(), context);
  }

  void respond(MessageType type, WorkerStatus status) {
    channel.respond(++request_count, type, status);
  }

  void respondToRegistration() {
    channel.respond(++request_count, MessageType::RegisterContext, WorkerStatus::Ok, "", kContext);
  }

  ProgramEnd run(std::string_view program) {
    std::string error;
    const auto script = readScript(program, error);
    EXPECT_TRUE(script.has_value()) << error;
    return session.run("test.lsp", program, *script);
  }

  static EvalPayload callFor(const std::string& name, const std::string& arguments,
                             std::uint16_t arg_count) {
    return {.eval_status = 4,
            .arg_count = arg_count,
            .steps = 5,
            .call_name = name,
            .run_id = 9,
            .text = arguments};
  }

  [[nodiscard]] std::string payloadOf(std::size_t write) const {
    return channel.writes().at(write).substr(worker::kHeaderSize);
  }

  MemoryChannel channel;
  client::WorkerClient worker{channel};
  std::ostringstream out;
  Session session{worker, out};
  std::uint64_t request_count = 0;
};

TEST_F(SessionTest, TellsTheWholeConversation) {
  respondToRegistration();
  respond(MessageType::EvalStart, WorkerStatus::HostCallPending,
          callFor("GETDIST", "((0.10000000000000001 2) \"How far? \")", 2));
  respond(MessageType::EvalResume, WorkerStatus::HostCallPending, callFor("GETPOINT", "()", 0));
  respond(MessageType::EvalResume, WorkerStatus::Ok, {.steps = 1, .text = "0.5"});
  const char* const program =
      "; A comment\n"
      ";@ answer GETDIST 7\n"
      ";@ answer SSGET nil\n"
      ";@ expect value 0.5\n"
      "\n"
      "(FOO\n"
      "  (BAR)) ; what else\r\n";
  EXPECT_EQ(run(program), ProgramEnd::AsExpected);
  EXPECT_EQ(out.str(),
            "== test.lsp\n"
            "    (FOO\n"
            "      (BAR)) ; what else\n"
            "host    EvalStart         the program, 100 bytes, under context 1\n"
            "worker  HostCallPending   call 1: GETDIST with (0.1 2), \"How far? \"   [5 steps]\n"
            "host    EvalResume        7   [from the program's script]\n"
            "worker  HostCallPending   call 2: GETPOINT without arguments   [5 steps]\n"
            "host    EvalResume        (0 0 0)   [picked by rule]\n"
            "worker  Ok                result: 0.5   [1 step]\n"
            "script  not asked for     SSGET nil\n"
            "script  as expected\n"
            "\n");
  EXPECT_EQ(payloadOf(0), client::encodeContext(defaultContext()));
  EXPECT_EQ(payloadOf(1), program);
  EXPECT_EQ(payloadOf(2), "7");
  EXPECT_EQ(payloadOf(3), "(0 0 0)");
}

TEST_F(SessionTest, ShowsWhatBecameOfTheDrawing) {
  respondToRegistration();
  respond(MessageType::EvalStart, WorkerStatus::HostCallPending,
          callFor("ENTMAKE", R"((((0 "POINT") (8 "A") (10 (1 2)))))", 1));
  respond(MessageType::EvalResume, WorkerStatus::EvalFailed,
          {.eval_status = 2, .steps = 8, .text = "division by zero"});
  EXPECT_EQ(run(";@ entity ((0 \"POINT\") (8 \"B\") (10 (3 4)))\n"), ProgramEnd::Unexpected);
  session.printDrawing();
  EXPECT_EQ(out.str(),
            "== test.lsp\n"
            "drawing holds             E1 POINT on layer B: at (3 4)\n"
            "host    EvalStart         the program, 43 bytes, under context 1\n"
            "worker  HostCallPending   call 1: ENTMAKE with ((0 \"POINT\") (8 \"A\") (10 (1 2)))"
            "   [5 steps]\n"
            "host    EvalResume        ((0 \"POINT\") (8 \"A\") (10 (1 2)))   [added E2]\n"
            "worker  EvalFailed        error: division by zero   [8 steps]\n"
            "drawing untouched         what the program had changed is taken back: 1 entity"
            "   [--keep keeps it]\n"
            "\n"
            "== the drawing at the end: 1 entity\n"
            "E1 POINT on layer B: at (3 4)\n");
}

TEST_F(SessionTest, ReplacesTheContextWhileACallWaits) {
  respondToRegistration();
  respond(MessageType::EvalStart, WorkerStatus::HostCallPending, callFor("GETPOINT", "()", 0));
  respond(MessageType::EvalResume, WorkerStatus::HostCallPending, callFor("GETPOINT", "()", 0));
  respondToRegistration();
  respond(MessageType::EvalResume, WorkerStatus::Ok, {.text = "nil"});
  respondToRegistration();
  respond(MessageType::EvalStart, WorkerStatus::Ok, {.text = "nil"});
  EXPECT_EQ(run(";@ system 1 at-call 2 (1 2 3 4 5 6 7 8)\n;@ system 2 (8 7 6 5 4 3 2 1)"),
            ProgramEnd::AsExpected);
  EXPECT_EQ(run(""), ProgramEnd::AsExpected);
  EXPECT_EQ(out.str(),
            "== test.lsp\n"
            "host    RegisterContext   context 1, system 2 (8 7 6 5 4 3 2 1)\n"
            "host    EvalStart         the program, 69 bytes, under context 1\n"
            "worker  HostCallPending   call 1: GETPOINT without arguments   [5 steps]\n"
            "host    EvalResume        (0 0 0)   [picked by rule]\n"
            "worker  HostCallPending   call 2: GETPOINT without arguments   [5 steps]\n"
            "host    RegisterContext   context 1, system 1 (1 2 3 4 5 6 7 8)\n"
            "host    EvalResume        (100 50 0)   [picked by rule]\n"
            "worker  Ok                result: nil   [0 steps]\n"
            "\n"
            "== test.lsp\n"
            "host    EvalStart         the program, 0 bytes, under context 1\n"
            "worker  Ok                result: nil   [0 steps]\n"
            "\n");
  client::CoordContext context = defaultContext();
  context.systems[2] = {8, 7, 6, 5, 4, 3, 2, 1};
  EXPECT_EQ(payloadOf(0), client::encodeContext(context));
  context.systems[1] = {1, 2, 3, 4, 5, 6, 7, 8};
  EXPECT_EQ(payloadOf(3), client::encodeContext(context));
  // The next program starts from the default again.
  EXPECT_EQ(payloadOf(5), client::encodeContext(defaultContext()));
}

TEST_F(SessionTest, HoldsTheEndAgainstTheExpectation) {
  struct Row {
    const char* expectation;
    WorkerStatus status;
    EvalPayload payload;
    ProgramEnd end;
  };
  const EvalPayload value{.text = "(0.10000000000000001 nil)"};
  const EvalPayload error{.eval_status = 2, .text = "division by zero"};
  const Row rows[] = {
      {"", WorkerStatus::Ok, value, ProgramEnd::AsExpected},
      {"", WorkerStatus::EvalFailed, error, ProgramEnd::Unexpected},
      {";@ expect value (.1 NIL)", WorkerStatus::Ok, value, ProgramEnd::AsExpected},
      {";@ expect value (.1 ())", WorkerStatus::Ok, value, ProgramEnd::Unexpected},
      {";@ expect value nil", WorkerStatus::EvalFailed, error, ProgramEnd::Unexpected},
      {";@ expect error division by zero", WorkerStatus::EvalFailed, error, ProgramEnd::AsExpected},
      {";@ expect error division", WorkerStatus::EvalFailed, error, ProgramEnd::Unexpected},
      {";@ expect error division by zero",
       WorkerStatus::Ok,
       {.text = "division by zero"},
       ProgramEnd::Unexpected},
      {";@ expect refusal EvalFailed", WorkerStatus::EvalFailed, error, ProgramEnd::Unexpected},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.expectation);
    out.str("");
    respondToRegistration();
    respond(MessageType::EvalStart, row.status, row.payload);
    EXPECT_EQ(run(row.expectation), row.end);
    const bool said = out.str().find("script  ") != std::string::npos;
    EXPECT_EQ(said, *row.expectation != '\0') << out.str();
    EXPECT_EQ(out.str().find("NOT AS EXPECTED") != std::string::npos,
              said && row.end == ProgramEnd::Unexpected);
  }
}

TEST_F(SessionTest, TellsARefusal) {
  respondToRegistration();
  channel.respond(++request_count, MessageType::EvalStart, WorkerStatus::InvalidRequest, "",
                  kContext);
  // The client looks whether a call waits that was too long to send: none does.
  respond(MessageType::EvalResume, WorkerStatus::InvalidRequest);
  EXPECT_EQ(run(";@ expect refusal BadRequest"), ProgramEnd::AsExpected);
  EXPECT_NE(out.str().find(
                "worker  BadRequest        an answer, or what the program came to, is too long to "
                "send\n"),
            std::string::npos)
      << out.str();
}

TEST_F(SessionTest, DoesNotRunAProgramWhoseEntitiesCannotBeMade) {
  EXPECT_EQ(run(";@ entity ((0 \"SPHERE\"))"), ProgramEnd::Unexpected);
  EXPECT_NE(out.str().find("drawing not made          ((0 \"SPHERE\"))   unknown type: SPHERE\n"),
            std::string::npos)
      << out.str();
  EXPECT_TRUE(channel.writes().empty());
}

TEST_F(SessionTest, IsBrokenWhenTheWorkerIsGone) {
  EXPECT_EQ(run("(+ 1 2)"), ProgramEnd::Broken);
  EXPECT_TRUE(worker.fault().has_value());
}

TEST_F(SessionTest, IsBrokenWhenTheWorkerGoesWhileACallWaits) {
  respondToRegistration();
  respond(MessageType::EvalStart, WorkerStatus::HostCallPending, callFor("GETPOINT", "()", 0));
  EXPECT_EQ(run("(GETPOINT)"), ProgramEnd::Broken);
  EXPECT_TRUE(worker.fault().has_value());
}

TEST_F(SessionTest, CancelsAProgramThatNeverStopsAsking) {
  respondToRegistration();
  respond(MessageType::EvalStart, WorkerStatus::HostCallPending, callFor("GETDIST", "()", 0));
  for (std::size_t n = 0; n < kHostCallCountMax; ++n) {
    respond(MessageType::EvalResume, WorkerStatus::HostCallPending, callFor("GETDIST", "()", 0));
  }
  channel.respond(++request_count, MessageType::EvalCancel, WorkerStatus::Ok);
  EXPECT_EQ(run("(WHILE T (GETDIST))"), ProgramEnd::Unexpected);
  EXPECT_FALSE(worker.fault().has_value());
  EXPECT_EQ(channel.unreadSize(), 0u);
  EXPECT_TRUE(out.str().ends_with(
      "host    EvalCancel        this program makes more than 10000 host calls (--max-calls "
      "allows more)\n\n"));
  const std::string cancel = channel.writes().back();
  EXPECT_EQ(worker::getU64(cancel.data() + worker::HeaderOffset::kRunId), 9u);
}

TEST_F(SessionTest, ShowsTheBeginningOfALongProgram) {
  respondToRegistration();
  respond(MessageType::EvalStart, WorkerStatus::Ok, {.text = "nil"});
  std::string program;
  for (std::size_t n = 0; n <= kProgramLineCountMax; ++n) program += "nil\n";
  EXPECT_EQ(run(program), ProgramEnd::AsExpected);
  EXPECT_NE(out.str().find("    nil\n    ... and 1 line more\nhost"), std::string::npos)
      << out.str();
}

}  // namespace
}  // namespace lisp_worker::console
