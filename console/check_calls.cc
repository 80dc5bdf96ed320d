// Walks the forms of a program and looks at calls of the drawing whose arguments are constants: an
// entity list that ENTMAKE would refuse, an unknown command, a selection mode or an object snap
// that is none. Arguments that are computed are not looked at.

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

// Commands that act on selected entities: their effect depends on the drawing.
constexpr std::array<std::string_view, 6> kSelectingCommands = {"MOVE",  "COPY",   "ROTATE",
                                                                "SCALE", "MIRROR", "ERASE"};

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
      : program_(programs.back()), names_(programs), flow_(program_->reading.forms, names_) {}

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
    if (name == "ENTMAKE" || name == "ENTMAKEX") lookAtEntity(form);
    for (const Form& item : form.items) look(item);
  }

  void lookAtCommand(const Form& form) {
    DatumList inputs;
    for (std::size_t n = 1; n < form.items.size(); ++n) {
      auto input = constantOf(form.items[n]);
      if (!input) break;
      inputs.push_back(*std::move(input));
    }
    const auto command = inputs.empty() ? std::nullopt : client::asString(inputs.front());
    if (!command) return;
    const std::string typed = upperCase(*command);
    const bool is_known = isCommand(typed);
    const bool selects = std::find(kSelectingCommands.begin(), kSelectingCommands.end(), typed) !=
                         kSelectingCommands.end();
    const bool is_whole = inputs.size() + 1 == form.items.size();
    if (is_known && (selects || !is_whole)) return;
    Drawing scratch;
    const CommandResult result = runCommand(scratch, inputs);
    // Behind the first command there may be one that depends on the drawing.
    const bool is_first = result.text.starts_with("nothing done: ") ||
                          result.text.find("there is no command ") != std::string::npos;
    if (result.is_whole || !is_first || typed.empty()) return;
    const std::size_t argument = result.failed_argument.value_or(form.items.size());
    const Form& at = argument + 1 < form.items.size() ? form.items[argument + 1] : form;
    report(at, "COMMAND would be refused: " + result.text);
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
  check::Flow flow_;
  std::vector<check::Finding> findings_;
};

}  // namespace

std::vector<check::Finding> checkCalls(std::span<const explain::ProgramPointer> programs) {
  const explain::ProgramPointer& program = programs.back();
  const std::size_t size = program->source.text().size();
  if (size <= worker::kPayloadSizeMax) return CallChecker(programs).run();
  return {{check::Severity::Error, program, 0, 0,
           "the program is too long to send: it has " + std::to_string(size) + " bytes, and " +
               std::to_string(worker::kPayloadSizeMax) + " are the most",
           "move functions into libraries of their own (--load)"}};
}

}  // namespace lisp_worker::console
