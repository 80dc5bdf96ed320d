#include "lisp/environment.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "lisp/graveyard.h"
#include "lisp/list.h"
#include "testing/base/list_makers.h"
#include "testing/base/random.h"
#include "testing/base/value_text.h"

namespace lisp {
namespace {

using lisp_worker::testing_support::Random;
using lisp_worker::testing_support::textOf;

Symbol& recordOf(const LispValue& symbol) { return symbolOf(symbol.raw()); }

void set(Environment& environment, const LispValue& name, const LispValue& value) {
  environment.set(recordOf(name), {value.raw(), environment.find(recordOf(name)).function});
}

// The value's text, or "unbound".
std::string found(const Environment& environment, const LispValue& name) {
  const RawValue& raw = environment.find(recordOf(name)).value;
  return raw.tag() == Tag::Unbound ? "unbound" : textOf(LispValue::share(raw));
}

TEST(Environment, BeginsWithoutBindings) {
  const Environment environment;
  const LispValue name = symbol("ENVIRONMENT-TEST-A");
  EXPECT_EQ(found(environment, name), "unbound");
  EXPECT_EQ(environment.find(recordOf(name)).function, nullptr);
}

TEST(Environment, FindsWhatWasSet) {
  Environment environment;
  const LispValue a = symbol("ENVIRONMENT-TEST-A");
  const LispValue b = symbol("ENVIRONMENT-TEST-B");
  set(environment, a, number(1));
  EXPECT_EQ(found(environment, a), "1");
  EXPECT_EQ(found(environment, b), "unbound");
  set(environment, b, list({string("x")}));
  set(environment, a, nil());
  EXPECT_EQ(found(environment, a), "nil");
  EXPECT_EQ(found(environment, b), "(\"x\")");
}

TEST(Environment, HoldsValuesAndNamesThatNobodyElseHolds) {
  takeAllApart();
  const std::size_t symbols = symbolCount();
  {
    Environment environment;
    for (int i = 0; i < 100; ++i) {
      set(environment, symbol("HELD-" + std::to_string(i)), list({number(i)}));
    }
    EXPECT_EQ(symbolCount(), symbols + 100);
    for (int i = 0; i < 100; ++i) {
      EXPECT_EQ(found(environment, symbol("HELD-" + std::to_string(i))),
                "(" + std::to_string(i) + ")");
    }
  }
  takeAllApart();
  EXPECT_EQ(symbolCount(), symbols);
}

TEST(Environment, CopiesKeepTheirVersion) {
  const LispValue a = symbol("ENVIRONMENT-TEST-A");
  const LispValue b = symbol("ENVIRONMENT-TEST-B");
  Environment original;
  set(original, a, number(1));
  Environment copy = original;
  set(original, a, number(2));
  set(copy, b, number(3));
  EXPECT_EQ(found(original, a), "2");
  EXPECT_EQ(found(original, b), "unbound");
  EXPECT_EQ(found(copy, a), "1");
  EXPECT_EQ(found(copy, b), "3");

  const Environment moved = std::move(copy);
  EXPECT_EQ(found(moved, b), "3");
  original = moved;
  EXPECT_EQ(found(original, a), "1");
  const Environment& alias = original;
  original = alias;
  EXPECT_EQ(found(original, b), "3");
}

TEST(Environment, KeepsFunctionsBesideValues) {
  const LispValue name = symbol("ENVIRONMENT-TEST-A");
  const LispValue form = lisp_worker::testing_support::read("(DEFUN F () 1)");
  auto* const function = new UserFunction(form);
  Environment environment;
  environment.set(recordOf(name), {RawValue::of(Tag::Unbound), function});
  EXPECT_EQ(function->references, 2u);
  EXPECT_EQ(found(environment, name), "unbound");
  EXPECT_EQ(environment.find(recordOf(name)).function, function);
  const Environment copy = environment;
  environment.set(recordOf(name), {RawValue::ofNumber(0), nullptr});
  EXPECT_EQ(environment.find(recordOf(name)).function, nullptr);
  EXPECT_EQ(copy.find(recordOf(name)).function, function);
  releaseFunction(function);
}

// Versions beside maps that are copied: they branch, are changed, overwritten and dropped.
TEST(Environment, AgreesWithMapsUnderRandomVersions) {
  takeAllApart();
  const std::size_t symbols = symbolCount();
  const std::size_t chunks = chunkCount();
  {
    constexpr int kNames = 600;  // Three levels of nodes.
    std::vector<LispValue> names;
    for (int i = 0; i < kNames; ++i) names.push_back(symbol("MODEL-" + std::to_string(i)));
    struct Version {
      Environment environment;
      std::map<std::size_t, std::string> model;
    };
    Random random(7);
    std::vector<Version> versions(10);
    for (int round = 0; round < 6000; ++round) {
      Version version = random.pick(versions);
      // Few names at first, so that trees of all heights are shared.
      const std::size_t reach = round < 2000 ? 20 : kNames;
      for (std::size_t i = random.below(8); i > 0; --i) {
        const std::size_t name = random.below(reach);
        const LispValue value =
            random.chance(1, 3) ? list({number(round), string("x")}) : number(round);
        set(version.environment, names[name], value);
        version.model[name] = textOf(value);
      }
      versions[random.below(versions.size())] = std::move(version);
      const Version& checked = random.pick(versions);
      for (int i = 0; i < 10; ++i) {
        const std::size_t name = random.below(reach);
        const auto expected = checked.model.find(name);
        ASSERT_EQ(found(checked.environment, names[name]),
                  expected == checked.model.end() ? "unbound" : expected->second)
            << "round " << round;
      }
    }
  }
  takeAllApart();
  EXPECT_EQ(symbolCount(), symbols);
  EXPECT_EQ(chunkCount(), chunks);
}

}  // namespace
}  // namespace lisp
