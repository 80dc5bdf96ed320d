// Settings of how many stopped evaluations a worker keeps. Tests compare workers of all settings:
// nothing that a host can observe may depend on them.

#ifndef TESTING_WORKERS_KEEPINGS_H_
#define TESTING_WORKERS_KEEPINGS_H_

#include <string_view>
#include <vector>

#include "worker/kept_evaluations.h"

namespace lisp_worker::testing_support {

struct Keeping {
  const char* name;
  worker::KeepLimits limits;
};

// Most without a lower limit of steps, so that the first answers are kept too.
[[nodiscard]] inline const std::vector<Keeping>& keepings() {
  using worker::KeepLimits;
  static const std::vector<Keeping> all = {
      {"nothing", {.count_max = 0}},
      {"one", {.count_max = 1, .steps_min = 0}},
      {"two", {.count_max = 2, .steps_min = 0}},
      {"all", {.steps_min = 0}},
      {"default", {}},
      {"until_every_second_answer", {.steps_min = 0, .give_up_every = 2}},
      {"until_every_third_answer", {.steps_min = 0, .give_up_every = 3}},
      {"few_bytes", {.bytes_max = 3 * KeepLimits::kStackBytes, .steps_min = 0}},
      {"few_bindings", {.steps_min = 0, .bindings_max = 6}},
  };
  return all;
}

// The limits of that name, or null.
[[nodiscard]] inline const worker::KeepLimits* keepLimitsOf(std::string_view name) {
  for (const Keeping& keeping : keepings()) {
    if (keeping.name == name) return &keeping.limits;
  }
  return nullptr;
}

}  // namespace lisp_worker::testing_support

#endif  // TESTING_WORKERS_KEEPINGS_H_
