// Generated programs whose layout is damaged at random are formatted: what is read stays the same,
// and formatting again changes nothing. LISP_FORMAT_COUNT says how many.

#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "explain/format.h"
#include "lisp/reader.h"
#include "testing/base/random.h"
#include "testing/base/test_environment.h"
#include "testing/generators/layout_damage.h"
#include "testing/generators/program_generator.h"
#include "testing/generators/right_programs.h"
#include "testing/generators/scope_generator.h"
#include "testing/generators/text_generator.h"

namespace explain {
namespace {

using lisp_worker::testing_support::damagedBlanks;
using lisp_worker::testing_support::damagedLayout;
using lisp_worker::testing_support::Random;

constexpr std::size_t kDefaultCount = 10000;

std::size_t programCount() {
  return lisp_worker::testing_support::setting("LISP_FORMAT_COUNT", kDefaultCount);
}

Formatting format(const std::string& text) { return formatProgram(Source("text", text)); }

std::string makeText(Random& random) {
  switch (random.below(5)) {
    case 0:
      return lisp_worker::testing_support::makeRightProgram(random);
    case 1:
      return lisp_worker::testing_support::ScopeGenerator(random).program();
    case 2:
      return lisp_worker::testing_support::generateDatum(random, 12);
    case 3:
      return lisp_worker::testing_support::generateSoup(random);
    default:
      return lisp_worker::testing_support::ProgramGenerator(random).program();
  }
}

// Checks all that holds for any bytes. True when the text can be read.
bool expectSound(const std::string& text) {
  std::string error;
  const bool can_be_read = lisp::readForms(text, &error).has_value();
  const Formatting once = format(text);
  if (!can_be_read) {
    EXPECT_TRUE(once.fault.has_value());
    EXPECT_EQ(once.fault ? once.fault->message : "", error);
    EXPECT_EQ(once.text, "");
    return false;
  }
  EXPECT_FALSE(once.fault.has_value()) << once.fault->message;
  EXPECT_TRUE(readTheSame(text, once.text));
  EXPECT_EQ(format(once.text).text, once.text);
  return true;
}

TEST(FormatOfGeneratedPrograms, ChangesNothingTwiceAndNothingThatIsRead) {
  std::size_t formatted_count = 0;
  for (std::size_t seed = 0; seed < programCount(); ++seed) {
    Random random(seed);
    std::string text = makeText(random);
    const bool could_be_read = lisp::readForms(text, nullptr).has_value();
    text = damagedLayout(text, random);
    const bool can_be_read = expectSound(text);
    EXPECT_TRUE(can_be_read || !could_be_read);
    if (can_be_read) ++formatted_count;
    ASSERT_FALSE(HasFailure()) << "seed " << seed << "\n" << text;
  }
  EXPECT_GT(formatted_count, programCount() / 2);
}

TEST(FormatOfGeneratedPrograms, DoesNotGoByBlanks) {
  for (std::size_t seed = 0; seed < programCount() / 10; ++seed) {
    Random random(seed);
    const std::string text = format(lisp_worker::testing_support::makeRightProgram(random)).text;
    ASSERT_EQ(format(damagedBlanks(text, random)).text, text) << "seed " << seed;
  }
}

TEST(FormatOfAnyBytes, ChangesNothingTwiceAndNothingThatIsRead) {
  // The zero byte at its end is one of them.
  constexpr char kBytes[] =
      "(()));;'\"\\ \t\r\n\n\x1A"
      "aB1.\xC3\xA4\xFF";
  std::size_t formatted_count = 0;
  for (std::size_t seed = 0; seed < programCount(); ++seed) {
    Random random(seed);
    std::string text;
    for (std::size_t n = random.below(40); n > 0; --n) text += random.pick(kBytes);
    if (expectSound(text)) ++formatted_count;
    ASSERT_FALSE(HasFailure()) << "seed " << seed << "\n" << text;
  }
  EXPECT_GT(formatted_count, programCount() / 100);
}

}  // namespace
}  // namespace explain
