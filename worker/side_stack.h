// A stack of its own for a function that is left in the middle and continued later.
//
// The worker keeps a stopped evaluation by leaving it where it is: the evaluation runs on a side
// stack, goes back to its caller at the host call, and is entered again when the answer has come.
//
//   std::unique_ptr<SideStack> stack = SideStack::make();
//   stack->begin(body, &argument);   // runs body(&argument) until it leaves or returns
//   while (stack->isInProgress()) stack->resume();
//
// One thread does everything. Each system has a file of its own: side_stack_posix.cc switches by
// hand, because the C library's switch calls the system; side_stack_win32.cc uses fibers.

#ifndef WORKER_SIDE_STACK_H_
#define WORKER_SIDE_STACK_H_

#include <cstddef>
#include <memory>

namespace lisp_worker::worker {

class SideStack {
 public:
  using Body = void (*)(void* argument);

  // Bytes of a side stack, its guard page included: 256 KiB, which an evaluation can do with on the
  // first stack, too; more where functions are not optimised or carry a sanitizer's bookkeeping.
  [[nodiscard]] static std::size_t size();

  // A stack that nothing runs on yet. Null when this system has none to give: no memory, a
  // processor for which we have no switch, or return addresses guarded by a shadow stack, which
  // would take the switch for an attack.
  [[nodiscard]] static std::unique_ptr<SideStack> make();

  // Nothing may be in progress on it.
  virtual ~SideStack() = default;
  SideStack(const SideStack&) = delete;
  SideStack& operator=(const SideStack&) = delete;

  // Runs `body` on this stack until it leaves or returns. Nothing may be in progress.
  void begin(Body body, void* argument);

  // Continues the body after its last leave(), until it leaves again or returns.
  void resume();

  // For the body alone: goes back to begin() or resume(). Returns at the next resume().
  void leave();

  // True from begin() until the body has returned.
  [[nodiscard]] bool isInProgress() const { return is_in_progress_; }

 protected:
  SideStack() = default;

  // Runs the body to its end, on the stack. The system's file calls it and switches back.
  void runBody();

 private:
  // To the side stack, where runBody() begins or a leave() returns; and back.
  virtual void switchTo() = 0;
  virtual void switchBack() = 0;
  // Prepares the stack so that the next switchTo() enters runBody().
  virtual void prepare() = 0;

  Body body_ = nullptr;
  void* argument_ = nullptr;
  bool is_in_progress_ = false;
};

}  // namespace lisp_worker::worker

#endif  // WORKER_SIDE_STACK_H_
