// Walks the forms of a program and tries its calls of the drawing on a scratch drawing, as far as
// their arguments are known. What is refused there because of an argument that is known is refused
// everywhere, unless it is about the entities that there are.

#include "console/check_calls.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "check/flow.h"
#include "check/program_names.h"
#include "console/command_input.h"
#include "console/commands.h"
#include "console/drawing.h"
#include "console/entity.h"
#include "console/selection.h"
#include "console/snap.h"
#include "explain/form.h"
#include "explain/value_text.h"
#include "lisp_worker/client/answer_text.h"
#include "lisp_worker/client/datum.h"
#include "lisp_worker/client/limits.h"

namespace lisp_worker::console {

using client::Datum;
using client::DatumList;
using explain::Form;

namespace {

constexpr std::size_t kTextSizeMax = 100000;

// Commands that act on selected entities, which come first of their inputs.
constexpr std::array<std::string_view, 6> kSelectingCommands = {"MOVE",  "COPY",   "ROTATE",
                                                                "SCALE", "MIRROR", "ERASE"};

bool isSelecting(std::string_view command) {
  return std::find(kSelectingCommands.begin(), kSelectingCommands.end(), command) !=
         kSelectingCommands.end();
}

// A drawing in which there is something to select.
Drawing scratchDrawing() {
  Drawing drawing;
  static_cast<void>(
      runCommand(drawing, {client::string("CIRCLE"), client::point(0, 0, 0), client::number(1)}));
  return drawing;
}

// Without the sign that other command lines put in front of a name.
std::string commandNamed(std::string_view typed) {
  const std::string capitals = upperCase(typed);
  return capitals.substr(std::min(capitals.find_first_not_of("_.-'"), capitals.size()));
}

bool isQuoted(const Form& form) { return form.items.size() == 2 && form.operatorName() == "QUOTE"; }

std::optional<Datum> datumOf(const lisp::LispValue& value) {
  const auto text = explain::write(value, kTextSizeMax);
  return text ? client::readDatum(*text, nullptr) : std::nullopt;
}

// A value that a group of this code may have, in place of one that is not known; empty for a code
// of which it depends on more.
std::optional<Datum> exampleFor(double code) {
  if (code == kTextGroup || code == kLayerGroup) return client::string("0");
  if (code == kPointGroup || code == kEndPointGroup) return client::point(0, 0, 0);
  if (code == kSizeGroup || code == kColourGroup || code == kEndAngleGroup) {
    return client::number(1);
  }
  if (code == kStartAngleGroup || code == kClosedGroup || code == kAlignmentGroup) {
    return client::number(0);
  }
  return std::nullopt;
}

// Groups of any type of entity, drawn or not.
constexpr std::array<int, 30> kGroups = {-1, 0,  1,  2,  5,  6,  7,  8,   10,  11,
                                         38, 39, 40, 41, 42, 43, 48, 50,  51,  52,
                                         62, 66, 70, 71, 72, 73, 93, 100, 210, 370};

// The code of a group that no entity has.
std::optional<double> unknownGroupIn(const Datum& entity) {
  const DatumList* const groups = client::asList(entity);
  if (groups == nullptr) return std::nullopt;
  for (const Datum& group : *groups) {
    const auto code = groupCode(group);
    if (code && std::find(kGroups.begin(), kGroups.end(), *code) == kGroups.end()) return code;
  }
  return std::nullopt;
}

class CallChecker {
 public:
  explicit CallChecker(std::span<const explain::ProgramPointer> programs)
      : program_(programs.back()),
        names_(programs),
        flow_(program_->reading.forms, names_, signatures_) {}

  std::vector<check::Finding> run() {
    for (const Form& form : program_->reading.forms) look(form);
    return std::move(findings_);
  }

 private:
  // The value of a constant, of a variable that is known here, and of a list that LIST makes of
  // them.
  std::optional<Datum> constantOf(const Form& form) const {
    if (form.isSymbol()) {
      const check::Known* const known = flow_.find(form);
      return known != nullptr && known->constant ? datumOf(*known->constant) : std::nullopt;
    }
    if (form.isList() && form.operatorName() == "LIST") {
      DatumList elements;
      for (std::size_t n = 1; n < form.items.size(); ++n) {
        auto element = constantOf(form.items[n]);
        if (!element) return std::nullopt;
        elements.push_back(*std::move(element));
      }
      return client::list(std::move(elements));
    }
    if (form.isList() && !isQuoted(form)) return std::nullopt;
    return datumOf(isQuoted(form) ? form.items[1].value : form.value);
  }

