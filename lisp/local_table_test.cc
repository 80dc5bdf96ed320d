#include "lisp/local_table.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "lisp/value.h"

namespace lisp {
namespace {

const Symbol& recordOf(const LispValue& name) { return symbolOf(name.raw()); }

TEST(LocalTable, KnowsExactlyItsLocals) {
  for (const int count : {0, 1, 3, 4, 5, 17, 64, 1000}) {
    std::vector<LispValue> locals;
    std::vector<LispValue> others;
    for (int i = 0; i < count; ++i) locals.push_back(symbol("LOCAL" + std::to_string(i)));
    for (int i = 0; i < 1000; ++i) others.push_back(symbol("OTHER" + std::to_string(i)));
    const LocalTable table(locals);
    for (const LispValue& local : locals) EXPECT_TRUE(table.contains(recordOf(local))) << count;
    for (const LispValue& other : others) EXPECT_FALSE(table.contains(recordOf(other))) << count;
  }
}

TEST(LocalTable, TakesANameTwiceAndNoSlash) {
  const std::vector<LispValue> locals = {symbol("A"), symbol("/"), symbol("A"), symbol("B")};
  const LocalTable table(locals);
  EXPECT_TRUE(table.contains(recordOf(symbol("A"))));
  EXPECT_TRUE(table.contains(recordOf(symbol("B"))));
  EXPECT_FALSE(table.contains(*kSlashSymbol));
}

}  // namespace
}  // namespace lisp
