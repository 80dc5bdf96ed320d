// Every fuzzer for a moment: its corpus, and inputs made of the corpus by seeded changes. A law
// that is broken ends this program with the law's words; the last line before names fuzzer and
// seed, and LISP_FUZZ_SEED runs that seed alone.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/law.h"
#include "testing/base/random.h"
#include "testing/base/test_environment.h"
#include "testing/formats/document_examples.h"

// LISP_FUZZERS is FUZZER(client_fuzz) FUZZER(encoder_fuzz) and so on, by cmake/tests.cmake, which
// also compiles each fuzzer with its own name as the name of its function.
#define FUZZER(name) extern "C" int name(const std::uint8_t* data, std::size_t size);
LISP_FUZZERS
#undef FUZZER

namespace {

namespace testing_support = lisp_worker::testing_support;

constexpr std::uint64_t kSeedCount = 500;

struct Fuzzer {
  const char* name;
  int (*run)(const std::uint8_t* data, std::size_t size);

  friend void PrintTo(const Fuzzer& fuzzer, std::ostream* out) { *out << fuzzer.name; }
};

constexpr Fuzzer kFuzzers[] = {
#define FUZZER(name) {#name, name},
    LISP_FUZZERS
#undef FUZZER
};

void run(const Fuzzer& fuzzer, const std::string& input) {
  static_cast<void>(fuzzer.run(reinterpret_cast<const std::uint8_t*>(input.data()), input.size()));
}

// The beginning of one of `inputs` and the end of another, with a few bytes changed.
std::string inputNear(const std::vector<std::string>& inputs, std::uint64_t seed) {
  testing_support::Random random(seed);
  const std::string& first = random.pick(inputs);
  const std::string& second = random.pick(inputs);
  std::string input = first.substr(0, random.below(first.size() + 1)) +
                      second.substr(random.below(second.size() + 1));
  for (std::size_t changes = random.below(4); changes > 0 && !input.empty(); --changes) {
    input[random.below(input.size())] = static_cast<char>(random.below(256));
  }
  return input;
}

void runNear(const Fuzzer& fuzzer, const std::vector<std::string>& inputs, std::uint64_t first,
             std::uint64_t last) {
  for (std::uint64_t seed = first; seed <= last; ++seed) {
    std::fprintf(stderr, "\r%s, seed %d ", fuzzer.name, static_cast<int>(seed));
    run(fuzzer, inputNear(inputs, seed));
  }
  std::fputs("\r", stderr);
}

class FuzzerSmoke : public testing::TestWithParam<Fuzzer> {
 protected:
  // The inputs in fuzz/corpus/, by their names.
  static std::vector<std::string> corpus() {
    const std::string name = GetParam().name;
    const std::filesystem::path folder =
        std::filesystem::path("fuzz") / "corpus" / name.substr(0, name.rfind("_fuzz"));
    std::vector<std::filesystem::path> files;
    for (const auto& entry :
         std::filesystem::directory_iterator(testing_support::sourceDirectory() / folder)) {
      files.push_back(folder / entry.path().filename());
    }
    std::sort(files.begin(), files.end());
    std::vector<std::string> inputs;
    for (const auto& file : files) inputs.push_back(testing_support::readSource(file));
    return inputs;
  }
};

TEST_P(FuzzerSmoke, KeepsItsLawsOnItsCorpusAndNearIt) {
  const std::vector<std::string> inputs = corpus();
  ASSERT_FALSE(inputs.empty());
  for (const std::string& input : inputs) run(GetParam(), input);
  run(GetParam(), "");
  const std::uint64_t only = testing_support::setting("LISP_FUZZ_SEED", 0);
  runNear(GetParam(), inputs, std::max<std::uint64_t>(only, 1), only != 0 ? only : kSeedCount);
}

// A fuzzer whose law is broken by the first change of a byte.
int canary(const std::uint8_t* data, std::size_t size) {
  const std::string_view input = lisp_worker::fuzz::Input(data, size).rest();
  lisp_worker::fuzz::require(input.find_first_not_of('A') == input.npos, "every byte is an A");
  return 0;
}

TEST(FuzzerSmokeDeathTest, EndsAtABrokenLaw) {
  const Fuzzer fuzzer{"canary", canary};
  run(fuzzer, "AAAA");
  EXPECT_DEATH(runNear(fuzzer, {"AAAA"}, 1, kSeedCount), "broken: every byte is an A");
}

INSTANTIATE_TEST_SUITE_P(All, FuzzerSmoke, testing::ValuesIn(kFuzzers),
                         [](const auto& fuzzer) { return std::string(fuzzer.param.name); });

}  // namespace
