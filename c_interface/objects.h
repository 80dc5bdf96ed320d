// The objects behind the C interface's pointers, and what its functions share.
//
// A value is a view of a Datum, its own or one inside another value, so that an element is borrowed
// without a copy of it. Texts that are lent live in the objects (lend). Every pointer of a host may
// be null, so each function asks first; viewOf, datumOf and reportOf know what null means.

#ifndef C_INTERFACE_OBJECTS_H_
#define C_INTERFACE_OBJECTS_H_

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "lisp_worker/c_interface/lisp_worker.h"
#include "lisp_worker/client/coordinates.h"
#include "lisp_worker/client/datum.h"
#include "lisp_worker/client/eval_result.h"
#include "lisp_worker/client/process.h"
#include "lisp_worker/client/run.h"
#include "lisp_worker/client/worker_client.h"
#include "lisp_worker/session/recorder.h"

// NOLINTBEGIN(readability-identifier-naming): the names are C's.

struct lisp_value {
  // Members that few values need. They are apart so that the many elements of a list stay small.
  struct Extras {
    lisp_worker::client::Datum own;  // Unless the value is borrowed.
    std::string error;               // The message of an error, which is_error tells.
    bool is_error = false;
    std::optional<std::string> printed;  // Once it has been asked for.
    std::vector<lisp_value> elements;    // Of a list, once one of them has been asked for.
  };

  // Borrows `datum`, which must outlive the value.
  explicit lisp_value(const lisp_worker::client::Datum& borrowed) : datum(&borrowed) {}

  explicit lisp_value(lisp_worker::client::Datum&& taken)
      : datum(nullptr), extras(std::make_unique<Extras>()) {
    extras->own = std::move(taken);
    datum = &extras->own;
  }

  const lisp_worker::client::Datum* datum;
  mutable std::unique_ptr<Extras> extras;
};

struct lisp_call {
  explicit lisp_call(const lisp_worker::client::HostCall& call)
      : name(call.name),
        text(call.text),
        unreadable(call.unreadable),
        arguments(lisp_worker::client::list(call.arguments)) {}

  lisp_call(const lisp_call& other)
      : name(other.name),
        text(other.text),
        unreadable(other.unreadable),
        arguments(lisp_worker::client::Datum(*other.arguments.datum)) {}
  lisp_call& operator=(const lisp_call&) = delete;
  ~lisp_call() = default;

  std::string name;
  std::string text;
  std::string unreadable;  // Why there are no arguments; empty when there are.
  lisp_value arguments;
};

struct lisp_run {
  explicit lisp_run(lisp_worker::client::RunReport ended);
  lisp_run(const lisp_run&) = delete;  // The result borrows from the report.
  lisp_run& operator=(const lisp_run&) = delete;
  ~lisp_run() = default;

  lisp_worker::client::RunReport report;
  int end;                                // LISP_END_VALUE to LISP_END_WORKER_LOST.
  std::uint64_t id = 0;                   // Of a run that waits,
  std::unique_ptr<const lisp_call> call;  // for the answer to this.
  std::vector<std::string> warnings;      // Of the report, as sentences.
  std::optional<lisp_value> result;       // Borrows the report's value.
};

struct lisp_recorder {
  std::shared_ptr<lisp_worker::session::Recorder> recorder;  // Null: it has not begun,
  std::string reason;                                        // for this reason.
  mutable std::string failure;                               // Lent.
};

// NOLINTEND(readability-identifier-naming)

namespace lisp_worker::c_interface {

// The text at a pointer that may be null; up to its first zero when the size is LISP_TO_ZERO.
[[nodiscard]] inline std::string_view viewOf(const char* text) {
  return text == nullptr ? std::string_view() : std::string_view(text);
}
[[nodiscard]] inline std::string_view viewOf(const char* bytes, std::size_t size) {
  if (size == LISP_TO_ZERO) return viewOf(bytes);
  return bytes == nullptr ? std::string_view() : std::string_view(bytes, size);
}

[[nodiscard]] const client::Datum& datumOf(const lisp_value* value);
[[nodiscard]] const client::RunReport& reportOf(const lisp_run* run);

// Keeps `text` where it can be borrowed from. An equal one that was lent before stays.
const char* lend(std::string& place, std::string_view text);

// Hands out a text that lives elsewhere, with a zero after it.
const char* giveText(std::string_view text, std::size_t* size_out);

// An error with its message. Anywhere but as an answer or the result of a reader it is nil.
[[nodiscard]] std::unique_ptr<lisp_value> makeError(std::string_view message);

// The message of an error; null for a value.
[[nodiscard]] const std::string* errorOf(const lisp_value* value);

// The run that the host has ended because it failed to perform a call.
[[nodiscard]] std::unique_ptr<lisp_run> makeHostError(client::RunReport report,
                                                      std::string_view call_name,
                                                      std::string_view message);

// The end of a process as the C interface numbers it.
[[nodiscard]] int exitKindOf(const std::optional<client::WorkerExit>& exit);
[[nodiscard]] std::int64_t exitCodeOf(const std::optional<client::WorkerExit>& exit);

// The context that a host has given as arrays, neither of them null.
[[nodiscard]] client::CoordContext contextOf(std::uint64_t id, const double* systems,
                                             const double* cell_plane, double cell_size,
                                             std::uint64_t cell_key_seed, std::uint32_t tag);

// A host's structure as this version knows it; the members that the host does not know are zero.
// Null gives the defaults. Empty, with the reason in `reason_out`, for a size that no version has.
template <typename Structure>
[[nodiscard]] std::optional<Structure> readStructure(const Structure* given,
                                                     const char** reason_out) {
  Structure known{};
  if (given == nullptr) return known;
  if (given->size > sizeof(Structure)) {
    *reason_out = "a structure is larger than this version of the library knows";
    return std::nullopt;
  }
  if (given->size < sizeof(given->size) || given->size % alignof(Structure) != 0) {
    *reason_out = "a structure does not begin with its size";
    return std::nullopt;
  }
  std::memcpy(&known, given, given->size);
  return known;
}

}  // namespace lisp_worker::c_interface

#endif  // C_INTERFACE_OBJECTS_H_
