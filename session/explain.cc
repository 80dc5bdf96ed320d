// Explains where two conversations part. Both are reduced to courses: for each evaluation the call
// that it stopped at, or its end. The first pair of courses that differ is shown side by side, and
// then the cause is looked for, from the surest to the vaguest: something that the host sent
// differently before (findChangedRequest), and only then something about the two calls themselves
// (compareCalls).
//
// A divergence inside one session has no second conversation. So the run is held once more on a
// worker of its own, under the contexts of the moment at which it diverged (remakeRun): its courses
// are the other side.

#include "lisp_worker/session/explain.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>
#include <vector>

#include "lisp_worker/client/answer_text.h"
#include "lisp_worker/client/names.h"
#include "lisp_worker/client/number_text.h"
#include "lisp_worker/client/worker_text.h"
#include "lisp_worker/session/replay.h"
#include "lisp_worker/session/show.h"
#include "session/conversation.h"
#include "session/difference.h"
#include "session/plain_text.h"

namespace lisp_worker::session {

using client::Datum;
using client::DatumList;
using client::EvalStatus;

namespace {

constexpr std::size_t kNameWidth = 14;
constexpr std::size_t kColumnWidth = 40;
constexpr std::size_t kLineWidth = 96;
constexpr std::size_t kArgumentRowsMax = 10;

constexpr std::string_view kDivergenceMessage = "LISP host replay divergence at call ";
constexpr std::string_view kUnusedMessage = "LISP host replay transcript has unused answers";

// The end of an evaluation, as two are compared: a call with its arguments, or an end with its
// text.
struct Course {
  bool is_call = false;
  std::string name;               // Of the call, or of the end: "EvalFailed".
  std::string text;               // The arguments as one list, or the text of the end.
  std::optional<Datum> contents;  // The same as a value, if it can be read.

