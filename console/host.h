// The host's side of one program: answers to its calls, from its script, from the drawing, or by
// rule where a person would pick something.

#ifndef CONSOLE_HOST_H_
#define CONSOLE_HOST_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "console/drawing.h"
#include "console/script.h"
#include "lisp_worker/client/datum.h"
#include "lisp_worker/client/eval_result.h"

namespace lisp_worker::console {

// The note of an answer that nobody has given.
inline constexpr const char* kByRule = "picked by rule";

struct HostAnswer {
  std::string text;         // To be sent as it stands.
  std::string note;         // Its source and its effect, for a person.
  std::string failure;      // Why the program cannot go on, when it cannot; otherwise empty.
  bool is_refused = false;  // The host could not do what the call asks for; the note says why.
  // The argument that is to blame for that, counted from 0; empty when it is none of them.
  std::optional<std::size_t> refused_argument = {};
};

// A source of answers that is asked before the drawing and the rules: a file of answers, a person.
class Answerer {
 public:
  virtual ~Answerer() = default;

  // Empty when the call is none of its business. It may look at the drawing and select in it.
  virtual std::optional<HostAnswer> answer(const client::HostCall& call, Drawing& drawing) = 0;
};

// Answers from a list, each to the first call of its name. Calls that find none left go to `next`;
// without one, a GETPOINT, GETCORNER or GETDIST fails then.
class AnswerList : public Answerer {
 public:
  // `name` is that of the file, for messages. `next`, unless it is null, must outlive the list.
  AnswerList(std::string name, std::vector<ScriptedAnswer> answers, Answerer* next = nullptr)
      : name_(std::move(name)), answers_(std::move(answers)), next_(next) {}

  std::optional<HostAnswer> answer(const client::HostCall& call, Drawing& drawing) override;

  // Those that no call has asked for yet.
  [[nodiscard]] const std::vector<ScriptedAnswer>& unusedAnswers() const { return answers_; }

 private:
  std::string name_;
  std::vector<ScriptedAnswer> answers_;
  Answerer* next_;
};

class Host {
 public:
  // `drawing`, and `answerer` unless it is null, must outlive the host.
  Host(Drawing& drawing, std::vector<ScriptedAnswer> script, Answerer* answerer = nullptr);

  // Performs the call that `waiting`, of eval_status HostCallRequired, asks for. The first unused
  // scripted answer to a call of that name is the answer; the drawing is not touched then. A call
  // that cannot be read or carried out is answered with nil. `known` are the arguments when the
  // caller knows them better than from their text.
  HostAnswer answer(const client::EvalResult& waiting,
                    const std::optional<client::DatumList>& known = std::nullopt);

  // The scripted answers that no call has asked for yet.
  [[nodiscard]] const std::vector<ScriptedAnswer>& unusedAnswers() const { return script_; }

 private:
  // Each answers the calls of one or more names, and writes into `answer` all but its text.
  client::Datum pickPoint(const client::DatumList& arguments, HostAnswer& answer);
  client::Datum pickCorner(const client::DatumList& arguments, HostAnswer& answer);
  client::Datum pickDistance(const client::DatumList& arguments, HostAnswer& answer);
  client::Datum select(const client::DatumList& arguments, HostAnswer& answer);
  client::Datum getEntity(const client::DatumList& arguments, HostAnswer& answer);
  client::Datum modifyEntity(const client::DatumList& arguments, HostAnswer& answer);
  client::Datum makeEntity(const client::DatumList& arguments, HostAnswer& answer);
  client::Datum makeEntityForHandle(const client::DatumList& arguments, HostAnswer& answer);
  client::Datum command(const client::DatumList& arguments, HostAnswer& answer);
  client::Datum snap(const client::DatumList& arguments, HostAnswer& answer);

  using Operation = client::Datum (Host::*)(const client::DatumList& arguments, HostAnswer& answer);
  struct CallEntry {
    std::string_view name;
    Operation operation;
  };
  static const CallEntry kCalls[];

  Drawing& drawing_;
  std::vector<ScriptedAnswer> script_;
  Answerer* answerer_;
  std::uint32_t picked_point_count_ = 0;
};

}  // namespace lisp_worker::console

#endif  // CONSOLE_HOST_H_
