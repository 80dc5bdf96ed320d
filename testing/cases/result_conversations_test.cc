// Conversations about evaluation results: the text of every kind of value, every kind of outcome
// with its message, steps and call. docs and programs hold the language itself; here it is the
// bytes that count.

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

#include "lisp_worker/worker/frame.h"
#include "testing/cases/whole_conversation.h"
#include "testing/formats/scenario.h"

namespace lisp_worker::testing_support {
namespace {

using worker::WorkerStatus;

std::vector<Scenario> values() {
  return {
      Scenario("AWholeNumber").start("2").value("2", 1),
      Scenario("AList").start("(LIST 1 2.5 'X nil)").value("(1 2.5 X nil)", 5),
      Scenario("NumbersOfEverySize")
          .start("'(3 3.0 0.1 -0 -0.0 1e20 1e16 123456789012345678 1e17 1e-4 1e-5 5e-324 "
                 "1.7976931348623157e308 0x10 -0x.8p1 .5 5. +5)")
          .value("(3 3 0.10000000000000001 -0 -0 1e+20 10000000000000000 1.2345678901234568e+17 "
                 "1e+17 0.0001 1.0000000000000001e-05 4.9406564584124654e-324 "
                 "1.7976931348623157e+308 16 -1 0.5 5 5)",
                 1),
      Scenario("NumbersThatAreNone")
          .start("(SETQ H (* 1e300 1e300)) (LIST H (- H))")
          .value("(inf -inf)", 8)
          .start("(- H H)")
          .value("-nan", 3)
          .start("(- (- H H))")
          .value("nan", 4),
      Scenario("AStringWithAQuoteInside").start("\"a\\\"b\"").value("\"a\"b\"", 1),
      Scenario("AStringOfEveryEscape")
          .start("\"\\n\\r\\t\\\\\\q\r\n\"")
          .value("\"\n\r\t\\q\r\n\"", 1),
      Scenario("AStringOfOddBytes")
          .start(std::string("\"\0\x1A\xFF;(\"", 7))
          .value(std::string("\"\0\x1A\xFF;(\"", 7), 1),
      Scenario("SymbolsInUpperCase")
          .start("'(abc 1+ a.b $kvsel t nil)")
          .value("(ABC 1+ A.B $KVSEL T nil)", 1),
      Scenario("ASymbolOfOddBytes").start("'a\x01\xE4z").value("A\x01\xE4Z", 1),
      Scenario("Nothing").start("nil").value("nil", 1).start("()").value("nil", 1),
      Scenario("AnEmptyList").start("'()").value("()", 1).start("(LIST)").value("()", 1),
      Scenario("ListsInLists")
          .start("'((()) (1 (2 (3))) \"\")")
          .value("((()) (1 (2 (3))) \"\")", 1),
      Scenario("Truth").start("t").value("T", 1).start("(SETQ T 5) T").value("T", 3),
      Scenario("ASelectionSetIsAList").start("'($KVSEL \"E1\" 2)").value("($KVSEL \"E1\" 2)", 1),
      Scenario("NoForms")
          .start("")
          .value("nil", 0)
          .start(" \t\r\n\v\f\x1A")
          .value("nil", 0)
          .start("; a comment\n  ; and another")
          .value("nil", 0),
      Scenario("TheLastOfManyForms").start("1 \"two\" 'three").value("THREE", 3),
  };
}

INSTANTIATE_TEST_SUITE_P(Value, WholeConversation, testing::ValuesIn(values()), nameOf);

std::string nested(const std::string& opening, std::size_t levels, const std::string& inside) {
  std::string text;
  for (std::size_t i = 0; i < levels; ++i) text += opening;
  text += inside;
  return text.append(levels, ')');
}

std::string repeated(const std::string& text, std::size_t count) {
  std::string bytes;
  for (std::size_t i = 0; i < count; ++i) bytes += text;
  return bytes;
}

std::vector<Scenario> failures() {
  return {
      Scenario("OfTheReader")
          .start("1 )")
          .readError("unexpected ')'")
          .start("(SETQ A 1")
          .readError("unterminated list")
          .start("1 \"abc")
          .readError("unterminated string")
          .start("\"abc\\")
          .readError("unterminated string")
          .start("'")
          .readError("unexpected end of input")
          .start("(A ' ; nothing")
          .readError("unexpected end of input")
          .start(std::string(514, '('))
          .readError("parser nesting limit exceeded")
          .start(std::string(513, '('))
          .readError("unterminated list")
          .start(std::string(513, '\''))
          .readError("parser nesting limit exceeded")
          .start(std::string(512, '\''))
          .readError("unexpected end of input"),
      Scenario("OfTheReaderBeforeAnyFormIsEvaluated")
          .start("(SETQ A 1) (GETPOINT) (")
          .readError("unterminated list")
          .start("A")
          .evalError("unbound symbol: A", 1),
      Scenario("OfTheEvaluator")
          .start("foo")
          .evalError("unbound symbol: FOO", 1)
          .start("(1 2)")
          .evalError("first list item must be a function symbol", 1)
          .start("(\"LIST\" 1)")
          .evalError("first list item must be a function symbol", 1)
          .start("(foo (+ 1 2))")
          .evalError("unsupported LISP function: FOO", 4)
          .start("(FOO (BAR))")
          .evalError("unsupported LISP function: BAR", 2)
          .start("(DEFUN F (A) A) (F 1 2)")
          .evalError("wrong argument count for F", 2)
          .start("(QUOTE)")
          .evalError("quote expects one argument", 1),
      Scenario("OfDepth")
          .start(nested("(+ ", 128, "1"))
          .value("1", 129)
          .start(nested("(+ ", 129, "1"))
          .evalError("LISP evaluation depth exceeded", 130)
          .start("(DEFUN F (N) (F N)) (F 1)")
          .evalError("LISP evaluation depth exceeded", 1 + 128 * 2 + 2),
      // 250000 atoms are evaluated, the next one is counted and fails.
      Scenario("OfSteps")
          .start(repeated("1 ", 250000))
          .value("1", 250000)
          .start(repeated("1 ", 250001))
          .stepLimit()
          .start("(WHILE T)")
          .stepLimit()
          .start("1")
          .value("1", 1),
      Scenario("OfStepsBeforeDepth")
          .start(repeated("1 ", 249870) + nested("(+ ", 129, "1"))
          .evalError("LISP evaluation depth exceeded", 250000)
          .start(repeated("1 ", 249871) + nested("(+ ", 129, "1"))
          .stepLimit(),
  };
}

INSTANTIATE_TEST_SUITE_P(Failure, WholeConversation, testing::ValuesIn(failures()), nameOf);

std::vector<Scenario> calls() {
  return {
      Scenario("WithoutArguments").start("(COMMAND)").call(1, "COMMAND", 0, "()", 1),
      Scenario("OfALowerCaseName").start("(getpoint)").call(1, "GETPOINT", 0, "()", 1),
      Scenario("OfTheLongestName").start("(COMMAND-S 1)").call(1, "COMMAND-S", 1, "(1)", 2),
      Scenario("WithOneListAsItsArgument")
          .start("(ENTMAKE '((0 \"LINE\") (10 1 2 3)))")
          .call(1, "ENTMAKE", 1, "(((0 \"LINE\") (10 1 2 3)))", 2),
      Scenario("WithAnEmptyListAsItsArgument").start("(SSGET '())").call(1, "SSGET", 1, "(())", 2),
      Scenario("With65534Arguments")
          .start("(COMMAND" + repeated(" 1", 65534) + ")")
          .call(1, "COMMAND", 65534, "(1" + repeated(" 1", 65533) + ")", 65535),
      Scenario("With65535Arguments")
          .start("(COMMAND" + repeated(" 1", 65535) + ")")
          .call(1, "COMMAND", 65535, "(1" + repeated(" 1", 65534) + ")", 65536),
      Scenario("WithMoreArgumentsThanTheFieldHolds")
          .start("(COMMAND" + repeated(" 1", 65536) + ")")
          .call(1, "COMMAND", 65535, "(1" + repeated(" 1", 65535) + ")", 65537)
          .resume(1, "ok")
          .value("OK", 65537),
  };
}

INSTANTIATE_TEST_SUITE_P(Call, WholeConversation, testing::ValuesIn(calls()), nameOf);

}  // namespace
}  // namespace lisp_worker::testing_support
