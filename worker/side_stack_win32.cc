// Side stacks of Windows: fibers, which the system switches and guards itself.

#include <windows.h>

#include <memory>

#include "worker/side_stack.h"

namespace lisp_worker::worker {
namespace {

// The system's header reads this from the thread's own segment, at an address that GCC takes for an
// array without elements.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Warray-bounds"
void* currentFiber() { return ::GetCurrentFiber(); }
#pragma GCC diagnostic pop

class Fiber final : public SideStack {
 public:
  Fiber() = default;
  ~Fiber() override {
    if (fiber_ != nullptr) ::DeleteFiber(fiber_);
  }
  [[nodiscard]] bool make() {
    // The floating-point state is part of a switch only on processors that are older than this
    // system's programs: nothing here changes the control words.
    fiber_ = ::CreateFiberEx(0, size(), 0, &Fiber::enter, this);
    return fiber_ != nullptr;
  }

 private:
  // A fiber's function must not return, so one fiber runs one body after the other.
  static void CALLBACK enter(void* fiber) {
    auto& self = *static_cast<Fiber*>(fiber);
    while (true) {
      self.runBody();
      self.switchBack();
    }
  }

  void prepare() override {}
  void switchTo() override {
    caller_ = currentFiber();
    ::SwitchToFiber(fiber_);
  }
  void switchBack() override { ::SwitchToFiber(caller_); }

  void* fiber_ = nullptr;
  void* caller_ = nullptr;
};

// Only a fiber can switch to a fiber.
bool becomeFiber() {
  static const bool is_fiber =
      ::IsThreadAFiber() != 0 || ::ConvertThreadToFiber(nullptr) != nullptr;
  return is_fiber;
}

}  // namespace

std::unique_ptr<SideStack> SideStack::make() {
  if (!becomeFiber()) return nullptr;
  auto fiber = std::make_unique<Fiber>();
  if (!fiber->make()) return nullptr;
  return fiber;
}

}  // namespace lisp_worker::worker
