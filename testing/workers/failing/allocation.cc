// An operator new that gives memory as often as the environment variable LISP_ALLOCATIONS_MAX says
// and never again, for the worker that testing/cases/allocation_failure_posix_test.cc starts.
// Otherwise as the language has it: the new-handler is called, and without one std::bad_alloc is
// thrown.

#include <cstddef>
#include <cstdlib>
#include <new>

namespace {

// The number of allocations that are left.
unsigned long long& allocationsLeft() {
  static unsigned long long left = [] {
    const char* const text = std::getenv("LISP_ALLOCATIONS_MAX");
    return text == nullptr ? ~0ULL : std::strtoull(text, nullptr, 10);
  }();
  return left;
}

void* tryToAllocate(std::size_t size) {
  if (allocationsLeft() == 0) return nullptr;
  --allocationsLeft();
  return std::malloc(size == 0 ? 1 : size);
}

}  // namespace

void* operator new(std::size_t size) {
  while (true) {
    void* const block = tryToAllocate(size);
    if (block != nullptr) return block;
    const std::new_handler handler = std::get_new_handler();
    if (handler == nullptr) throw std::bad_alloc();
    handler();
  }
}

void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t /*size*/) noexcept { std::free(block); }
