#include <lisp_worker/client/names.h>
#include <lisp_worker/client/worker.h>

#include <iostream>

namespace client = lisp_worker::client;

int main(int count, char** arguments) {
  client::Worker worker(count > 1 ? arguments[1] : "/usr/bin/lisp_worker");

  // System 1 is turned left by 90 degrees, with its origin at (100, 50). The other four are the
  // world itself.
  client::CoordContext plan;
  plan.id = 7;
  plan.systems[1] = {.origin_x = 100, .origin_y = 50, .a = 0, .b = 1, .c = -1, .d = 0};
  const auto registered = worker.registerContext(plan);
  if (!registered) {
    std::cerr << worker.fault()->message << "\n";
    return 1;
  }
  std::cout << client::statusName(*registered) << "\n";

  // Points are converted by a request of their own, or by a program that runs under the context.
  const auto converted = worker.convert(7, {10, 0, 0}, 1, 0);
  if (converted && converted->value) {
    std::cout << converted->value->x << " " << converted->value->y << "\n";
  }
  const auto run = worker.run("(TRANS '(10 0) 1 0)", {}, {.context_id = 7});
  if (run) std::cout << run->text << "\n";

  // A request that the worker refuses is an answer too. It is not a fault.
  const auto refused = worker.convert(8, {10, 0, 0}, 1, 0);
  if (refused) std::cout << client::explainStatus(refused->status) << "\n";
}
