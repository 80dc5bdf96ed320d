// Conversations at the size limits, and programs that are as large or as greedy as a frame allows.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "lisp_worker/worker/exit_code.h"
#include "lisp_worker/worker/frame.h"
#include "testing/cases/whole_conversation.h"
#include "testing/formats/scenario.h"
#include "testing/wire/frame_makers.h"
#include "testing/wire/wire_frames.h"
#include "worker/encoding.h"

namespace lisp_worker::testing_support {
namespace {

using worker::ExitCode;
using worker::kPayloadSizeMax;
using worker::kTextSizeMax;
using worker::MessageHeader;
using worker::MessageType;
using worker::WorkerStatus;

static_assert(kPayloadSizeMax == 0x100000);
static_assert(kTextSizeMax == 0x100000 - 64);

// `text` again and again up to `size` bytes, the last time as much of it as fits.
std::string filled(const std::string& text, std::size_t size) {
  std::string bytes;
  while (bytes.size() < size) bytes += text;
  bytes.resize(size);
  return bytes;
}

// `text` as often as it fits into a program.
std::string asOftenAsFits(const std::string& text) {
  return filled(text, kPayloadSizeMax / text.size() * text.size());
}

// `text` with blanks behind it up to the largest size of a payload.
std::string padded(std::string text) {
  text.resize(kPayloadSizeMax, ' ');
  return text;
}

std::vector<Scenario> payloads() {
  const std::string largest(kPayloadSizeMax, '\xFF');
  MessageHeader unknown = requestHeader(std::uint16_t{10});
  unknown.payload_length = kPayloadSizeMax;
  std::vector<Scenario> scenarios = {
      Scenario("TheLargestOfEveryType")
          .ping(largest)
          .ok()
          .registerContext(7, largest)
          .answer(WorkerStatus::InvalidRequest)
          .query(MessageType::LocateCell, 7, largest)
          .answer(WorkerStatus::InvalidRequest)
          .query(MessageType::CellPlaneToSystem, 7, largest)
          .answer(WorkerStatus::InvalidRequest)
          .query(MessageType::Convert, 7, largest)
          .answer(WorkerStatus::InvalidRequest)
          .geometry(largest)
          .answer(WorkerStatus::InvalidRequest)
          .start(padded("(1+ (GETDIST))"))
          .call(1, "GETDIST", 0, "()", 2)
          .resume(1, padded("2"))
          .value("3", 2)
          .resume(1, largest)
          .answer(WorkerStatus::InvalidRequest)
          .cancel(1, largest)
          .ok()
          .request(unknown, largest)
          .answer(WorkerStatus::UnknownType)
          .shutdown(largest)
          .ok(),
      Scenario("TheLargestButItsLastByte")
          .unanswered(frameBytes(requestHeader(MessageType::Ping), largest).substr(0, 64 + 0xFFFFF))
          .ends(ExitCode::PayloadCut),
  };
  for (const int type : {0, 1, 2, 3, 6, 7, 8, 9, 255}) {
    MessageHeader header = requestHeader(static_cast<std::uint16_t>(type));
    header.payload_length = kPayloadSizeMax + 1;
    header.request_id = 5;
    scenarios.push_back(Scenario("OneByteTooManyOfType" + std::to_string(type))
                            .ping()
                            .ok()
                            .request(header)
                            .answer(WorkerStatus::InvalidRequest)
                            .unanswered(largest + "x" + largest)
                            .ends(ExitCode::PayloadTooLarge));
  }
  return scenarios;
}

INSTANTIATE_TEST_SUITE_P(Payload, WholeConversation, testing::ValuesIn(payloads()), nameOf);

// Texts of kTextSizeMax - 1, kTextSizeMax and kTextSizeMax + 1 bytes. The last does not fit into a
// response; what was decided about the run stands nevertheless.

Scenario valueSizes() {
  Scenario scenario("OfValues");
  for (const std::size_t size : {kTextSizeMax - 1, kTextSizeMax}) {
    const std::string string = "\"" + std::string(size - 2, 's') + "\"";
    const std::string symbol(size, 'S');
    const std::string list = "(" + filled("1 ", size - 2) + ")";
    scenario.start(string).value(string, 1);
    scenario.start("'" + symbol).value(symbol, 1);
    scenario.start("(SETQ X " + string + ")").value(string, 2);
    // A list of ones of an odd size ends with a blank: put a number of two digits there.
    const std::string even_list = size % 2 != 0 ? list : "(" + filled("1 ", size - 4) + "22)";
    scenario.start("'" + even_list).value(even_list, 1);
  }
  scenario.start("\"" + std::string(kTextSizeMax - 1, 's') + "\"")
      .answer(WorkerStatus::InvalidRequest);
  scenario.start("'" + std::string(kTextSizeMax + 1, 'S')).answer(WorkerStatus::InvalidRequest);
  scenario.start("'(" + filled("1 ", kTextSizeMax - 2) + "1)").answer(WorkerStatus::InvalidRequest);
  scenario.start("(SETQ X \"" + std::string(kTextSizeMax - 1, 's') + "\")")
      .answer(WorkerStatus::InvalidRequest);
  // It was committed: X is a string of one byte more than fits.
  return scenario.start("(CAR X)").value("nil", 2).start("X").answer(WorkerStatus::InvalidRequest);
}

Scenario callSizes() {
  Scenario scenario("OfCalls");
  std::uint64_t run_id = 1;
  for (const std::size_t size : {kTextSizeMax - 1, kTextSizeMax}) {
    const std::string string = "\"" + std::string(size - 4, 's') + "\"";
    scenario.start("(COMMAND " + string + ")").call(run_id, "COMMAND", 1, "(" + string + ")", 2);
    scenario.resume(run_id++, "1").value("1", 2);
    // Two arguments and the blank between them.
    const std::string shorter = "\"" + std::string(size - 7, 's') + "\"";
    scenario.start("(COMMAND " + shorter + " 12)");
    scenario.call(run_id, "COMMAND", 2, "(" + shorter + " 12)", 3);
    scenario.resume(run_id++, "1").value("1", 3);
  }
  const std::string string = "\"" + std::string(kTextSizeMax - 3, 's') + "\"";
  scenario.start("(COMMAND " + string + ")").answer(WorkerStatus::InvalidRequest);
  // It waits under the id that nobody was told.
  scenario.start("(GETPOINT)").call(run_id + 1, "GETPOINT", 0, "()", 1);
  return scenario.resume(run_id, "2").value("2", 2);
}

Scenario messageSizes() {
  Scenario scenario("OfMessages");
  const std::string unbound = "unbound symbol: ";
  const std::string unsupported = "unsupported LISP function: ";
  const std::string arity = "wrong argument count for ";
  for (const std::size_t size : {kTextSizeMax - 1, kTextSizeMax, kTextSizeMax + 1}) {
    const bool fits = size <= kTextSizeMax;
    const auto expect = [&](const std::string& message, std::uint64_t steps) {
      if (fits) {
        scenario.evalError(message, steps);
      } else {
        scenario.answer(WorkerStatus::InvalidRequest);
      }
    };
    const std::string symbol(size - unbound.size(), 'S');
    scenario.start(symbol);
    expect(unbound + symbol, 1);
    const std::string function(size - unsupported.size(), 'F');
    scenario.start("(" + function + ")");
    expect(unsupported + function, 1);
    const std::string defined(size - arity.size(), 'D');
    scenario.start("(DEFUN " + defined + " () 1)").value(defined, 1);
    scenario.start("(" + defined + " 1)");
    expect(arity + defined, 1);
  }
  return scenario;
}

Scenario answerSizes() {
  Scenario scenario("OfAnswers");
  std::uint64_t run_id = 1;
  for (const std::size_t size : {kTextSizeMax - 1, kTextSizeMax, kTextSizeMax + 1}) {
    const std::string answer = "\"" + std::string(size - 2, 's') + "\"";
    scenario.start("(GETPOINT)").call(run_id, "GETPOINT", 0, "()", 1);
    scenario.resume(run_id, answer);
    if (size <= kTextSizeMax) {
      scenario.value(answer, 1);
    } else {
      scenario.answer(WorkerStatus::InvalidRequest);
    }
    scenario.resume(run_id++, "1").answer(WorkerStatus::InvalidRequest);
  }
  // A replayed call that is too long to send stays pending, too.
  scenario.start("(LIST (GETPOINT) (ENTGET (GETDIST)))").call(run_id, "GETPOINT", 0, "()", 2);
  scenario.resume(run_id, "1").call(run_id, "GETDIST", 0, "()", 4);
  scenario.resume(run_id, "\"" + std::string(kTextSizeMax, 's') + "\"");
  scenario.answer(WorkerStatus::InvalidRequest);
  return scenario.resume(run_id, "2").value("(1 2)", 4);
}

INSTANTIATE_TEST_SUITE_P(TextSize, WholeConversation,
                         testing::Values(valueSizes(), callSizes(), messageSizes(), answerSizes()),
                         nameOf);

// Greedy programs. After each of them the next request finds a worker that answers.

std::vector<Scenario> doublings() {
  const std::string loop = "(SETQ I 0 X (LIST 1)) (WHILE (< I 30) (SETQ X (LIST X X) I (1+ I))) ";
  const std::string double_once = "(SETQ X (LIST X X))";
  const std::size_t count = kPayloadSizeMax / double_once.size();
  return {
      Scenario("ThirtyTimes")
          .start(loop + "(LENGTH X)")
          .value("2", 4 + 1 + 30 * (3 + 6) + 3 + 2)
          .start("X")
          .answer(WorkerStatus::InvalidRequest)
          .start("(SETQ Y X) " + loop + "(EQUAL X Y)")
          .value("T", 2 + 4 + 1 + 30 * (3 + 6) + 3 + 3)
          .start("(GETPOINT X)")
          .answer(WorkerStatus::InvalidRequest)
          .resume(1, "1")
          .value("1", 2),
      Scenario("AsOftenAsAProgramHolds")
          .start("(SETQ X 1)")
          .value("1", 2)
          .start(asOftenAsFits(double_once))
          .answer(WorkerStatus::InvalidRequest)
          .start("(LENGTH X)")
          .value("2", 2)
          .start("(SETQ Y X X 1)")
          .value("1", 3)
          .start(asOftenAsFits(double_once))
          .answer(WorkerStatus::InvalidRequest)
          .start("(EQUAL X Y)")
          .value("T", 3)
          .start("(EQUAL X (CAR Y))")
          .value("nil", 4)
          .start(filled(double_once, count * double_once.size() - 1))
          .readError("unterminated list"),
      Scenario("ByCons")
          .start("(SETQ X (LIST 1)) (WHILE T (SETQ X (CONS X X)))")
          .stepLimit()
          .start("X")
          .evalError("unbound symbol: X", 1),
  };
}

INSTANTIATE_TEST_SUITE_P(Doubling, WholeConversation, testing::ValuesIn(doublings()), nameOf);

// One more level of nesting per form, frame after frame, until the text is too long and beyond.
Scenario nestingAcrossRuns() {
  const std::string nest_once = "(SETQ X (LIST X))";
  const std::size_t count = kPayloadSizeMax / nest_once.size();
  Scenario scenario("ByRunsOnTopOfRuns");
  scenario.start("(SETQ X nil)").value("nil", 2);
  for (std::size_t frame = 1; frame <= 10; ++frame) {
    const std::size_t levels = frame * count;
    scenario.start(asOftenAsFits(nest_once));
    if (levels * 2 + 3 <= kTextSizeMax) {
      scenario.value(std::string(levels, '(') + "nil" + std::string(levels, ')'), 3 * count);
    } else {
      scenario.answer(WorkerStatus::InvalidRequest);
    }
  }
  return scenario.start("(LENGTH X)").value("1", 2).start("(SETQ X nil)").value("nil", 2);
}

std::vector<Scenario> nestings() {
  return {
      Scenario("OfParentheses")
          .start(std::string(kPayloadSizeMax, '('))
          .readError("parser nesting limit exceeded")
          .start(std::string(kPayloadSizeMax, ')'))
          .readError("unexpected ')'")
          .start(std::string(kPayloadSizeMax / 2, '(') + std::string(kPayloadSizeMax / 2, ')'))
          .readError("parser nesting limit exceeded")
          .start(asOftenAsFits("("))
          .readError("parser nesting limit exceeded"),
      Scenario("OfQuotes")
          .start(std::string(kPayloadSizeMax, '\''))
          .readError("parser nesting limit exceeded")
          .start(asOftenAsFits("('"))
          .readError("parser nesting limit exceeded"),
      Scenario("OfCalls").start(asOftenAsFits("(+ ")).readError("parser nesting limit exceeded"),
      Scenario("ByALoop")
          .start("(WHILE T (SETQ X (LIST nil)))")
          .stepLimit()
          .start("(SETQ X nil) (WHILE T (SETQ X (LIST X)))")
          .stepLimit(),
      nestingAcrossRuns(),
      Scenario("OfAnswers")
          .start("(GETPOINT)")
          .call(1, "GETPOINT", 0, "()", 1)
          .resume(1, std::string(kPayloadSizeMax, '('))
          .readError("host response parse error: parser nesting limit exceeded")
          .start("(GETPOINT)")
          .call(2, "GETPOINT", 0, "()", 1)
          .resume(2, std::string(kPayloadSizeMax, '\''))
          .readError("host response parse error: parser nesting limit exceeded"),
  };
}

INSTANTIATE_TEST_SUITE_P(Nesting, WholeConversation, testing::ValuesIn(nestings()), nameOf);

std::vector<Scenario> tokens() {
  const std::string digits(kPayloadSizeMax, '1');
  const std::string exponent = "e-1048567";  // As many places as there are digits before it.
  return {
      Scenario("OfAMillionDigits")
          // Too large for a number, so the name of nothing, and that too long to say.
          .start(digits)
          .answer(WorkerStatus::InvalidRequest)
          .start("0." + digits.substr(2))
          .value("0.1111111111111111", 1)
          .start("-." + std::string(kPayloadSizeMax - 3, '0') + "1")
          .value("-0", 1)
          .start(digits.substr(0, kPayloadSizeMax - exponent.size()) + exponent)
          .value("0.1111111111111111", 1)
          .start("0x" + digits.substr(2))
          .answer(WorkerStatus::InvalidRequest)
          .start("0x." + digits.substr(3))
          .value("0.066666666666666666", 1)
          .start(std::string(kPayloadSizeMax - 1, '0') + "7")
          .value("7", 1)
          .start("1e" + digits.substr(2))
          .answer(WorkerStatus::InvalidRequest)
          .start("1e-" + digits.substr(3))
          .value("0", 1),
      Scenario("OfAMillionBytes")
          .start(std::string(kPayloadSizeMax, 'a'))
          .answer(WorkerStatus::InvalidRequest)
          .start(std::string(kPayloadSizeMax, '\0'))
          .answer(WorkerStatus::InvalidRequest)
          .start(std::string(kPayloadSizeMax, '\xFF'))
          .answer(WorkerStatus::InvalidRequest)
          .start("(SETQ " + std::string(kPayloadSizeMax - 20, 'a') + " 5)")
          .value("5", 2)
          .start(std::string(kPayloadSizeMax - 20, 'A'))
          .value("5", 1)
          .start(std::string(kPayloadSizeMax - 19, 'A'))
          .answer(WorkerStatus::InvalidRequest),
      Scenario("OfAnAnswer")
          .start("(CAR (GETPOINT))")
          .call(1, "GETPOINT", 0, "()", 2)
          .resume(1, digits)
          .value("nil", 2)
          .start("(CAR (GETPOINT))")
          .call(2, "GETPOINT", 0, "()", 2)
          .resume(2, std::string(kPayloadSizeMax, 'a'))
          .value("nil", 2),
      Scenario("OfAString")
          .start(std::string(kPayloadSizeMax, '"'))
          .stepLimit()
          .start(padded("\""))
          .readError("unterminated string")
          .start("\"" + filled("\\", kPayloadSizeMax - 1))
          .readError("unterminated string")
          .start("\"" + filled("\\\"", kPayloadSizeMax - 2) + "\"")
          .value("\"" + std::string(kPayloadSizeMax / 2 - 1, '"') + "\"", 1),
  };
}

INSTANTIATE_TEST_SUITE_P(Token, WholeConversation, testing::ValuesIn(tokens()), nameOf);

std::vector<Scenario> forms() {
  return {
      Scenario("OfNothing")
          .start(std::string(kPayloadSizeMax, ' '))
          .value("nil", 0)
          .start(std::string(kPayloadSizeMax, '\x1A'))
          .value("nil", 0)
          .start(std::string(kPayloadSizeMax, ';'))
          .value("nil", 0)
          .start(asOftenAsFits(";\n"))
          .value("nil", 0),
      Scenario("OfAtoms")
          .start(asOftenAsFits("1 "))
          .stepLimit()
          .start(asOftenAsFits("()"))
          .stepLimit()
          .start(asOftenAsFits("T "))
          .stepLimit(),
      Scenario("OfManyArguments")
          .start("(+" + asOftenAsFits(" 1").substr(4) + ")")
          .stepLimit()
          .start("(LIST" + filled(" 1", 2 * 249999) + ")")
          .value("(" + filled("1 ", 2 * 249999 - 1) + ")", 250000)
          .start("(SETQ" + filled(" A 1", 4 * 249999) + ")")
          .value("1", 250000)
          .start("(SETQ" + filled(" A 1", 4 * 250000) + ")")
          .stepLimit(),
      Scenario("OfManyParameters")
          .start("(DEFUN F (" + filled("A ", kPayloadSizeMax - 20) + ") 1)")
          .value("F", 1)
          .start("(F 1)")
          .evalError("wrong argument count for F", 1)
          .start("(DEFUN F (/ " + filled("A ", kPayloadSizeMax - 20) + ") A)")
          .value("F", 1)
          .start("(F)")
          .value("nil", 2)
          .start("(WHILE T (F))")
          .stepLimit(),
      Scenario("OfNewNames")
          .start([] {
            std::string program = "'(";
            for (int i = 0; program.size() < kPayloadSizeMax - 10; ++i) {
              program += "a" + std::to_string(i) + " ";
            }
            return program + ") 1";
          }())
          .value("1", 2),
      Scenario("WithoutEnd")
          .start("(WHILE T)")
          .stepLimit()
          .start("(WHILE T (SETQ X (CONS 1 X)))")
          .evalError("unbound symbol: X", 6)
          .start("(SETQ X nil) (WHILE T (SETQ X (CONS 1 X)))")
          .stepLimit()
          .start("(DEFUN F () (F)) (F)")
          .evalError("LISP evaluation depth exceeded", 1 + 130),
  };
}

INSTANTIATE_TEST_SUITE_P(Form, WholeConversation, testing::ValuesIn(forms()), nameOf);

}  // namespace
}  // namespace lisp_worker::testing_support
