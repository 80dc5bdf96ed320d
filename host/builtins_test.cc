#include "host/builtins.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "testing/base/outcome_matchers.h"
#include "testing/workers/evaluator.h"

namespace host {
namespace {

using lisp_worker::testing_support::evaluate;
using lisp_worker::testing_support::isEvalError;
using lisp_worker::testing_support::isValue;
using lisp_worker::testing_support::Replay;

void expectError(const std::string& message, const std::vector<std::string>& programs) {
  for (const std::string& program : programs) {
    EXPECT_THAT(evaluate(program), isEvalError(message)) << program;
  }
}

// Values that are not selection sets.
const std::vector<std::string> kOthers = {
    "nil",         "5",          "\"$KVSEL\"",   "'$KVSEL",      "'()", "'(1 2)", "'(\"$KVSEL\" 1)",
    "'(1 $KVSEL)", "'($KVSE 1)", "'($KVSELS 1)", "'(($KVSEL 1))"};

TEST(Sslength, CountsMembers) {
  EXPECT_THAT(evaluate("(SSLENGTH '($KVSEL))"), isValue("0"));
  EXPECT_THAT(evaluate("(SSLENGTH '($KVSEL \"A\"))"), isValue("1"));
  EXPECT_THAT(evaluate("(sslength '($kvsel nil () (1 2)))"), isValue("3"));
  EXPECT_THAT(evaluate("(SSLENGTH (CONS '$KVSEL '(1 2)))"), isValue("2"));
}

TEST(Sslength, ChecksCountThenKind) {
  expectError("sslength expects one selection set",
              {"(SSLENGTH)", "(SSLENGTH '($KVSEL) '($KVSEL))", "(SSLENGTH 1 2)"});
  for (const std::string& other : kOthers) {
    expectError("sslength expects a selection set", {"(SSLENGTH " + other + ")"});
  }
}

TEST(Ssname, GivesTheMemberAtAZeroBasedIndex) {
  const std::string set = "(SSNAME '($KVSEL \"A\" \"B\" (1 2)) ";
  struct Row {
    const char* index;
    const char* member;
  };
  for (const Row& row : {Row{"0", "\"A\""},
                         Row{"-0.0", "\"A\""},
                         Row{"1", "\"B\""},
                         Row{"2", "(1 2)"},
                         Row{"3", "nil"},
                         Row{"4", "nil"},
                         Row{"-1", "nil"},
                         Row{"0.5", "nil"},
                         Row{"-0.5", "nil"},
                         Row{"1.0000000000000002", "nil"},
                         Row{"4294967295", "nil"},
                         Row{"4294967296", "nil"},
                         Row{"4294967297", "nil"},
                         Row{"9223372036854775808", "nil"},
                         Row{"18446744073709551615", "nil"},
                         Row{"18446744073709551616", "nil"},
                         Row{"1e300", "nil"},
                         Row{"(* 1e308 10)", "nil"},
                         Row{"(* -1e308 10)", "nil"},
                         Row{"(- (* 1e308 10) (* 1e308 10))", "nil"}}) {
    EXPECT_THAT(evaluate(set + row.index + ")"), isValue(row.member)) << row.index;
  }
  EXPECT_THAT(evaluate("(SSNAME '($KVSEL) 0)"), isValue("nil"));
  EXPECT_THAT(evaluate("(SSNAME (CONS '$KVSEL (CONS 1 '(2 3))) 2)"), isValue("3"));
}

TEST(Ssname, ChecksCountThenIndexThenSet) {
  const std::string message = "ssname expects selection set and index";
  expectError(message, {"(SSNAME)", "(SSNAME '($KVSEL))", "(SSNAME '($KVSEL) 0 1)", "(SSNAME 1)",
                        "(SSNAME '($KVSEL) \"0\")", "(SSNAME '($KVSEL) nil)",
                        "(SSNAME '($KVSEL) '(0))", "(SSNAME 5 nil)", "(SSNAME nil 'A)"});
  for (const std::string& other : kOthers) {
    expectError("ssname expects a selection set",
                {"(SSNAME " + other + " 0)", "(SSNAME " + other + " -1)"});
  }
}

TEST(SelectionSets, ComeFromTheHost) {
  EXPECT_THAT(Replay("(SETQ S (SSGET \"X\")) (LIST (SSLENGTH S) (SSNAME S 1))")
                  .answered("SSGET", "(\"X\")", "($KVSEL \"e1\" \"e2\")")
                  .run(),
              isValue("(2 \"e2\")"));
  EXPECT_THAT(Replay("(SSLENGTH (SSGET))").answered("SSGET", "nil").run(),
              isEvalError("sslength expects a selection set"));
}

TEST(SelectionSetBuiltins, EvaluateTheirArgumentsFirst) {
  expectError("unbound symbol: X", {"(SSLENGTH X)", "(SSLENGTH 1 X)", "(SSNAME 1 2 X)"});
}

}  // namespace
}  // namespace host
