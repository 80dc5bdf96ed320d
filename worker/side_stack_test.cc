#include "worker/side_stack.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace lisp_worker::worker {
namespace {

// A body that writes down what it does and leaves after each word.
struct Teller {
  SideStack* stack = nullptr;
  std::vector<std::string> words;
  std::string told;

  static void tell(void* teller) {
    auto& self = *static_cast<Teller*>(teller);
    for (const std::string& word : self.words) {
      self.told += word;
      self.stack->leave();
    }
    self.told += ".";
  }
};

TEST(SideStack, RunsABodyInPieces) {
  const std::unique_ptr<SideStack> stack = SideStack::make();
  ASSERT_NE(stack, nullptr);
  EXPECT_FALSE(stack->isInProgress());
  Teller teller{stack.get(), {"a", "b"}, {}};
  stack->begin(Teller::tell, &teller);
  EXPECT_EQ(teller.told, "a");
  EXPECT_TRUE(stack->isInProgress());
  stack->resume();
  EXPECT_EQ(teller.told, "ab");
  stack->resume();
  EXPECT_EQ(teller.told, "ab.");
  EXPECT_FALSE(stack->isInProgress());
}

TEST(SideStack, RunsOneBodyAfterTheOther) {
  const std::unique_ptr<SideStack> stack = SideStack::make();
  ASSERT_NE(stack, nullptr);
  for (int n = 0; n < 1000; ++n) {
    Teller teller{stack.get(), {}, {}};
    stack->begin(Teller::tell, &teller);
    ASSERT_EQ(teller.told, ".");
    ASSERT_FALSE(stack->isInProgress());
  }
}

TEST(SideStack, TakesTurnsWithOthers) {
  std::vector<std::unique_ptr<SideStack>> stacks;
  std::vector<Teller> tellers(64);
  for (std::size_t i = 0; i < tellers.size(); ++i) {
    stacks.push_back(SideStack::make());
    ASSERT_NE(stacks.back(), nullptr);
    tellers[i].stack = stacks[i].get();
    tellers[i].words = {std::to_string(i), "+", "-"};
    stacks[i]->begin(Teller::tell, &tellers[i]);
  }
  for (int round = 0; round < 3; ++round) {
    for (const auto& stack : stacks) stack->resume();
  }
  for (std::size_t i = 0; i < tellers.size(); ++i) {
    EXPECT_EQ(tellers[i].told, std::to_string(i) + "+-.");
    EXPECT_FALSE(stacks[i]->isInProgress());
  }
}

// Registers that a function must preserve, and both directions of the floating-point unit.
TEST(SideStack, LeavesTheCallersValuesAlone) {
  const std::unique_ptr<SideStack> stack = SideStack::make();
  ASSERT_NE(stack, nullptr);
  Teller teller{stack.get(), std::vector<std::string>(100, "x"), {}};
  volatile double third = 1.0 / 3.0;
  std::size_t a = 1;
  std::size_t b = 2;
  std::size_t c = 3;
  double sum = 0;
  stack->begin(Teller::tell, &teller);
  while (stack->isInProgress()) {
    stack->resume();
    a += b;
    b += c;
    c += 1;
    sum += third;
  }
  EXPECT_EQ(teller.told, std::string(100, 'x') + ".");
  EXPECT_EQ(c, 103U);
  EXPECT_EQ(b, 5252U);
  EXPECT_EQ(a, 176751U);
  EXPECT_NEAR(sum, 100.0 / 3.0, 1e-9);
}

// Most of the stack can be used.
void fill(std::size_t depth) {
  volatile char frame[1024];
  frame[0] = static_cast<char>(depth);
  if (depth > 0) fill(depth - 1);
  frame[1023] = frame[0];
}

TEST(SideStack, HoldsNearlyItsSize) {
  const std::unique_ptr<SideStack> stack = SideStack::make();
  ASSERT_NE(stack, nullptr);
  std::size_t depth = SideStack::size() / 1024 * 3 / 4 / 2;
  stack->begin([](void* d) { fill(*static_cast<std::size_t*>(d)); }, &depth);
  EXPECT_FALSE(stack->isInProgress());
}

}  // namespace
}  // namespace lisp_worker::worker
