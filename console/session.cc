// Runs one program: registers the context, starts it, answers each call through Host until it ends,
// and prints each message on the way. The drawing is copied before; the copy comes back if the
// program fails.

#include "console/session.h"

#include <algorithm>
#include <optional>
#include <ostream>
#include <span>
#include <utility>

#include "console/display.h"
#include "console/host.h"
#include "console/safe_output.h"
#include "explain/explanation.h"
#include "explain/value_text.h"
#include "lisp_worker/client/answer_text.h"
#include "lisp_worker/client/names.h"
#include "lisp_worker/client/number_text.h"
#include "lisp_worker/client/worker_text.h"

namespace lisp_worker::console {

using client::EvalResult;
using client::EvalStatus;
using client::Reply;
using worker::WorkerStatus;

namespace {

constexpr std::size_t kSpeakerWidth = 8;
constexpr std::size_t kWhatWidth = 18;

Style styleOf(EntityChange::Kind kind) {
  switch (kind) {
    case EntityChange::Kind::Added:
      return Style::Added;
    case EntityChange::Kind::Changed:
      return Style::Changed;
    case EntityChange::Kind::Erased:
      return Style::Erased;
  }
  return Style::Plain;
}

// "(0 0 1 0 0 1 1 0)"
std::string describeSystem(const client::PlanarSystem& s) {
  return client::printDatum(
      client::list({client::number(s.origin_x), client::number(s.origin_y), client::number(s.a),
                    client::number(s.b), client::number(s.c), client::number(s.d),
                    client::number(s.z_scale), client::number(s.z_offset)}));
}

// "with (1 2 3), "Radius: "", or the worker's own list of them where it cannot be read.
std::string describeArguments(const EvalResult& waiting) {
  const auto call = client::readHostCall(waiting, nullptr);
  if (!call) return "with " + displayText(waiting.text);
  if (call->arguments.empty()) return "without arguments";
  std::string text;
  for (const client::Datum& argument : call->arguments) {
    if (!text.empty()) text += ", ";
    text += client::printDatum(argument);
  }
  return "with " + displayText(text);
}

std::string kept(const std::string& text) {
  return text.size() > kKeptTextSizeMax ? displayText(text) : text;
}

// The meaning, for a person, of a status without a result, after a program of that size.
std::string whyRefused(WorkerStatus status, std::size_t program_size) {
  if (status != WorkerStatus::InvalidRequest) return std::string(client::explainStatus(status));
  if (program_size <= worker::kPayloadSizeMax) {
    return "an answer, or what the program came to, is too long to send";
  }
  return "the program is too long to send: it has " + explain::counted(program_size, "byte") +
         ", and " + std::to_string(worker::kPayloadSizeMax) +
         " are the most; move functions into libraries of their own (--load)";
}

// "colour 3, off": what makes the layer look other than before; empty when nothing does.
std::string describeLook(const Layer& before, const Layer& layer) {
  std::string text;
  const auto add = [&text](const std::string& part) { text += (text.empty() ? "" : ", ") + part; };
  if (layer.colour != before.colour) add("colour " + std::to_string(layer.colour));
  if (layer.line_type != before.line_type) add("line type " + layer.line_type);
  if (layer.line_weight != before.line_weight) {
    add(layer.line_weight < 0 ? "the usual line weight"
                              : "line weight " + client::printNumber(layer.line_weight / 100.0));
  }
  if (layer.is_visible != before.is_visible) add(layer.is_visible ? "on" : "off");
  return text;
}

// "5 more added, 2 more erased"
std::string countedKinds(std::span<const EntityChange> changes) {
  std::string text;
  for (const auto kind :
       {EntityChange::Kind::Added, EntityChange::Kind::Changed, EntityChange::Kind::Erased}) {
    const auto count = std::count_if(changes.begin(), changes.end(),
                                     [kind](const auto& change) { return change.kind == kind; });
    if (count == 0) continue;
    text +=
        (text.empty() ? "" : ", ") + std::to_string(count) + " more " + std::string(nameOf(kind));
  }
  return text;
}

// The caret or the bar below the line of a program.
bool isCaretLine(std::string_view line) {
  return line.find('^') != std::string_view::npos && line.starts_with("    ") &&
         line.find_first_not_of(" |^") == std::string_view::npos;
}

// The carets, and the lines that say what is wrong, in `style`.
void tellExplanation(std::ostream& out, std::string_view text, Style style) {
  while (!text.empty()) {
    const std::size_t size = std::min(text.find('\n'), text.size());
    const std::string_view line = text.substr(0, size);
    text.remove_prefix(std::min(size + 1, text.size()));
    out << (isCaretLine(line) || !line.starts_with(' ') ? style : Style::Plain) << line
        << Style::Plain << "\n";
  }
}

}  // namespace

void Session::setSheet(Sheet sheet) {
  drawing_ = std::move(sheet.drawing);
  sheet_context_ = sheet.context;
  before_ = drawing_;
  is_fresh_ = true;
}

void Session::restore(State state) {
  drawing_ = std::move(state.sheet.drawing);
  sheet_context_ = state.sheet.context;
  before_ = std::move(state.before);
  is_fresh_ = state.is_fresh;
}

ProgramEnd Session::run(const Program& program) {
  if (program.sheet) setSheet(*program.sheet);
  for (const Program& library : program.libraries) {
    const ProgramEnd end = load(library);
    if (end != ProgramEnd::AsExpected) return end;
  }
  return run(program.name, program.text, program.script);
}

ProgramEnd Session::load(const Program& library) {
  for (const Program& needed : library.libraries) {
    const ProgramEnd end = load(needed);
    if (end != ProgramEnd::AsExpected) return end;
  }
  noteQuotes(library.text);
  result_ = {};
  if (explainer_ != nullptr) explainer_->start(library.name, library.text, nullptr);
  const auto reply = worker_->evalStart(library.text, 0);
  if (!reply) return ProgramEnd::Broken;
  if (reply->status == WorkerStatus::Ok) {
    if (explainer_ != nullptr) static_cast<void>(explainer_->finish(*reply));
    return ProgramEnd::AsExpected;
  }
  if (reply->status == WorkerStatus::HostCallPending) {
    out_ << library.name << ": a library must not make host calls\n";
    result_.text = "a library must not make host calls";
    result_.end = ReportedResult::End::Cancelled;
    report(library.name, ProgramEnd::Unexpected);
    return worker_->evalCancel(reply->value->run_id) ? ProgramEnd::Unexpected : ProgramEnd::Broken;
  }
  out_ << Style::Error << library.name << ": cannot be loaded: " << Style::Plain
       << (reply->value ? displayText(reply->value->text)
                        : whyRefused(reply->status, library.text.size()))
       << "\n";
  noteResult(*reply, library.text.size());
  printExplanation(explainer_ == nullptr ? "" : explainer_->finish(*reply));
  report(library.name, ProgramEnd::Unexpected);
  return ProgramEnd::Unexpected;
}

ProgramEnd Session::run(std::string_view name, std::string_view program, const Script& script) {
  if (!is_brief_ || shows_names_) out_ << "== " << name << "\n";
  if (!is_brief_) printProgram(program);
  context_ = sheet_context_;
  mismatches_.clear();
  result_ = {};
  reported_program_ = name;
  const bool ready = addScriptedEntities(script) && registerContext(script, 0);
  if (!ready) return worker_->fault() ? ProgramEnd::Broken : ProgramEnd::Unexpected;
  if (std::exchange(is_fresh_, false)) before_ = drawing_;
  const Drawing found = drawing_;
  noteQuotes(program);
  if (explainer_ != nullptr) explainer_->start(name, program, &context_);
  const ProgramEnd end = converse(program, script);
  settle(found, script.keeps);
  const ProgramEnd judged = judgeDrawing(end, script);
  if (!is_brief_) out_ << "\n";
  report(name, judged);
  return judged;
}

// A program is one change of the drawing: all of it stays, or none.
void Session::settle(const Drawing& found, bool keeps) {
  if (has_value_ || keeps_ || keeps) {
    printChanges(found);
    return;
  }
  // A selection is nothing that a person could miss.
  Drawing compared = found;
  compared.setPreviousSelection(drawing_.previousSelection());
  const bool has_changed = !(compared == drawing_);
  const std::size_t count = has_changed ? compareDrawings(found, drawing_).size() : 0;
  drawing_ = found;
  result_.is_taken_back = has_changed;
  if (!has_changed) return;
  printLine("drawing", "untouched",
            "what the program had changed is taken back" +
                (count == 0 ? "" : ": " + explain::counted(count, "entity", "entities")) +
                "   [--keep keeps it]",
            Style::Warning);
}

void Session::printDrawing(std::string_view heading) {
  out_ << "== " << heading << ": " << drawing_.entities().size()
       << (drawing_.entities().size() == 1 ? " entity" : " entities") << "\n";
  std::size_t count = 0;
  for (const Entity& entity : drawing_.entities()) {
    if (++count > kListedEntitiesMax) continue;
    out_ << describeEntity(entity) << "\n";
  }
  if (count > kListedEntitiesMax) {
    out_ << "... and " << count - kListedEntitiesMax << " more\n";
  }
}

bool Session::addScriptedEntities(const Script& script) {
  for (const client::Datum& groups : script.entities) {
    std::string refusal;
    const auto handle = drawing_.add(groups, refusal);
    if (!handle) {
      printLine("drawing", "not made", displayDatum(groups) + "   " + refusal);
      return false;
    }
    tell("drawing", "holds", describeEntity(*drawing_.find(*handle)));
  }
  return true;
}

// Makes the worker know what the script wants for this point of the program, if it is anything.
bool Session::registerContext(const Script& script, std::size_t at_call) {
  std::string changes;
  for (const SystemChange& change : script.system_changes) {
    if (change.at_call != at_call) continue;
    context_.systems[change.system] = change.value;
    changes += ", system " + std::to_string(change.system) + " " + describeSystem(change.value);
  }
  if (at_call != 0 && changes.empty()) return true;
  if (at_call != 0 || !changes.empty()) {
    tell("host", "RegisterContext", "context " + std::to_string(context_.id) + changes);
  }
  if (at_call != 0 && explainer_ != nullptr) explainer_->replaceContext(context_);
  const auto status = worker_->registerContext(context_);
  if (status && *status != WorkerStatus::Ok) {
    printLine("worker", client::statusName(*status), std::string(client::explainStatus(*status)));
  }
  return status == WorkerStatus::Ok;
}

ProgramEnd Session::converse(std::string_view program, const Script& script) {
  Host host(drawing_, script.answers, answerer_);
  calls_.clear();
  has_value_ = false;
  tell("host", "EvalStart",
       "the program, " + explain::counted(program.size(), "byte") + ", under context " +
           std::to_string(context_.id));
  auto reply = worker_->evalStart(program, context_.id);
  std::size_t call_count = 0;
  std::vector<std::string> picks;
  while (reply && reply->status == WorkerStatus::HostCallPending) {
    printResponse(*reply, ++call_count);
    if (call_count > host_call_count_max_) {
      return cancel(*reply->value, "this program makes more than " +
                                       explain::counted(host_call_count_max_, "host call") +
                                       " (--max-calls allows more)");
    }
    if (progress_ && !progress_({call_count - 1, reply->value->steps, drawing_.entities().size(),
                                 [this] { return placeOfWaitingCall(); }})) {
      return cancel(*reply->value,
                    "cancelled after " + explain::counted(call_count - 1, "host call"));
    }
    if (!registerContext(script, call_count)) {
      return cancel(*reply->value, "the context could not be registered");
    }
    const auto known = knownArguments(*reply->value);
    const HostAnswer answer = host.answer(*reply->value, known);
    noteQuotes(answer.text);
    if (answer.note == kByRule) picks.push_back(reply->value->call_name + " " + answer.text);
    if (!answer.failure.empty()) return cancel(*reply->value, answer.failure);
    calls_.push_back(
        {reply->value->call_name, kept(reply->value->text), kept(answer.text), answer.note});
    result_.call_count = call_count;
    result_.steps = reply->value->steps;
    if (answer.is_refused) ++result_.refused_count;
    if (reporter_ != nullptr) {
      auto call = client::readHostCall(*reply->value, nullptr);
      reporter_->reportCall(reported_program_,
                            {.number = call_count,
                             .name = reply->value->call_name,
                             .arguments = known  ? known
                                          : call ? std::optional(std::move(call->arguments))
                                                 : std::nullopt,
                             .answer = answer.text,
                             .note = answer.note,
                             .is_refused = answer.is_refused});
    }
    tell("host", "EvalResume", displayText(answer.text) + "   [" + answer.note + "]");
    if (explainer_ != nullptr) {
      explainer_->answer(reply->value->call_name, answer.text, answer.is_refused ? answer.note : "",
                         answer.refused_argument);
    }
    if (answer.is_refused) {
      if (is_strict_) return cancelRefused(*reply->value, answer.note);
      if (!script.expectation) ++refused_count_;
    }
    reply = worker_->evalResume(reply->value->run_id, answer.text);
  }
  if (!reply) return ProgramEnd::Broken;
  has_value_ = reply->status == WorkerStatus::Ok;
  noteResult(*reply, program.size());
  const std::string explanation = explainer_ == nullptr ? "" : explainer_->finish(*reply);
  tellRefusals();
  if (reply->value) {
    printResponse(*reply, call_count);
  } else if (is_brief_) {
    out_ << Style::Error << "error: " << whyRefused(reply->status, program.size()) << Style::Plain
         << "\n";
  } else {
    printLine("worker", client::statusName(reply->status),
              whyRefused(reply->status, program.size()), Style::Error);
  }
  printExplanation(explanation);
  const std::string call =
      has_value_ && explainer_ != nullptr ? explainer_->callOfTypedCommand() : "";
  if (!call.empty()) printLine("hint", "nothing drawn yet", call + " runs what is defined here");
  printPicks(picks);
  for (const ScriptedAnswer& unused : host.unusedAnswers()) {
    printLine("script", "not asked for", unused.call + " " + displayText(unused.text));
  }
  return judge(*reply, script);
}

ProgramEnd Session::cancel(const EvalResult& waiting, const std::string& reason) {
  if (worker_->fault()) return ProgramEnd::Broken;
  printLine(is_brief_ ? "run" : "host", is_brief_ ? "cancelled" : "EvalCancel", reason);
  mismatches_ = {{"an end of its own", "cancelled: " + reason}};
  result_.end = ReportedResult::End::Cancelled;
  result_.text = reason;
  if (explainer_ != nullptr) {
    const std::string text = explainer_->cancel();
    tellRefusals();
    noteExplanation(text);
    tellExplanation(out_, text, Style::Warning);
  }
  const auto status = worker_->evalCancel(waiting.run_id);
  return status ? ProgramEnd::Unexpected : ProgramEnd::Broken;
}

// The refused call is explained with the others of its kind.
ProgramEnd Session::cancelRefused(const EvalResult& waiting, const std::string& reason) {
  printLine(is_brief_ ? "run" : "host", is_brief_ ? "cancelled" : "EvalCancel",
            waiting.call_name + " was refused: " + displayText(reason));
  mismatches_ = {{"no refused host call", waiting.call_name + " refused: " + reason}};
  result_.end = ReportedResult::End::Cancelled;
  result_.text = waiting.call_name + " was refused: " + reason;
  if (explainer_ != nullptr) explainer_->stop();
  tellRefusals();
  return worker_->evalCancel(waiting.run_id) ? ProgramEnd::Unexpected : ProgramEnd::Broken;
}

// Nobody has picked these. In a conversation each says so itself.
void Session::printPicks(const std::vector<std::string>& picks) {
  if (!is_brief_ || picks.empty()) return;
  constexpr std::size_t kPicksShownMax = 4;
  std::string text;
  for (std::size_t n = 0; n < picks.size() && n < kPicksShownMax; ++n) {
    text += (n == 0 ? "" : ", ") + picks[n];
  }
  if (picks.size() > kPicksShownMax) {
    text += " and " + explain::counted(picks.size() - kPicksShownMax, "more", "more");
  }
  printLine("picks", kByRule, text + "   [--ask asks you, --answers reads a file]");
}

// The worker writes texts as they are, so that one that holds a double quote can be read as two.
// Only when a quote may have come into a text at all is the program asked.
void Session::noteQuotes(std::string_view sent) {
  may_hold_quotes_ = may_hold_quotes_ || sent.find("\\\"") != std::string_view::npos;
}

std::optional<client::DatumList> Session::knownArguments(const EvalResult& waiting) {
  const auto quote_count = std::count(waiting.text.begin(), waiting.text.end(), '"');
  if (!may_hold_quotes_ || quote_count < 3 || explainer_ == nullptr) return std::nullopt;
  return explainer_->argumentsOf(waiting);
}

std::string Session::placeOfWaitingCall() {
  return explainer_ == nullptr ? "" : explainer_->placeOfWaitingCall();
}

ProgramEnd Session::judge(const Reply<EvalResult>& reply, const Script& script) {
  mismatches_ = mismatchesOf(script, reply);
  const bool expected = mismatches_.empty();
  if (script.expectation) {
    printLine("script", expected ? "as expected" : "NOT AS EXPECTED",
              expected ? "" : displayText(script.expectation->text),
              expected ? Style::Plain : Style::Error);
  }
  return expected ? ProgramEnd::AsExpected : ProgramEnd::Unexpected;
}

ProgramEnd Session::judgeDrawing(ProgramEnd end, const Script& script) {
  if (end == ProgramEnd::Broken) return end;
  for (Mismatch& mismatch : mismatchesOf(script, drawing_)) {
    printLine("script", "NOT AS EXPECTED",
              displayText(mismatch.expected) + "; there is: " + displayText(mismatch.got));
    mismatches_.push_back(std::move(mismatch));
    end = ProgramEnd::Unexpected;
  }
  return end;
}

void Session::printExplanation(const std::string& text) {
  noteExplanation(text);
  tellExplanation(out_, text, Style::Error);
}

// Before the end that they may have caused: a call that was refused is nil for the program.
void Session::tellRefusals() {
  if (explainer_ == nullptr) return;
  const std::string refusals = explainer_->explainRefusals();
  noteExplanation(refusals);
  tellExplanation(out_, refusals, Style::Warning);
}

void Session::noteResult(const Reply<EvalResult>& reply, std::size_t program_size) {
  const bool has_value = reply.status == WorkerStatus::Ok;
  result_.end = has_value ? ReportedResult::End::Value : ReportedResult::End::Error;
  result_.text = reply.value ? reply.value->text : whyRefused(reply.status, program_size);
  if (reply.value) result_.steps = reply.value->steps;
}

void Session::noteExplanation(const std::string& text) {
  result_.explanation += text;
  if (text.empty() || explainer_ == nullptr || result_.end == ReportedResult::End::Value) return;
  const explain::FaultyForm& fault = explainer_->outcome().fault;
  if (fault.program != nullptr) {
    result_.place = explain::nameOfPlace(*fault.program, fault.begin);
  }
}

void Session::report(std::string_view name, ProgramEnd end) {
  if (reporter_ == nullptr) return;
  result_.is_expected = end == ProgramEnd::AsExpected;
  if (end == ProgramEnd::Broken) result_.end = ReportedResult::End::Broken;
  // The worker's own text leaves open where a string with double quotes ends.
  if (result_.end == ReportedResult::End::Value && explainer_ != nullptr &&
      explainer_->outcome().kind == explain::OutcomeKind::Value) {
    constexpr std::size_t kSizeMax = std::size_t{4} * worker::kPayloadSizeMax;
    const auto text = explain::write(explainer_->outcome().value, kSizeMax);
    if (text) result_.value = client::readDatum(*text, nullptr);
  }
  reporter_->reportResult(name, result_);
}

// The lines that are not comments alone.
void Session::printProgram(std::string_view program) {
  std::size_t count = 0;
  while (!program.empty()) {
    const std::size_t size = std::min(program.find('\n'), program.size());
    std::string_view line = program.substr(0, size);
    program.remove_prefix(std::min(size + 1, program.size()));
    if (line.ends_with('\r')) line.remove_suffix(1);
    const std::size_t begin = line.find_first_not_of(" \t");
    if (begin == std::string_view::npos || line[begin] == ';') continue;
    if (++count <= kProgramLineCountMax) out_ << "    " << displayText(line) << "\n";
  }
  if (count > kProgramLineCountMax) {
    out_ << "    ... and " << explain::counted(count - kProgramLineCountMax, "line") << " more\n";
  }
}

void Session::printResponse(const Reply<EvalResult>& reply, std::size_t call_count) {
  std::string text;
  Style style = Style::Plain;
  const EvalResult& result = *reply.value;
  switch (result.eval_status) {
    case EvalStatus::Value:
      style = Style::Value;
      text = "result: " + displayWorkerText(result.text, is_whole_ || !is_brief_
                                                             ? result.text.size() * 2
                                                             : kResultSizeMax);
      break;
    case EvalStatus::HostCallRequired:
      if (is_brief_) return;
      text = "call " + std::to_string(call_count) + ": " + result.call_name + " " +
             describeArguments(result);
      break;
    default:
      style = Style::Error;
      text = "error: " + displayText(result.text);
  }
  text += "   [" + explain::counted(result.steps, "step") + "]";
  if (is_brief_) {
    out_ << style << text << Style::Plain << "\n";
  } else {
    printLine("worker", client::statusName(reply.status), text, style);
  }
}

void Session::tell(std::string_view speaker, std::string_view what, const std::string& text) {
  if (!is_brief_) printLine(speaker, what, text);
}

void Session::printLine(std::string_view speaker, std::string_view what, const std::string& text,
                        Style style) {
  std::string line(speaker);
  line.resize(kSpeakerWidth, ' ');
  line += what;
  if (!text.empty()) {
    line.resize(kSpeakerWidth + kWhatWidth, ' ');
    line += text;
  }
  out_ << style << line << Style::Plain << "\n";
}

void Session::printLayerChanges(const Drawing& before) {
  Drawing untouched = before;  // It gives new layers the look that nobody has asked for.
  for (const Layer& layer : drawing_.layers()) {
    const std::string look = describeLook(untouched.layer(layer.name), layer);
    if (!look.empty()) printLine("drawing", "layer", layer.name + ": " + look, Style::Changed);
  }
  if (before.currentLayer() != drawing_.currentLayer()) {
    printLine("drawing", "current layer", drawing_.currentLayer(), Style::Changed);
  }
}

void Session::printChanges(const Drawing& before) {
  const std::vector<EntityChange> changes = compareDrawings(before, drawing_);
  if (reporter_ != nullptr) {
    for (const EntityChange& change : changes) reporter_->reportChange(reported_program_, change);
  }
  const bool is_cut = changes.size() > kShownChangesMax && is_brief_ && !is_whole_;
  const std::size_t count = is_cut ? kShownChangesMax : changes.size();
  for (std::size_t n = 0; n < count; ++n) {
    printLine("drawing", nameOf(changes[n].kind), describeEntity(changes[n].entity),
              styleOf(changes[n].kind));
  }
  if (is_cut) {
    printLine("drawing", "...",
              "and " + countedKinds(std::span(changes).subspan(count)) + "   [--all shows them]");
  }
  printLayerChanges(before);
}

std::string endWorker(client::WorkerClient& worker, client::WorkerProcess& process) {
  if (!worker.fault() && worker.shutdown()) {
    const client::WorkerExit exit = process.finish();
    const bool is_well = exit == client::WorkerExit{client::WorkerExit::Kind::Exited, 0};
    return is_well ? "" : client::describeExit(exit);
  }
  return worker.fault()->message + "; " + client::describeExit(process.finish());
}

}  // namespace lisp_worker::console
