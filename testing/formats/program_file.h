// Programs that carry their answers: the files in testing/programs/ and the `lisp` blocks of
// docs/LANGUAGE.md. Both have the same notation, which testing/programs/README.md describes.
//
//   (LIST (GETDIST) 1)
//   ; host call: GETDIST ()
//   ; answer: 2.5
//   ; => (2.5 1)

#ifndef TESTING_FORMATS_PROGRAM_FILE_H_
#define TESTING_FORMATS_PROGRAM_FILE_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "testing/wire/frame_port.h"

namespace lisp_worker::testing_support {

// One step of a script: a request to send, or what must hold for the response to the last one.
struct ScriptStep {
  enum class Kind {
    Register,   // A context; `frame` is complete.
    Start,      // A program; `frame` is complete.
    Answer,     // `frame`, with the run id of the last call instead of its own.
    Resume,     // `frame` is complete.
    Cancel,     // `frame` is complete.
    Value,      // Expect `text` as the value.
    ReadError,  // Expect the message `text`; likewise the next two.
    EvalError,
    StepLimit,
    Call,       // Expect a call of `name` with the arguments `text`.
    Status,     // Expect status `number` and no payload.
    Steps,      // Expect `number` evaluation steps.
    Run,        // Expect the run id `number`.
    Arguments,  // Expect an argument count of `number`.
  };

  Kind kind = Kind::Start;
  int line = 0;  // Of the file, from 1.
  Frame frame{};
  std::string name{};
  std::string text{};
  std::uint64_t number = 0;
};

struct ProgramFile {
  std::vector<ScriptStep> steps;
  // Mistakes of the file itself, each with its line; empty for a good file.
  std::vector<std::string> errors;
};

// `first_line` is the number of the text's first line, where the text is a part of a file.
[[nodiscard]] ProgramFile parseProgramFile(std::string_view text, int first_line = 1);

// Sends the requests to `port` and compares its responses. Returns a line for everything that does
// not hold, beginning with the number of the line that says so; none when all is well.
[[nodiscard]] std::vector<std::string> runProgramFile(const ProgramFile& file, FramePort& port);

}  // namespace lisp_worker::testing_support

#endif  // TESTING_FORMATS_PROGRAM_FILE_H_
