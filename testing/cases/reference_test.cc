// What `:doc` tells, held against the worker.

#include "explain/reference.h"

#include <gtest/gtest.h>

#include <set>
#include <span>
#include <string>

#include "geometry/builtins.h"
#include "host/builtins.h"
#include "lisp/builtin.h"
#include "lisp/core_builtins.h"
#include "testing/workers/evaluator.h"
#include "worker/encoding.h"

namespace testing_support {
namespace {

TEST(Reference, TellsOfEveryBuiltin) {
  std::set<std::string_view> names;
  for (const explain::Entry& entry : explain::entries()) {
    EXPECT_TRUE(names.insert(entry.name).second) << entry.name << " stands twice";
  }
  auto count = static_cast<std::size_t>(lisp::Operation::UserFunction);  // The special forms.
  for (const std::span<const lisp::Builtin> table :
       {lisp::coreBuiltins(), host::host_builtins(), geometry::geometry_builtins()}) {
    count += table.size();
    for (const lisp::Builtin& builtin : table) EXPECT_TRUE(names.contains(builtin.name));
  }
  EXPECT_EQ(names.size(), count);
}

TEST(Reference, ShowsExamplesThatHold) {
  for (const explain::Entry& entry : explain::entries()) {
    if (entry.name == "TRANS") continue;  // It needs a context; the language's document shows it.
    const lisp::EvalOutcome outcome = evaluate(entry.example);
    std::string result;
    if (outcome.kind == lisp::OutcomeKind::HostCallRequired) {
      result = "waits for " + std::string(outcome.host_call->name) + " (";
      for (const lisp::LispValue& argument : outcome.host_call->arguments) {
        if (result.back() != '(') result += ' ';
        result += worker::encodeValue(argument);
      }
      result += ')';
    } else {
      ASSERT_EQ(outcome.kind, lisp::OutcomeKind::Value) << entry.example;
      result = worker::encodeValue(outcome.value);
    }
    EXPECT_EQ(result, entry.result) << entry.example;
  }
}

// One argument fewer and one more than an entry allows is refused, by all but CAR and CDR, which
// never fail.
TEST(Reference, KnowsHowManyArgumentsEachTakes) {
  for (const explain::Entry& entry : explain::entries()) {
    if (entry.group == explain::Group::HostCall || entry.name == "CAR" || entry.name == "CDR") {
      continue;
    }
    const auto callWith = [&entry](std::size_t count) {
      std::string call = "(" + std::string(entry.name);
      for (std::size_t n = 0; n < count; ++n) call += " A";
      return evaluate("(SETQ A 1)" + call + ")").kind;
    };
    if (entry.count_min > 0) {
      EXPECT_EQ(callWith(entry.count_min - 1), lisp::OutcomeKind::EvalError) << entry.name;
    }
    if (entry.count_max != explain::kAnyCount) {
      EXPECT_EQ(callWith(entry.count_max + 1), lisp::OutcomeKind::EvalError) << entry.name;
    }
  }
}

}  // namespace
}  // namespace testing_support
