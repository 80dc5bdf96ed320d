// The little that a worker needs of a C and C++ runtime on Windows, in the place of what the
// libraries bring along: the start of the process, its memory, and its end when a check fails.
//
// The libraries' ways to start, to unwind and to lock also open files, load libraries, read the
// environment and manage threads. All of that would be linked into a program that has one thread
// and catches nothing. The linker finds these functions first and leaves theirs out. Only
// lisp_worker is linked with this file; tests, which throw and have threads, are not.

#include <windows.h>
// After windows.h, whose types it uses.
#include <ntsecapi.h>

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <string_view>

// main() of worker/main.cc, which C++ does not let anybody call.
int workerMain() asm("main");

namespace {

// Ends the process at once, without running any more of its code: the system is told the reason,
// and a debugger or an error report shows it.
[[noreturn]] void failFast(std::string_view message, unsigned int reason) {
  DWORD written = 0;
  ::WriteFile(::GetStdHandle(STD_ERROR_HANDLE), message.data(), static_cast<DWORD>(message.size()),
              &written, nullptr);
  asm volatile("int $0x29" : : "c"(reason));
  __builtin_unreachable();
}

[[noreturn]] void failCheck() {
  failFast("*** a check of the worker has failed ***\n", FAST_FAIL_FATAL_APP_EXIT);
}

using Function = void (*)();

}  // namespace

extern "C" {

// The functions that make static objects, between -1 and 0; the linker's. They are called from the
// last to the first.
extern Function __CTOR_LIST__[];

// The secret that a function checks on its stack before it returns.
std::uintptr_t __stack_chk_guard;

[[noreturn]] void __stack_chk_fail() {
  failFast("*** stack smashing detected ***\n", FAST_FAIL_STACK_COOKIE_CHECK_FAILURE);
}

// The compiler has main() call it.
void __main() {}

// Nothing is taken apart at the end.
int atexit(Function /*function*/) { return 0; }

// Where the process begins. The arguments and the environment are not looked at.
[[noreturn]] __attribute__((no_stack_protector)) void lispWorkerStart() {
  // The system leaves the x87 unit at the precision of a double; long double has more.
  asm volatile("fninit");
  if (!::RtlGenRandom(&__stack_chk_guard, sizeof __stack_chk_guard)) failCheck();
  std::size_t count = 0;
  while (__CTOR_LIST__[count + 1] != nullptr) ++count;
  for (; count > 0; --count) __CTOR_LIST__[count]();
  ::ExitProcess(static_cast<UINT>(workerMain()));
}

[[noreturn]] void abort() { failCheck(); }
[[noreturn]] void _exit(int code) { ::ExitProcess(static_cast<UINT>(code)); }

// One thread makes static objects: a guard's first byte tells whether it has.
int __cxa_guard_acquire(std::uint64_t* guard) { return *guard == 0 ? 1 : 0; }
void __cxa_guard_release(std::uint64_t* guard) { *guard = 1; }
void __cxa_guard_abort(std::uint64_t* /*guard*/) {}

// Nothing that is thrown is ever caught, so throwing is the end.
void* __cxa_allocate_exception(std::size_t /*size*/) { failCheck(); }
void __cxa_free_exception(void* /*exception*/) {}
[[noreturn]] void __cxa_throw(void* /*exception*/, void* /*type*/, void (* /*destructor*/)(void*)) {
  failCheck();
}
[[noreturn]] void __cxa_rethrow() { failCheck(); }
void* __cxa_begin_catch(void* /*exception*/) { failCheck(); }
void __cxa_end_catch() {}
[[noreturn]] void __cxa_throw_bad_array_new_length() { failCheck(); }
[[noreturn]] void __cxa_pure_virtual() { failCheck(); }
[[noreturn]] void _Unwind_Resume() { failCheck(); }
// The system asks it about each frame when something fails: go on with the next one.
int __gxx_personality_seh0() { return 1; }

}  // extern "C"

namespace std {

void terminate() noexcept { failCheck(); }
void __throw_bad_alloc() { failCheck(); }
void __throw_bad_array_new_length() { failCheck(); }
void __throw_length_error(const char* /*what*/) { failCheck(); }
void __throw_logic_error(const char* /*what*/) { failCheck(); }
void __throw_out_of_range(const char* /*what*/) { failCheck(); }
void __throw_out_of_range_fmt(const char* /*what*/, ...) { failCheck(); }
void __glibcxx_assert_fail(const char* /*file*/, int /*line*/, const char* /*function*/,
                           const char* /*condition*/) noexcept {
  failCheck();
}

}  // namespace std

void* operator new(std::size_t size) {
  while (true) {
    void* const block = std::malloc(size == 0 ? 1 : size);
    if (block != nullptr) return block;
    const std::new_handler handler = std::get_new_handler();
    if (handler == nullptr) failCheck();
    handler();
  }
}
void* operator new[](std::size_t size) { return ::operator new(size); }
void operator delete(void* block) noexcept { std::free(block); }
void operator delete(void* block, std::size_t /*size*/) noexcept { std::free(block); }
void operator delete[](void* block) noexcept { std::free(block); }
void operator delete[](void* block, std::size_t /*size*/) noexcept { std::free(block); }
