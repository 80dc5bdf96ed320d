// Side stacks of POSIX systems: memory with a guard page below it, and a switch by hand.

#include <sys/mman.h>
#include <unistd.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>

#include "worker/side_stack.h"

#ifdef LISP_SANITIZE
#include <sanitizer/common_interface_defs.h>
#endif

namespace lisp_worker::worker {

#ifdef __x86_64__

// lispSwitchStack(void** from, void* to): puts the registers that a function must preserve
// (System V ABI, AMD64, "Registers") on the stack in use, stores the stack's address in *from and
// continues on the stack at `to`, which was left in the same way. The floating-point control words
// are not switched: nothing here changes them.
//
// lispBeginOnStack: what a fresh stack returns to. Calls the function in rbx with the pointer in
// r12; that function never returns.
extern "C" void lispSwitchStack(void** from, void* to);
extern "C" void lispBeginOnStack();

asm(R"(
  .text
  .p2align 4
  .globl lispSwitchStack
  .hidden lispSwitchStack
  .type lispSwitchStack, @function
lispSwitchStack:
  endbr64
  pushq %rbp
  pushq %rbx
  pushq %r12
  pushq %r13
  pushq %r14
  pushq %r15
  movq %rsp, (%rdi)
  movq %rsi, %rsp
  popq %r15
  popq %r14
  popq %r13
  popq %r12
  popq %rbx
  popq %rbp
  ret
  .size lispSwitchStack, . - lispSwitchStack

  .p2align 4
  .globl lispBeginOnStack
  .hidden lispBeginOnStack
  .type lispBeginOnStack, @function
lispBeginOnStack:
  .cfi_startproc
  .cfi_undefined rip
  endbr64
  movq %r12, %rdi
  callq *%rbx
  ud2
  .cfi_endproc
  .size lispBeginOnStack, . - lispBeginOnStack
)");

namespace {

// The address of the shadow stack, which changes with every call; 0 where there is none. The
// instruction does nothing on processors and systems that do not have it.
bool hasShadowStack() {
  std::uint64_t address = 0;
  asm volatile("rdsspq %0" : "+r"(address));
  return address != 0;
}

class SwitchedStack final : public SideStack {
 public:
  explicit SwitchedStack(std::byte* memory) : memory_(memory) {}
  ~SwitchedStack() override { ::munmap(memory_, size()); }

 private:
  void prepare() override {
    // lispSwitchStack takes off, from the lowest address: r15, r14, r13, r12, rbx, rbp, the
    // return address. After that the stack is aligned to 16 bytes, as before any call.
    auto* const top = reinterpret_cast<std::uintptr_t*>(memory_ + size() - 16);
    const std::array<std::uintptr_t, 7> registers = {
        0,
        0,
        0,
        reinterpret_cast<std::uintptr_t>(this),
        reinterpret_cast<std::uintptr_t>(&SwitchedStack::enter),
        0,
        reinterpret_cast<std::uintptr_t>(&lispBeginOnStack)};
    std::uintptr_t* const bottom = top - registers.size();
    for (std::size_t i = 0; i < registers.size(); ++i) bottom[i] = registers[i];
    position_ = bottom;
  }

  static void enter(void* stack) {
    auto& self = *static_cast<SwitchedStack*>(stack);
    self.finishSwitchTo();
    self.runBody();
    self.switchBack();
    __builtin_unreachable();
  }

#ifdef LISP_SANITIZE
  // AddressSanitizer is told of every switch: where the other stack is, and where the frames are
  // that it keeps elsewhere to see their use after a return.
  void switchTo() override {
    __sanitizer_start_switch_fiber(&caller_frames_, memory_, size());
    lispSwitchStack(&caller_position_, position_);
    __sanitizer_finish_switch_fiber(caller_frames_, nullptr, nullptr);
  }
  void finishSwitchTo() {
    __sanitizer_finish_switch_fiber(frames_, &caller_bottom_, &caller_size_);
  }
  void switchBack() override {
    // A body that has ended leaves no frames behind.
    void** const frames = isInProgress() ? &frames_ : nullptr;
    __sanitizer_start_switch_fiber(frames, caller_bottom_, caller_size_);
    if (frames == nullptr) frames_ = nullptr;
    lispSwitchStack(&position_, caller_position_);
    finishSwitchTo();
  }
  void* frames_ = nullptr;
  void* caller_frames_ = nullptr;
  const void* caller_bottom_ = nullptr;
  std::size_t caller_size_ = 0;
#else
  void switchTo() override { lispSwitchStack(&caller_position_, position_); }
  void finishSwitchTo() {}
  void switchBack() override { lispSwitchStack(&position_, caller_position_); }
#endif

  std::byte* memory_;                // The guard page comes first.
  void* position_ = nullptr;         // Of the side stack, while it is left.
  void* caller_position_ = nullptr;  // Of the other one, while the side stack is in use.
};

}  // namespace

std::unique_ptr<SideStack> SideStack::make() {
  if (hasShadowStack()) return nullptr;
  constexpr int kFlags = MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE | MAP_STACK;
  void* const memory = ::mmap(nullptr, size(), PROT_NONE, kFlags, -1, 0);
  if (memory == MAP_FAILED) return nullptr;
  auto stack = std::make_unique<SwitchedStack>(static_cast<std::byte*>(memory));
  // All but the guard page. The worker may map memory, but not change what mapped memory is for.
  const auto guard_size = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  if (::mmap(static_cast<std::byte*>(memory) + guard_size, size() - guard_size,
             PROT_READ | PROT_WRITE, kFlags | MAP_FIXED, -1, 0) == MAP_FAILED) {
    return nullptr;
  }
  return stack;
}

#else

std::unique_ptr<SideStack> SideStack::make() { return nullptr; }

#endif

}  // namespace lisp_worker::worker
