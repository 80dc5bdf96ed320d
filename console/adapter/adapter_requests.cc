// The requests that look at the run, and those that set breakpoints.

#include <algorithm>
#include <utility>

#include "console/adapter/adapter_session.h"
#include "console/command_input.h"
#include "console/completion.h"
#include "console/picture.h"
#include "explain/evaluation.h"
#include "explain/explanation.h"
#include "explain/form.h"
#include "explain/reference.h"

namespace lisp_worker::console {
namespace {

// The commands of the terminal's debugger that a person can type here; all others are the editor's
// own.
constexpr std::string_view kQuestions[] = {"why",   "when",  "vars",    "history",
                                           "stack", "calls", "drawing", "changes",
                                           "print", "list",  "goto"};

std::string helpText() {
  return "Type a form to see its value, or one of:\n"
         "  why NAME            who has set the variable\n"
         "  why entity E5       the forms that have added, changed and erased the entity\n"
         "  why not LINE        the reason why the line was not evaluated\n"
         "  when FORM           goes to the next moment when it is true\n"
         "  history NAME        all values that variables of that name have had\n"
         "  vars, stack, calls  the variables, the calls in progress, the host calls\n"
         "  drawing, changes    the drawing here; what is changed so far\n"
         "  goto STEP           goes there; also start, end, error, entity E5\n";
}

}  // namespace

// --- Breakpoints --------------------------------------------------------------------------------

StopWish AdapterSession::wishOf(Fields& fields, StopWish::Kind kind) {
  return {.id = stops_.nextId(),
          .kind = kind,
          .condition = fields.text("condition"),
          .hits = fields.text("hitCondition"),
          .log = fields.text("logMessage")};
}

Json AdapterSession::setBreakpoints(Fields& arguments) {
  const Json& source = arguments.object("source");
  std::vector<StopWish> wishes;
  Fields source_fields(source, error_);
  const std::string path = source_fields.text("path");
  const std::int64_t reference = source_fields.number("sourceReference", 0);
  if (error_.empty() && path.empty() && reference == 0) {
    error_ = "\"source\" must be an object with a \"path\" or a \"sourceReference\"";
  }
  for (const Json& each : arguments.objects("breakpoints")) {
    Fields fields(each, error_);
    StopWish wish = wishOf(fields, StopWish::Kind::Line);
    wish.source = source;
    wish.line = fields.neededNumber("line");
    if (fields.has("column")) wish.column = fields.number("column", 0);
    wishes.push_back(std::move(wish));
  }
  if (!error_.empty()) return nullptr;
  const std::string group = "file " + (reference == 0 ? path : std::to_string(reference));
  return {{"breakpoints", stops_.set(group, std::move(wishes))}};
}

Json AdapterSession::setFunctionBreakpoints(Fields& arguments) {
  std::vector<StopWish> wishes;
  for (const Json& each : arguments.objects("breakpoints")) {
    Fields fields(each, error_);
    StopWish wish = wishOf(fields, StopWish::Kind::Function);
    wish.name = fields.neededText("name");
    wishes.push_back(std::move(wish));
  }
  if (!error_.empty()) return nullptr;
  return {{"breakpoints", stops_.set("functions", std::move(wishes))}};
}

Json AdapterSession::setDataBreakpoints(Fields& arguments) {
  std::vector<StopWish> wishes;
  for (const Json& each : arguments.objects("breakpoints")) {
    Fields fields(each, error_);
    StopWish wish = wishOf(fields, StopWish::Kind::Data);
    wish.name = fields.neededText("dataId");
    wishes.push_back(std::move(wish));
  }
  if (!error_.empty()) return nullptr;
  return {{"breakpoints", stops_.set("data", std::move(wishes))}};
}

Json AdapterSession::setExceptionBreakpoints(Fields& arguments) {
  std::vector<StopWish> wishes;
  for (const Json& filter : arguments.texts("filters")) {
    wishes.push_back({.id = stops_.nextId(),
                      .kind = StopWish::Kind::Exception,
                      .name = filter.get<std::string>()});
  }
  for (const Json& each : arguments.objects("filterOptions")) {
    Fields fields(each, error_);
    StopWish wish = wishOf(fields, StopWish::Kind::Exception);
    wish.name = fields.neededText("filterId");
    wishes.push_back(std::move(wish));
  }
  if (!error_.empty()) return nullptr;
  return {{"breakpoints", stops_.set("exceptions", std::move(wishes))}};
}

Json AdapterSession::dataBreakpointInfo(Fields& arguments) {
  const std::string name = arguments.neededText("name");
  const auto reference = arguments.number("variablesReference", 0);
  if (!error_.empty()) return nullptr;
  std::string reason;
  const std::string data = launched_->view.dataOf(reference, name, reason);
  if (data.empty()) return {{"dataId", nullptr}, {"description", reason}};
  return {{"dataId", data},
          {"description", (data.starts_with("set ") ? "assignments of " : "changes of ") +
                              data.substr(data.find(' ') + 1)},
          {"accessTypes", {"write"}},
          {"canPersist", true}};
}

Json AdapterSession::breakpointLocations(Fields& arguments) {
  const auto program = launched_->sources.find(arguments.object("source"));
  const auto line = arguments.neededNumber("line");
  const auto end_line = arguments.number("endLine", line);
  if (!error_.empty()) return nullptr;
  return {{"breakpoints",
           program ? launched_->sources.stopsBetween(*program, line, end_line) : Json::array()}};
}

// --- The moment ---------------------------------------------------------------------------------

Json AdapterSession::threads(Fields& /*arguments*/) {
  return {{"threads", Json::array({{{"id", kThread}, {"name", "program"}}})}};
}

Json AdapterSession::stackTrace(Fields& arguments) {
  const auto first = arguments.number("startFrame", 0);
  const auto count = arguments.number("levels", 0);
  if (!error_.empty()) return nullptr;
  return launched_->view.stackTrace(static_cast<std::size_t>(first),
                                    static_cast<std::size_t>(count));
}

Json AdapterSession::scopes(Fields& arguments) {
  const auto frame = arguments.neededNumber("frameId");
  if (!error_.empty()) return nullptr;
  return {{"scopes", launched_->view.scopes(frame, error_)}};
}

Json AdapterSession::variables(Fields& arguments) {
  const auto reference = arguments.neededNumber("variablesReference");
  const std::string filter = arguments.text("filter");
  const auto first = arguments.number("start", 0);
  const auto count = arguments.number("count", 0);
  if (error_.empty() && !filter.empty() && filter != "indexed" && filter != "named") {
    error_ = "\"filter\" must be \"indexed\" or \"named\"";
  }
  if (!error_.empty()) return nullptr;
  return {
      {"variables", launched_->view.variables(reference, filter, static_cast<std::size_t>(first),
                                              static_cast<std::size_t>(count), error_)}};
}

Json AdapterSession::setVariable(Fields& /*arguments*/) {
  error_ = "a run that is over cannot be changed: change the program and restart it";
  return nullptr;
}

Json AdapterSession::answerQuestion(const std::string& line) {
  const trace::Position before = position();
  std::string text = launched_->debugger.execute(line);
  const trace::Position after = launched_->debugger.position();
  if (after != before) arrive(after, "goto", "");
  while (text.ends_with('\n')) text.pop_back();
  return {{"result", text}, {"variablesReference", 0}};
}

Json AdapterSession::evaluate(Fields& arguments) {
  const std::string expression = arguments.neededText("expression");
  const std::string context = arguments.text("context");
  const auto frame = arguments.number("frameId", 0);
  if (!error_.empty()) return nullptr;
  if (context == "repl") {
    const std::size_t begin = std::min(expression.find_first_not_of(" \t\r\n"), expression.size());
    const std::string line = expression.substr(begin);
    const std::string word = line.substr(0, line.find_first_of(" \t\r\n"));
    if (word == "help") return {{"result", helpText()}, {"variablesReference", 0}};
    if (std::find(std::begin(kQuestions), std::end(kQuestions), word) != std::end(kQuestions)) {
      return answerQuestion(line);
    }
  }
  Json result = launched_->view.evaluate(expression, frame, context == "clipboard", error_);
  // A pointer may rest on the name of a function.
  const explain::Entry* const entry =
      context == "hover" ? explain::findEntry(upperCase(expression)) : nullptr;
  if (error_.empty() || entry == nullptr) return result;
  error_.clear();
  return {{"result", explain::describe(*entry)}, {"variablesReference", 0}};
}

Json AdapterSession::completions(Fields& arguments) {
  const std::string text = arguments.text("text");
  const auto column = arguments.neededNumber("column");
  if (!error_.empty()) return nullptr;
  const auto units =
      static_cast<std::size_t>(std::max<std::int64_t>(0, column - style_.first_column));
  const std::string before = text.substr(0, utf16Offset(text, units));
  CompletionSource names{.names = launched_->debugger.names()};
  for (const explain::Entry& entry : explain::entries()) names.names.emplace_back(entry.name);
  for (const std::string& name : run().index.definitions().functionNames()) {
    names.names.push_back(name);
  }
  for (const explain::Form* const form : run().program->forms_by_number) {
    const bool is_function = form->operatorName() == "DEFUN" && form->items.size() > 1;
    if (is_function) names.names.emplace_back(form->items[1].name());
  }
  for (const Layer& layer : run().drawingAt(position()).layers()) {
    names.layers.push_back(layer.name);
  }
  const Completion completion = completeAt(before, names);
  const std::size_t length = utf16Size(completion.word);
  const auto start = static_cast<std::int64_t>(utf16Size(before) - length) + style_.first_column;
  Json targets = Json::array();
  const auto add = [&](const std::string& label, const std::string& detail) {
    Json target = {{"label", label}, {"start", start}, {"length", length}};
    if (!detail.empty()) target["detail"] = detail;
    targets.push_back(std::move(target));
  };
  if (completion.word == before && !before.empty()) {
    for (const std::string_view question : kQuestions) {
      if (question.starts_with(before)) add(std::string(question), "");
    }
  }
  for (const Candidate& candidate : completion.candidates) add(candidate.text, candidate.note);
  return {{"targets", std::move(targets)}};
}

// Not among the protocol's own.
Json AdapterSession::picture(Fields& /*arguments*/) {
  return {{"svg", drawPicture(run().drawings.front(), run().drawingAt(position()), {}, {})}};
}

Json AdapterSession::exceptionInfo(Fields& /*arguments*/) {
  const bool is_error = failedAt(run()) == position();
  std::string message = run().outcome.message;
  std::string details = is_error ? explain::explanationOf(run().outcome) : "";
  if (!is_error) {
    const auto& calls = run().index.hostCalls();
    const auto refused = std::find_if(calls.begin(), calls.end(), [this](const auto& call) {
      return call.step == position() && !call.refusal.empty();
    });
    if (refused == calls.end()) {
      error_ = "nothing fails at this moment";
      return nullptr;
    }
    message = refused->refusal;
    details = refused->name + " was refused: " + refused->refusal;
  }
  return {{"exceptionId", is_error ? kErrorFilter : kRefusalFilter},
          {"description", message},
          {"breakMode", is_error ? "unhandled" : "always"},
          {"details", {{"message", message}, {"stackTrace", details}}}};
}

// --- Sources ------------------------------------------------------------------------------------

Json AdapterSession::loadedSources(Fields& /*arguments*/) {
  return {{"sources", launched_->sources.all()}};
}

Json AdapterSession::source(Fields& arguments) {
  const auto reference = arguments.number("sourceReference", 0);
  const auto program = launched_->sources.find(arguments.object("source"), reference);
  if (error_.empty() && !program) error_ = "this file takes no part in the run";
  if (!error_.empty()) return nullptr;
  return {{"content", run().index.program(*program)->source.text()}};
}

}  // namespace lisp_worker::console
