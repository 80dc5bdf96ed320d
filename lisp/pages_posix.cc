#include <sys/mman.h>

#include "lisp/pages.h"

namespace lisp::storage {

// It cannot fail for pages of the heap; if it did, they would stay resident, and no more.
void returnPages(void* begin, std::size_t size) {
  static_cast<void>(::madvise(begin, size, MADV_DONTNEED));
}

}  // namespace lisp::storage