  // The groups of an entity, with examples for the values that are not known.
  std::optional<Datum> entityOf(const Form& form) const {
    if (auto constant = constantOf(form)) return constant;
    if (!form.isList() || form.operatorName() != "LIST") return std::nullopt;
    DatumList groups;
    for (std::size_t n = 1; n < form.items.size(); ++n) {
      const Form& item = form.items[n];
      auto group = constantOf(item);
      const bool is_pair = item.isList() && item.operatorName() == "LIST" && item.items.size() == 3;
      if (!group && is_pair) {
        const auto code = constantOf(item.items[1]);
        const auto number = code ? client::asNumber(*code) : std::nullopt;
        const auto example = number ? exampleFor(*number) : std::nullopt;
        if (example) group = client::list({*code, *example});
      }
      if (!group) return std::nullopt;
      groups.push_back(*std::move(group));
    }
    return client::list(std::move(groups));
  }

  void report(const Form& at, const std::string& message) {
    if (findings_.size() >= check::kFindingCountMax) return;
    findings_.push_back({check::Severity::Warning, program_, at.begin, at.end, message, ""});
  }

  void look(const Form& form) {
    if (!form.isList() || isQuoted(form)) return;
    const std::string_view name = form.operatorName();
    if (name == "COMMAND" || name == "COMMAND-S") lookAtCommand(form);
    if (name == "SSGET") lookAtSelection(form);
    if (name == "OSNAP") lookAtSnap(form);
    if (name == "ENTMAKE" || name == "ENTMAKEX") lookAtEntity(form);
    for (const Form& item : form.items) look(item);
  }

  void lookAtCommand(const Form& form) {
    const std::size_t count = form.items.size() - 1;
    const auto first = count == 0 ? std::nullopt : constantOf(form.items[1]);
    const auto typed = first ? client::asString(*first) : std::nullopt;
    if (!typed || typed->empty()) return;
    DatumList inputs = {*first};
    std::vector<std::size_t> places = {1};  // Of the inputs among the items.
    std::size_t next = 2;
    if (isSelecting(commandNamed(*typed))) {
      // Of the selection only its end is looked for.
      while (next <= count && !isEnter(form.items[next])) ++next;
      if (next > count) return;
      inputs.push_back(client::string("ALL"));
      places.push_back(next);
    }
    for (; next <= count; ++next) {
      auto input = constantOf(form.items[next]);
      if (!input) break;
      inputs.push_back(*std::move(input));
      places.push_back(next);
    }
    Drawing scratch = scratch_;
    const CommandResult result = runCommand(scratch, inputs);
    if (result.is_whole) return;
    const bool is_whole = next > count;
    if (!is_whole && !result.failed_argument) return;  // The unknown input may be the one it needs.
    const auto says = [&result](std::string_view part) {
      return result.text.find(part) != std::string::npos;
    };
    // Behind the first command there may be one that depends on the drawing.
    const bool is_certain = says("there is no command ") || says(" takes no more, ");
    if (!is_certain && !result.text.starts_with("nothing done: ")) return;
    if (says("there is no entity ") || says(": nothing is selected") || says(" encloses nothing")) {
      return;
    }
    const std::size_t at = result.failed_argument.value_or(inputs.size());
    report(at < places.size() ? form.items[places[at]] : form,
           "COMMAND would be refused: " + result.text);
  }

  bool isEnter(const Form& form) const {
    const auto input = constantOf(form);
    return input && client::asString(*input) == "";
  }

  // All of its arguments; empty when one is not known.
  std::optional<DatumList> argumentsOf(const Form& form) const {
    DatumList arguments;
    for (std::size_t n = 1; n < form.items.size(); ++n) {
      auto argument = constantOf(form.items[n]);
      if (!argument) return std::nullopt;
      arguments.push_back(*std::move(argument));
    }
    return arguments;
  }

