// Mistakes that our own code must never make, and that builds with assertions stop. Builds that
// ship have none, and nothing to test here.

#include <gtest/gtest.h>

#include "lisp/builtin.h"
#include "lisp/environment.h"
#include "lisp/interpreter.h"
#include "lisp/list.h"
#include "lisp/plain_stack.h"
#include "lisp/symbol.h"
#include "lisp/value.h"

#ifndef NDEBUG

namespace lisp {
namespace {

TEST(AssertionDeathTest, OnlyListsThatTheReaderMadeAreEvaluated) {
  const Environment environment;
  Interpreter interpreter(environment, nullptr, nullptr);
  interpreter.start({});
  // It holds a list, so it has a digest where a form has its shape.
  const LispValue form = list({symbol("+"), list({number(1.0)})});
  EXPECT_DEATH(static_cast<void>(interpreter.evaluate(form, 0)), "hasDigest");
}

TEST(AssertionDeathTest, AListHasNoElementBehindItsLast) {
  const LispValue value = list({number(1.0), number(2.0)});
  EXPECT_DEATH(static_cast<void>((*asList(value))[2]), "index < length_");
}

TEST(AssertionDeathTest, AValueIsWhatItIsTakenFor) {
  const LispValue text = string("A");
  EXPECT_DEATH(static_cast<void>(symbolOf(text.raw())), "Symbol");
  EXPECT_DEATH(static_cast<void>(chunkOf(text.raw())), "List");
  EXPECT_DEATH(static_cast<void>(text.raw().length()), "List");
}

TEST(AssertionDeathTest, AnEmptyListHasNoRest) {
  const LispValue empty = LispValue::adopt(emptyList());
  EXPECT_DEATH(static_cast<void>(restOf(empty.raw())), "length");
}

TEST(AssertionDeathTest, AHoldIsHandedOnOnce) {
  EXPECT_DEATH({ const Result forgotten = string("A"); }, "isCounted");
  EXPECT_DEATH(
      {
        Result overwritten = string("A");
        overwritten = nil();
      },
      "isCounted");
}

TEST(AssertionDeathTest, AStackHasNoRecordAboveItsTop) {
  PlainStack<int> stack;
  stack.push(1);
  EXPECT_DEATH(static_cast<void>(stack[1]), "index < size_");
  EXPECT_DEATH(stack.truncate(2), "size <= size_");
}

}  // namespace
}  // namespace lisp

#endif  // NDEBUG