  friend bool operator==(const Course& a, const Course& b) {
    return a.is_call == b.is_call && a.name == b.name && a.text == b.text;
  }
};

Course courseOf(const Evaluation* evaluation) {
  if (evaluation == nullptr)
    return {.is_call = false, .name = "(nothing)", .text = {}, .contents = {}};
  Course course;
  if (!evaluation->result) {
    course.name = evaluation->is_answered ? std::string(client::statusName(evaluation->status))
                                          : "(no response)";
    return course;
  }
  course.is_call = evaluation->result->eval_status == EvalStatus::HostCallRequired;
  course.name = course.is_call ? evaluation->result->call_name
                               : std::string(client::statusName(evaluation->status));
  course.text = evaluation->result->text;
  if (course.is_call || evaluation->result->eval_status == EvalStatus::Value) {
    course.contents = client::readWorkerText(course.text, nullptr);
  }
  return course;
}

bool holdsNaN(const Course& course) {
  return course.contents && session::holdsNaN(*course.contents);
}

// --- The table ----------------------------------------------------------------------------------

std::string row(const std::string& name, const std::string& recorded, const std::string& made,
                bool differs) {
  return padded(name, kNameWidth) + padded(plainText(recorded, kColumnWidth), kColumnWidth) + "  " +
         padded(plainText(made, kColumnWidth), kColumnWidth) + (differs ? "  <" : "");
}

const DatumList& argumentsOf(const Course& course) {
  static const DatumList kNone;
  const DatumList* const elements =
      course.is_call && course.contents ? client::asList(*course.contents) : nullptr;
  return elements == nullptr ? kNone : *elements;
}

// Both courses side by side, a row for the name and one for each argument, and the way to the
// first difference.
std::vector<std::string> compareCourses(const Course& recorded, const Course& made) {
  std::vector<std::string> lines;
  lines.push_back(row("", "recorded", "made", false));
  lines.push_back(row(recorded.is_call || made.is_call ? "call" : "end", recorded.name, made.name,
                      recorded.name != made.name));
  const DatumList& a = argumentsOf(recorded);
  const DatumList& b = argumentsOf(made);
  const std::size_t count = std::max(a.size(), b.size());
  for (std::size_t index = 0; index < std::min(count, kArgumentRowsMax); ++index) {
    const auto text = [index](const DatumList& arguments) {
      return index < arguments.size() ? client::printDatum(arguments[index]) : std::string();
    };
    const bool differs = index >= a.size() || index >= b.size() || !(a[index] == b[index]);
    lines.push_back(row("argument " + std::to_string(index + 1), text(a), text(b), differs));
  }
  if (count > kArgumentRowsMax) {
    lines.push_back(row("", "... " + std::to_string(a.size()) + " in all",
                        "... " + std::to_string(b.size()) + " in all", a.size() != b.size()));
  }
  const bool needs_text =
      (!recorded.is_call && !recorded.text.empty()) || (!made.is_call && !made.text.empty()) ||
      (recorded.is_call && !recorded.contents) || (made.is_call && !made.contents);
  if (needs_text) {
    const auto text = [](const Course& course) {
      return course.is_call && course.contents ? std::string() : course.text;
    };
    lines.push_back(row("text", text(recorded), text(made), text(recorded) != text(made)));
  }
  if (recorded.contents && made.contents && recorded.is_call == made.is_call &&
      recorded.name == made.name) {
    const auto found = firstDifferentElement(*recorded.contents, *made.contents,
                                             recorded.is_call ? "argument" : "element");
    if (found) {
      lines.push_back(plainText("first difference: " + found->path + ": " +
                                    plainText(found->recorded, kColumnWidth) + " became " +
                                    plainText(found->made, kColumnWidth),
                                kLineWidth + kColumnWidth));
    }
  }
  return lines;
}

// --- Causes -------------------------------------------------------------------------------------

struct Reason {
  Cause cause;
  std::vector<std::string> details;
};

// The first number in which two payloads of RegisterContext differ, by its name.
std::string describeContextChange(std::string_view before, std::string_view after) {
  using System = worker::PlanarOffset;
  static constexpr std::array<std::pair<std::string_view, std::size_t>, 8> kFields = {{
      {"origin_x", System::kOriginX},
      {"origin_y", System::kOriginY},
      {"a", System::kA},
      {"b", System::kB},
      {"c", System::kC},
      {"d", System::kD},
      {"z_scale", System::kZScale},
      {"z_offset", System::kZOffset},
  }};
  using Offset = worker::ContextOffset;
  if (before.size() != worker::kContextPayloadSize || after.size() != before.size()) {
    return before.empty() ? "it was not there before" : "it is not a context any more";
  }
  const auto change = [&](const std::string& name, std::size_t offset) {
    return name + ": " + client::printNumber(worker::getF64(before.data() + offset)) + " became " +
           client::printNumber(worker::getF64(after.data() + offset));
  };
  const auto differs = [&](std::size_t offset) {
    return before.substr(offset, sizeof(double)) != after.substr(offset, sizeof(double));
  };
  for (std::size_t system = 0; system <= worker::kSystemCount; ++system) {
    const std::string owner = system < worker::kSystemCount ? "system " + std::to_string(system)
                                                            : std::string("cell plane");
    for (const auto& [name, field] : kFields) {
      const std::size_t offset = Offset::kSystems + system * worker::kPlanarSystemSize + field;
      if (differs(offset)) return change(owner + ", " + std::string(name), offset);
    }
  }
  if (differs(Offset::kCellSize)) return change("cell_size", Offset::kCellSize);
  return "its id, seed or tag";
}

static_assert(worker::ContextOffset::kCellPlane ==
              worker::ContextOffset::kSystems + worker::kSystemCount * worker::kPlanarSystemSize);

// "line 3: (SETQ A 1) became (SETQ A 2)"
std::string describeTextChange(std::string_view before, std::string_view after) {
  std::size_t line = 1;
  for (;;) {
    const std::string_view a = before.substr(0, before.find('\n'));
    const std::string_view b = after.substr(0, after.find('\n'));
    if (a != b || a.size() == before.size() || b.size() == after.size()) {
      return "line " + std::to_string(line) + ": " + plainText(a, kColumnWidth) + " became " +
             plainText(b, kColumnWidth);
    }
    before.remove_prefix(a.size() + 1);
    after.remove_prefix(b.size() + 1);
    ++line;
  }
}

// The earliest request, up to that of evaluation `index`, in which the hosts differ.
std::optional<Reason> findChangedRequest(const Conversation& recorded, const Conversation& made,
                                         std::size_t index) {
  const std::size_t last =
      std::min({index + 1, recorded.evaluations.size(), made.evaluations.size()});
  for (std::size_t each = 0; each < last; ++each) {
    const Evaluation& a = recorded.evaluations[each];
    const Evaluation& b = made.evaluations[each];
    const Run& run = recorded.runs[a.run];
    if (a.context != b.context) {
      return Reason{Cause::ContextReplaced,
                    {"coordinate context " + std::to_string(run.context_id) + " at record " +
                         std::to_string(a.request_record) + " is another one",
                     describeContextChange(a.context, b.context)}};
    }
    if (a.text == b.text) continue;
    if (a.answer_count == 0 || b.answer_count == 0) {
      return Reason{
          Cause::DefinitionsChanged,
          {"the program at record " + std::to_string(a.request_record) + " has another text",
           describeTextChange(a.text, b.text)}};
    }
    return Reason{Cause::AnswerChanged,
                  {"the answer at record " + std::to_string(a.request_record) + " is another one",
                   plainText(a.text, kColumnWidth) + " became " + plainText(b.text, kColumnWidth)}};
  }
  return std::nullopt;
}

// True when the run of `evaluation` makes `call` after it.
bool isMadeLater(const Conversation& conversation, const Evaluation& evaluation,
                 const Course& call) {
  const std::vector<std::size_t>& evaluations = conversation.runs[evaluation.run].evaluations;
  return std::any_of(evaluations.begin(), evaluations.end(), [&](std::size_t index) {
    const Evaluation& later = conversation.evaluations[index];
    return later.answer_count > evaluation.answer_count && courseOf(&later) == call;
  });
}

// The difference between the two courses themselves, when both were asked the same.
Reason compareCalls(const Conversation& recorded, const Evaluation& a, const Course& before,
                    const Conversation& made, const Evaluation& b, const Course& after) {
  if (holdsNaN(before) && before.name == after.name) {
    return {Cause::NotANumber, {"NaN equals nothing, itself included"}};
  }
  if (!before.is_call && !after.is_call) {
    return {Cause::Result, {"the same calls with the same answers led to another end"}};
  }
  if (!before.is_call) return {Cause::Count, {"a call is made where the program had ended"}};
  if (!after.is_call) return {Cause::Count, {"the program ends where it had made a call"}};
  const bool recorded_comes_later = isMadeLater(made, b, before);
  const bool made_comes_later = isMadeLater(recorded, a, after);
  if (recorded_comes_later && made_comes_later) {
    return {Cause::Order, {"both calls are made, in the other order"}};
  }
  if (recorded_comes_later) return {Cause::Count, {"a call is made that was not made before"}};
  if (made_comes_later) return {Cause::Count, {"the call on record is left out"}};
  if (before.name == after.name) return {Cause::Argument, {"the same function is called"}};
  return {Cause::OtherCall, {"neither call is made on the other side"}};
}

// --- The whole text -----------------------------------------------------------------------------

Explanation compose(const std::string& title, std::vector<std::string> table,
                    const Reason& reason) {
  std::vector<std::string> lines = {title};
  lines.insert(lines.end(), std::make_move_iterator(table.begin()),
               std::make_move_iterator(table.end()));
  lines.push_back("likely cause: " + std::string(causeName(reason.cause)));
  for (const std::string& detail : reason.details) lines.push_back("  " + detail);
  std::string text;
  for (std::string& line : lines) {
    line.erase(line.find_last_not_of(' ') + 1);
    text += line + "\n";
  }
  return {reason.cause, std::move(text)};
}

std::string titleOf(const Evaluation& evaluation) {
  return "run " + std::to_string(evaluation.run + 1) + ", after " +
         counted(evaluation.answer_count, "answer") + ", record " +
         std::to_string(evaluation.request_record);
}

// The first evaluation whose course differs, if both sessions have one there.
std::optional<std::size_t> firstDifferentCourse(const Conversation& recorded,
                                                const Conversation& made) {
  const std::size_t count = std::max(recorded.evaluations.size(), made.evaluations.size());
  for (std::size_t index = 0; index < count; ++index) {
    if (index >= recorded.evaluations.size() || index >= made.evaluations.size()) return index;
    if (!(courseOf(&recorded.evaluations[index]) == courseOf(&made.evaluations[index]))) {
      return index;
    }
  }
  return std::nullopt;
}

Explanation explainRecords(const RecordedSession& recorded, const RecordedSession& made,
                           std::size_t number) {
  const auto line = [number](const RecordedSession& session) {
    return number < session.records.size() ? describeRecord(session.records[number], number)
                                           : std::string("(the session has ended)");
  };
  const auto is_broken = [number](const RecordedSession& session) {
    return number < session.records.size() && session.records[number].kind == RecordKind::Broken;
  };
  const bool has_ended = is_broken(recorded) != is_broken(made);
  return compose("the sessions differ at record " + std::to_string(number),
                 {"recorded: " + plainText(line(recorded), kLineWidth),
                  "made:     " + plainText(line(made), kLineWidth)},
                 has_ended ? Reason{Cause::WorkerEnded, {}} : Reason{Cause::OtherFrame, {}});
}

// "LISP host replay divergence at call 3: GETPOINT" taken apart; 0 when it is another message.
std::size_t divergentCall(const std::string& message, std::string& name) {
  if (!message.starts_with(kDivergenceMessage)) return 0;
  std::size_t number = 0;
  const char* const end = message.data() + message.size();
  const auto read = std::from_chars(message.data() + kDivergenceMessage.size(), end, number);
  if (end - read.ptr > 2) name.assign(read.ptr + 2, end);
  return number;
}

// The course that the run of `evaluation` would take if it were started where it ended: under the
// contexts of that moment, on the variables of its own start, with its own answers. A course for
// each evaluation.
std::vector<Course> remakeRun(const RecordedSession& session, const Conversation& conversation,
                              const Evaluation& evaluation, const client::WorkerStarter& starter,
                              std::chrono::milliseconds time_limit) {
  const Run& run = conversation.runs[evaluation.run];
  const std::size_t start = conversation.evaluations[run.evaluations[0]].request_record;
  RecordedSession again;
  const auto add = [&](std::size_t record) {
    again.records.push_back(session.records[record]);
    again.records.push_back({RecordKind::Response, 0, {}});
  };
  // The same requests lead to the same variables, and to the same run ids.
  std::size_t begin = start;
  while (begin > 0 && session.records[begin].kind != RecordKind::Start) --begin;
  for (std::size_t record = begin; record < start; ++record) {
    if (session.records[record].kind == RecordKind::Request) add(record);
  }
  for (const Registration& registration : conversation.registrations) {
    if (registration.record > start && registration.record < evaluation.request_record) {
      add(registration.record);
    }
  }
  const std::size_t start_again = again.records.size();
  for (std::size_t answer = 0; answer <= evaluation.answer_count; ++answer) {
    add(conversation.evaluations[run.evaluations[answer]].request_record);
  }

  const ReplayReport report = replaySession(again, starter, time_limit);
  const Conversation remade = understand(report.made);
  std::vector<Course> courses;
  for (const Run& each : remade.runs) {
    if (remade.evaluations[each.evaluations[0]].request_record != start_again) continue;
    for (const std::size_t index : each.evaluations) {
      courses.push_back(courseOf(&remade.evaluations[index]));
    }
  }
  return courses;
}

Reason reasonOfDivergence(const Conversation& conversation, const Evaluation& evaluation,
                          const Course& recorded) {
  const Run& run = conversation.runs[evaluation.run];
  const Evaluation& first = conversation.evaluations[run.evaluations[0]];
  if (first.context != evaluation.context) {
    std::size_t record = evaluation.request_record;
    for (const Registration& each : conversation.registrations) {
      if (each.context_id == run.context_id && each.record > first.request_record &&
          each.record < evaluation.request_record) {
        record = each.record;
      }
    }
    // A NaN on record diverges whatever the context says.
    if (!holdsNaN(recorded)) {
      return {Cause::ContextReplaced,
              {"coordinate context " + std::to_string(run.context_id) + " at record " +
                   std::to_string(record),
               describeContextChange(first.context, evaluation.context)}};
    }
  }
  if (holdsNaN(recorded)) return {Cause::NotANumber, {"NaN equals nothing, itself included"}};
  return {Cause::Argument, {"nothing in the session tells why"}};
}

}  // namespace

std::string_view causeName(Cause cause) {
  // In the order of Cause.
  static constexpr std::string_view kNames[] = {
      "an argument is NaN, which equals nothing",
      "context registered anew",
      "changed definitions",
      "another answer of the host",
      "order of the calls",
      "count of the calls",
      "another argument",
      "another call",
      "another result",
      "a worker ended",
      "something other than a program",
  };
  return kNames[static_cast<std::size_t>(cause)];
}

std::optional<Explanation> explainDifference(const RecordedSession& recorded,
                                             const RecordedSession& made) {
  const std::optional<std::size_t> number = firstDifference(recorded, made);
  if (!number) return std::nullopt;
  const Conversation before = understand(recorded);
  const Conversation after = understand(made);
  const std::optional<std::size_t> index = firstDifferentCourse(before, after);
  if (!index || *index >= before.evaluations.size() || *index >= after.evaluations.size()) {
    // The same calls and results, or one session that has stopped early: the frames tell.
    return explainRecords(recorded, made, *number);
  }
  const Evaluation& a = before.evaluations[*index];
  const Evaluation& b = after.evaluations[*index];
  const bool concerns_evaluation = a.request_record <= *number || b.request_record <= *number ||
                                   findChangedRequest(before, after, *index).has_value();
  if (!concerns_evaluation) return explainRecords(recorded, made, *number);
  const Course course_before = courseOf(&a);
  const Course course_after = courseOf(&b);
  Reason reason = findChangedRequest(before, after, *index)
                      .value_or(compareCalls(before, a, course_before, after, b, course_after));
  if (a.is_answered != b.is_answered) reason = {Cause::WorkerEnded, {}};
  return compose(titleOf(a), compareCourses(course_before, course_after), reason);
}

std::optional<Explanation> explainDivergence(const RecordedSession& session,
                                             const client::WorkerStarter* starter,
                                             std::chrono::milliseconds time_limit) {
  const Conversation conversation = understand(session);
  for (const Evaluation& evaluation : conversation.evaluations) {
    if (!evaluation.result || evaluation.result->eval_status != EvalStatus::EvalError) continue;
    std::string name;
    std::size_t call = divergentCall(evaluation.result->text, name);
    const bool is_unused = evaluation.result->text == kUnusedMessage;
    if (call == 0 && !is_unused) continue;

    Course made{.is_call = true, .name = name, .text = "(not told)", .contents = {}};
    if (is_unused) {
      // All answers were asked for in turn until the program ended; the worker does not say where.
      call = evaluation.answer_count;
      made = {.is_call = false, .name = "(the program ends)", .text = {}, .contents = {}};
    }
    if (starter != nullptr) {
      const std::vector<Course> courses =
          remakeRun(session, conversation, evaluation, *starter, time_limit);
      if (is_unused) {
        const auto end = std::find_if(courses.begin(), courses.end(),
                                      [](const Course& course) { return !course.is_call; });
        if (end != courses.end()) {
          call = static_cast<std::size_t>(end - courses.begin()) + 1;
          made = *end;
        }
      } else if (call <= courses.size() && courses[call - 1].is_call) {
        made = courses[call - 1];
      }
    }
    const Course recorded = courseOf(conversation.callOf(evaluation.run, call));
    return compose(titleOf(evaluation) + ": " + evaluation.result->text,
                   compareCourses(recorded, made),
                   reasonOfDivergence(conversation, evaluation, recorded));
  }
  return std::nullopt;
}

}  // namespace lisp_worker::session
