// Options that both kinds of workers of the C interface read: the path of the worker's program, its
// observers, and limits of time.

#ifndef C_INTERFACE_PROGRAM_FILE_H_
#define C_INTERFACE_PROGRAM_FILE_H_

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <limits>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "c_interface/objects.h"
#include "c_interface/observers.h"
#include "client/system_text.h"

namespace lisp_worker::c_interface {

// The path of a program, in UTF-8; up to its first zero when the size is zero. Empty, with the
// reason in `reason_out`, when it holds a zero: the system would take the part before.
[[nodiscard]] inline std::optional<std::string> programPath(const char* path, std::size_t size,
                                                            const char** reason_out) {
  const std::string_view text = viewOf(path, size == 0 ? LISP_TO_ZERO : size);
  if (text.find('\0') == text.npos) return std::string(text);
  *reason_out = "the path holds a zero";
  return std::nullopt;
}

// The options of a worker, and the objects made of those that both kinds have.
template <typename Options>
struct WorkerSetup {
  Options options;
  std::string path;
  std::unique_ptr<Observers> observers;
};

// Empty, with the reason in `reason_out` unless that is null, when an option cannot be used.
template <typename Options>
[[nodiscard]] std::optional<WorkerSetup<Options>> readSetup(const Options* given,
                                                            const char** reason_out) {
  const char* reason = nullptr;
  if (reason_out == nullptr) reason_out = &reason;
  *reason_out = nullptr;
  const std::optional<Options> options = readStructure(given, reason_out);
  if (!options) return std::nullopt;
  std::optional<std::string> path = programPath(options->path, options->path_size, reason_out);
  if (!path) return std::nullopt;
  auto observers = Observers::create(options->recorder, options->observer, reason_out);
  if (observers == nullptr) return std::nullopt;
  return WorkerSetup<Options>{*options, *std::move(path), std::move(observers)};
}

// Has `start` start the program; its reason names the program.
template <typename Start>
auto startProgram(const std::string& path, Start start, std::string* error_out)
    -> decltype(start(std::filesystem::path(), error_out)) {
  const std::optional<std::filesystem::path> file = client::pathFromText(path);
  if (!file) {
    *error_out = path + ": the path is not UTF-8";
    return nullptr;
  }
  auto started = start(*file, error_out);
  if (started == nullptr) *error_out = path + ": " + *error_out;
  return started;
}

// A number of milliseconds, or the most that the clock's type holds.
[[nodiscard]] inline std::chrono::milliseconds millisecondsOf(std::uint64_t count) {
  constexpr auto kMost = std::numeric_limits<std::int64_t>::max();
  const bool fits = count <= static_cast<std::uint64_t>(kMost);
  return std::chrono::milliseconds(fits ? static_cast<std::int64_t>(count) : kMost);
}

// A limit of a structure: 0 is the default, LISP_NO_LIMIT none, which is 0 in client/.
[[nodiscard]] inline std::chrono::milliseconds limitOf(std::uint64_t limit_ms,
                                                       std::chrono::milliseconds otherwise) {
  if (limit_ms == 0) return otherwise;
  return limit_ms == LISP_NO_LIMIT ? std::chrono::milliseconds(0) : millisecondsOf(limit_ms);
}

}  // namespace lisp_worker::c_interface

#endif  // C_INTERFACE_PROGRAM_FILE_H_
