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

#include "console/paper.h"
#include "lisp_worker/client/coordinates.h"
#include "lisp_worker/client/datum.h"

namespace lisp_worker::console {

struct ScriptedAnswer {
  std::string call;  // One of the host calls' names.
  std::string text;  // Sent as it stands, readable or not.
  std::size_t line = 0;

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

struct PictureWishes {
  bool axes = false;
  bool cells = false;
  PageWishes page = {};
};

struct NamedFile {
  std::string path;  // Relative to the program's own directory.
  std::size_t line = 0;
};

struct Script {
  std::optional<NamedFile> drawing;
  std::vector<NamedFile> libraries;
  PictureWishes picture;
  std::vector<ScriptedAnswer> answers;
  std::vector<client::Datum> entities;  // Groups; not yet known to make an entity.
  std::vector<SystemChange> system_changes;
  std::optional<Expectation> expectation;
  std::optional<std::size_t> expected_entity_count;  // In the drawing, when the program is over;
  std::vector<client::DatumList> expected_entities;  // and groups that an entity of it has.
  bool keeps = false;  // The program's changes of the drawing stay, also when it fails.
};

// The names of the eleven calls that a worker can make.
[[nodiscard]] bool isHostCall(std::string_view name);

// Reads the lines of `program` that begin with ";@". Empty when one of them cannot be understood,
// with its number and what is wrong in `error`.
[[nodiscard]] std::optional<Script> readScript(std::string_view program, std::string& error);

// Reads a text of lines such as GETPOINT (10 20 0) or GETPOINT 10,20, empty lines and lines that
// begin with a semicolon. Empty when one of them cannot be understood, or holds an answer that the
// worker could not read, with its number and the reason in `error`.
[[nodiscard]] std::optional<std::vector<ScriptedAnswer>> readAnswerLines(std::string_view text,
                                                                         std::string& error);

}  // namespace lisp_worker::console

#endif  // CONSOLE_SCRIPT_H_
