// Every fuzzer for a moment: its corpus, and inputs made of the corpus by seeded changes. A law
// that is broken ends this program with the law's words; the last line before names fuzzer and
// seed.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <ostream>
#include <string>
#include <vector>

#include "testing/base/random.h"
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

class FuzzerSmoke : public testing::TestWithParam<Fuzzer> {
 protected:
  static void run(const std::string& input) {
    static_cast<void>(
        GetParam().run(reinterpret_cast<const std::uint8_t*>(input.data()), input.size()));
  }

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
  for (const std::string& input : inputs) run(input);
  run("");
  for (std::uint64_t seed = 1; seed <= kSeedCount; ++seed) {
    testing_support::Random random(seed);
    const std::string& first = random.pick(inputs);
    const std::string& second = random.pick(inputs);
    std::string input = first.substr(0, random.below(first.size() + 1)) +
                        second.substr(random.below(second.size() + 1));
    for (std::size_t changes = random.below(4); changes > 0 && !input.empty(); --changes) {
      input[random.below(input.size())] = static_cast<char>(random.below(256));
    }
    std::fprintf(stderr, "\r%s, seed %d ", GetParam().name, static_cast<int>(seed));
    run(input);
  }
  std::fputs("\r", stderr);
}

INSTANTIATE_TEST_SUITE_P(All, FuzzerSmoke, testing::ValuesIn(kFuzzers),
                         [](const auto& fuzzer) { return std::string(fuzzer.param.name); });

}  // namespace
