// The comments in which a program says how the console is to run it. command_line.cc lists them
// for the user.

#ifndef CONSOLE_SCRIPT_H_
#define CONSOLE_SCRIPT_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "client/coordinates.h"
#include "client/datum.h"

namespace console {

struct ScriptedAnswer {
  std::string call;  // One of the host calls' names.
  std::string text;  // Sent as it stands, readable or not.

  friend bool operator==(const ScriptedAnswer&, const ScriptedAnswer&) = default;
};

struct SystemChange {
  std::size_t system = 0;
  std::size_t at_call = 0;  // Counted from 1; 0 before the program starts.
  client::PlanarSystem value;
};

struct Expectation {
  enum class Kind : std::uint8_t { Value, Error, Refusal };

  Kind kind = Kind::Value;
  std::string text;  // A datum, a message, the name of a status.
};

struct Script {
  std::vector<ScriptedAnswer> answers;
  std::vector<client::Datum> entities;  // Groups; not yet known to make an entity.
  std::vector<SystemChange> system_changes;
  std::optional<Expectation> expectation;
};

// The names of the eleven calls that a worker can make.
[[nodiscard]] bool isHostCall(std::string_view name);

// Reads the lines of `program` that begin with ";@". Empty when one of them cannot be understood,
// with its number and what is wrong in `error`.
[[nodiscard]] std::optional<Script> readScript(std::string_view program, std::string& error);

}  // namespace console

#endif  // CONSOLE_SCRIPT_H_
