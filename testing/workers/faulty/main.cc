// lisp_faulty_worker: the worker, but that it fails at a given byte in a given way.

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#include "testing/workers/faulty/orders.h"
#include "worker/loop.h"
#include "worker/stdio.h"

namespace lisp_worker::testing_support {
namespace {

// Longer than any test waits; a host that dies leaves no stalled worker behind for good.
constexpr std::chrono::seconds kLongWhile{30};

constexpr std::chrono::milliseconds kDribblePause{10};

[[noreturn]] void stall() {
  std::this_thread::sleep_for(kLongWhile);
  std::_Exit(kFaultExitCode);
}

bool isFaultOfInput(FaultKind kind) {
  return kind == FaultKind::InputExit || kind == FaultKind::InputStall ||
         kind == FaultKind::CloseInput;
}

class FaultyInput : public worker::ByteReader {
 public:
  FaultyInput(worker::ByteReader& input, const FaultOrders& orders)
      : input_(input), orders_(orders) {}

  bool readExact(std::span<char> destination) override {
    if (isFaultOfInput(orders_.kind) && orders_.position - position_ <= destination.size()) {
      const auto before = static_cast<std::size_t>(orders_.position - position_);
      if (input_.readExact(destination.first(before)) && before < destination.size()) fail();
      position_ += before;
      destination = destination.subspan(before);
    }
    position_ += destination.size();
    return input_.readExact(destination);
  }

 private:
  [[noreturn]] void fail() {
    if (orders_.kind == FaultKind::InputExit) std::_Exit(kFaultExitCode);
    if (orders_.kind == FaultKind::CloseInput) std::fclose(stdin);
    stall();
  }

  worker::ByteReader& input_;
  FaultOrders orders_;
  std::uint64_t position_ = 0;
};

class FaultyOutput : public worker::ByteWriter {
 public:
  FaultyOutput(worker::ByteWriter& output, const FaultOrders& orders)
      : output_(output), orders_(orders) {}

  bool writeExact(std::string_view bytes) override {
    std::string changed(bytes);
    const std::uint64_t begin = position_;
    position_ += bytes.size();
    const bool is_due = orders_.kind != FaultKind::None && !isFaultOfInput(orders_.kind) &&
                        orders_.position >= begin && orders_.position < position_;
    if (is_due) {
      const auto offset = static_cast<std::size_t>(orders_.position - begin);
      if (orders_.kind != FaultKind::FlipByte) {
        if (offset == 0 || output_.writeExact(bytes.substr(0, offset))) fail();
        return false;
      }
      changed[offset] = static_cast<char>(~changed[offset]);
    }
    return output_.writeExact(changed);
  }

 private:
  [[noreturn]] void fail() {
    switch (orders_.kind) {
      case FaultKind::Exit:
        std::_Exit(kFaultExitCode);
      case FaultKind::Crash:
        std::abort();
      case FaultKind::CloseOutput:
        std::fclose(stdout);
        stall();
      case FaultKind::Rubbish:
        while (output_.writeExact("rubbish")) {
        }
        std::_Exit(kFaultExitCode);
      case FaultKind::Dribble:
        while (output_.writeExact("x")) std::this_thread::sleep_for(kDribblePause);
        std::_Exit(kFaultExitCode);
      default:
        stall();
    }
  }

  worker::ByteWriter& output_;
  FaultOrders orders_;
  std::uint64_t position_ = 0;
};

int run() {
  worker::keepAliveOnBrokenPipe();
  worker::StandardInput input;
  worker::StandardOutput output;
  std::array<char, kOrdersSize> bytes{};
  if (!input.readExact(bytes)) return 0;
  const FaultOrders orders = decodeOrders(bytes.data());
  FaultyInput faulty_input(input, orders);
  FaultyOutput faulty_output(output, orders);
  return static_cast<int>(worker::runWorker(faulty_input, faulty_output));
}

}  // namespace
}  // namespace lisp_worker::testing_support

int main() { return lisp_worker::testing_support::run(); }
