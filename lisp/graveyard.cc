// One interface for three chains of dead records, which the files that make the records know.

#include "lisp/graveyard.h"

#include "lisp/environment.h"
#include "lisp/equality.h"
#include "lisp/list.h"
#include "lisp/storage.h"
#include "lisp/user_function.h"

namespace lisp {
namespace {

// For each request. In 1000 requests these are 16 million elements and 256 MiB.
constexpr std::size_t kElementsPerRequest = 16384;
constexpr std::size_t kNodesPerRequest = 64;
constexpr std::size_t kLocalsPerRequest = 4096;
constexpr std::size_t kSlabsPerRequest = 32;

}  // namespace

void tidyUp() {
  takeEnvironmentsApart(kNodesPerRequest);
  takeFunctionsApart(kLocalsPerRequest);
  takeChunksApart(kElementsPerRequest);
  storage::giveBack(kSlabsPerRequest);
  renewHaste();
  renewComparisons();
}

void takeApart(std::size_t count) {
  takeFunctionsApart(count);
  takeChunksApart(count);
}

bool hasDeadValues() { return hasDeadChunks() || hasDeadFunctions(); }

// Environments hold functions, functions hold lists and lists hold nothing else.
void takeAllApart() {
  constexpr std::size_t kAll = std::size_t{1} << 40;
  takeEnvironmentsApart(kAll);
  while (hasDeadValues()) takeApart(kAll);
}

}  // namespace lisp