  void lookAtSelection(const Form& form) {
    const auto arguments = argumentsOf(form);
    if (!arguments) return;
    std::string refusal;
    if (!selectEntities(Drawing(), *arguments, refusal)) {
      report(form, "SSGET would be refused: " + refusal);
      return;
    }
    const DatumList* const filter = arguments->empty() || !isFilter(arguments->back())
                                        ? nullptr
                                        : client::asList(arguments->back());
    if (filter == nullptr) return;
    const std::string type = upperCase(findStringGroup(*filter, kTypeGroup));
    const std::vector<std::string_view> types = entityTypes();
    const bool may_fit = type.empty() || type.find_first_of("*?,") != std::string_view::npos ||
                         std::find(types.begin(), types.end(), type) != types.end();
    if (may_fit) return;
    report(form.items.back(),
           "this finds nothing: " +
               whyNoEntity(client::list({makeGroup(kTypeGroup, client::string(type))})));
  }

  void lookAtSnap(const Form& form) {
    const auto modes = form.items.size() == 3 ? constantOf(form.items[2]) : std::nullopt;
    const auto names = modes ? client::asString(*modes) : std::nullopt;
    const std::string unknown = names ? whyUnknownModes(*names) : "";
    if (!unknown.empty()) report(form.items[2], "OSNAP would be refused: " + unknown);
  }

  void lookAtEntity(const Form& form) {
    const auto groups = form.items.size() == 2 ? entityOf(form.items[1]) : std::nullopt;
    if (!groups) return;
    const std::string reason = whyNoEntity(*groups);
    if (reason.empty()) {
      const auto code = unknownGroupIn(*groups);
      if (!code) return;
      report(form.items[1], "no entity has a group " + client::printDatum(client::number(*code)) +
                                ": it is kept and never drawn");
      return;
    }
    report(form.items[1],
           std::string(form.operatorName()) + " would be refused: not made: " + reason);
  }

  explain::ProgramPointer program_;
  check::ProgramNames names_;
  check::Signatures signatures_;
  check::Flow flow_;
  const Drawing scratch_ = scratchDrawing();
  std::vector<check::Finding> findings_;
};

}  // namespace

namespace {

bool isTooLong(const explain::ProgramPointer& program) {
  return program->source.text().size() > worker::kPayloadSizeMax;
}

check::Finding tooLong(const explain::ProgramPointer& program, const char* what) {
  return {check::Severity::Error,
          program,
          0,
          0,
          std::string("the ") + what + " is too long to send: it has " +
              std::to_string(program->source.text().size()) + " bytes, and " +
              std::to_string(worker::kPayloadSizeMax) + " are the most",
          "move functions into libraries of their own (--load)"};
}

// The first host call that is certainly made when the form is evaluated; null when none is.
const Form* findHostCall(const Form& form) {
  if (form.entry == nullptr) return nullptr;
  const std::string_view name = form.entry->name;
  if (name == "QUOTE" || name == "DEFUN") return nullptr;
  if (form.entry->group == explain::Group::HostCall) return &form;
  const bool has_branches = name == "IF" || name == "WHILE" || name == "AND" || name == "OR";
  const std::size_t count =
      has_branches ? std::min<std::size_t>(form.items.size(), 2) : form.items.size();
  for (std::size_t n = 1; n < count; ++n) {
    if (const Form* const call = findHostCall(form.items[n])) return call;
  }
  return nullptr;
}

}  // namespace

std::vector<check::Finding> checkCalls(std::span<const explain::ProgramPointer> programs) {
  if (isTooLong(programs.back())) return {tooLong(programs.back(), "program")};
  return CallChecker(programs).run();
}

std::vector<check::Finding> checkLibrary(const explain::ProgramPointer& library) {
  if (isTooLong(library)) return {tooLong(library, "library")};
  const std::vector<Form>& forms = library->reading.forms;
  std::vector<check::Finding> findings;
  for (const Form& form : forms) {
    const Form* const call = findHostCall(form);
    const bool is_own =
        call != nullptr && std::any_of(forms.begin(), forms.end(), [&](const auto& f) {
          return f.operatorName() == "DEFUN" && f.items.size() > 1 &&
                 f.items[1].name() == call->operatorName();
        });
    if (call == nullptr || is_own) continue;
    findings.push_back({check::Severity::Error, library, call->begin, call->end,
                        "a library must not make host calls",
                        "put the call into a function, for the programs that load the library"});
    break;
  }
  return findings;
}

}  // namespace lisp_worker::console
