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

#include "console/command_input.h"
#include "console/commands.h"
#include "console/drawing.h"
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

// The value of a constant. A list made by LIST of constants is one too.
std::optional<Datum> constantOf(const Form& form) {
  if (form.isSymbol()) return std::nullopt;
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
  const auto text = explain::write(isQuoted(form) ? form.items[1].value : form.value, kTextSizeMax);
  return text ? client::readDatum(*text, nullptr) : std::nullopt;
}

class CallChecker {
 public:
  explicit CallChecker(explain::ProgramPointer program) : program_(std::move(program)) {}

  std::vector<explain::Finding> run() {
    for (const Form& form : program_->reading.forms) look(form);
    return std::move(findings_);
  }

 private:
  void report(const Form& at, const std::string& message) {
    if (findings_.size() >= explain::kFindingCountMax) return;
    findings_.push_back({explain::Severity::Warning, program_, at.begin, at.end, message, ""});
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
    const bool is_first = result.text.starts_with("nothing done: ");
    if (result.is_whole || !is_first || typed.empty()) return;
    const std::size_t argument = result.failed_argument.value_or(form.items.size());
    const Form& at = argument + 1 < form.items.size() ? form.items[argument + 1] : form;
    report(at, "COMMAND would be refused: " + result.text);
  }

  void lookAtEntity(const Form& form) {
    const auto groups = form.items.size() == 2 ? constantOf(form.items[1]) : std::nullopt;
    if (!groups) return;
    const std::string reason = whyNoEntity(*groups);
    if (reason.empty()) return;
    report(form.items[1],
           std::string(form.operatorName()) + " would be refused: not made: " + reason);
  }

  explain::ProgramPointer program_;
  std::vector<explain::Finding> findings_;
};

}  // namespace

std::vector<explain::Finding> checkCalls(const explain::ProgramPointer& program) {
  const std::size_t size = program->source.text().size();
  if (size <= worker::kPayloadSizeMax) return CallChecker(program).run();
  return {{explain::Severity::Error, program, 0, 0,
           "the program is too long to send: it has " + std::to_string(size) + " bytes, and " +
               std::to_string(worker::kPayloadSizeMax) + " are the most",
           "move functions into libraries of their own (--load)"}};
}

}  // namespace lisp_worker::console
