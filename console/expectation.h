// Compares the ";@ expect" lines of a program with what has become of it.

#ifndef CONSOLE_EXPECTATION_H_
#define CONSOLE_EXPECTATION_H_

#include <cstddef>
#include <string>
#include <vector>

#include "console/drawing.h"
#include "console/script.h"
#include "lisp_worker/client/eval_result.h"
#include "lisp_worker/client/worker_client.h"

namespace lisp_worker::console {

// Both sides of a difference, each as a ";@ expect" line writes it: "value 5", "error MESSAGE".
struct Mismatch {
  std::string expected;
  std::string got;

  friend bool operator==(const Mismatch&, const Mismatch&) = default;
};

// The difference of the end of a program from what its script expects, and of the drawing; none
// when all is as it should be. A script that expects nothing expects any value.
[[nodiscard]] std::vector<Mismatch> mismatchesOf(const Script& script,
                                                 const client::Reply<client::EvalResult>& reply);
[[nodiscard]] std::vector<Mismatch> mismatchesOf(const Script& script, const Drawing& drawing);

// The mismatch with its long sides cut, in the same place: around the first difference.
[[nodiscard]] Mismatch shortened(const Mismatch& mismatch, std::size_t size_max = 120);

}  // namespace lisp_worker::console

#endif  // CONSOLE_EXPECTATION_H_
