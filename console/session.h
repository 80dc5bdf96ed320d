// Programs carried through a worker, with everything that is said on the way printed for a person.

#ifndef CONSOLE_SESSION_H_
#define CONSOLE_SESSION_H_

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>
#include <string_view>

#include "client/coordinates.h"
#include "client/eval_result.h"
#include "client/worker_client.h"
#include "console/drawing.h"
#include "console/script.h"

namespace console {

// How a program went.
enum class ProgramEnd : std::uint8_t {
  AsExpected,  // As its script says, or with a value if it says nothing.
  Unexpected,
  Broken,  // The conversation is over; client::WorkerClient::fault says why.
};

// A program that makes more host calls is cancelled: each one evaluates it again from the start.
inline constexpr std::size_t kHostCallCountMax = 10000;

// Of a longer program only this many lines are printed, comments not counted.
inline constexpr std::size_t kProgramLineCountMax = 40;

class Session {
 public:
  // Both must outlive the session.
  Session(client::WorkerClient& worker, std::ostream& out) : worker_(worker), out_(out) {}

  // Runs `program` as `script` says and prints the conversation under `name`. The drawing is what
  // the programs before have left.
  ProgramEnd run(std::string_view name, std::string_view program, const Script& script);

  // Prints what all programs have left in the drawing.
  void printDrawing();

  [[nodiscard]] const Drawing& drawing() const { return drawing_; }

 private:
  bool addScriptedEntities(const Script& script);
  bool registerContext(const Script& script, std::size_t at_call);
  ProgramEnd converse(std::string_view program, const Script& script);
  ProgramEnd cancel(const client::EvalResult& waiting, const std::string& reason);
  ProgramEnd judge(const client::Reply<client::EvalResult>& reply, const Script& script);

  void printProgram(std::string_view program);
  void printResponse(const client::Reply<client::EvalResult>& reply, std::size_t call_count);
  void printLine(std::string_view speaker, std::string_view what, const std::string& text);
  void printChanges(const Drawing& before);

  client::WorkerClient& worker_;
  std::ostream& out_;
  Drawing drawing_;
  client::CoordContext context_;
};

}  // namespace console

#endif  // CONSOLE_SESSION_H_
