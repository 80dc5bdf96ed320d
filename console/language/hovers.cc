#include "console/language/hovers.h"

#include <algorithm>

#include "console/command_input.h"
#include "console/commands.h"
#include "console/entity.h"
#include "console/language/cursor.h"
#include "explain/habits.h"
#include "explain/value_text.h"

namespace lisp_worker::console::language {
namespace {

using explain::Entry;
using explain::Form;

std::string inCode(std::string_view text) { return "```lisp\n" + std::string(text) + "\n```\n"; }

// As it is, not as markdown.
std::string inBlock(std::string_view text) { return "```text\n" + std::string(text) + "\n```\n"; }

std::string callOf(const FunctionNames& function) {
  std::string text = "(" + std::string(function.name);
  for (const std::string_view parameter : function.parameters) {
    text += ' ';
    text += parameter;
  }
  return text + ")";
}

std::string fileNameOf(const ProgramText& text) { return text.uri.substr(text.uri.rfind('/') + 1); }

std::string placeOf(const ProgramText& text, std::size_t offset) {
  return fileNameOf(text) + ", line " + std::to_string(text.document.lineOf(offset) + 1);
}

std::string describeFunction(const Unit& unit, const Scopes::Function& definition) {
  const FunctionNames& function = *definition.names;
  std::string text = inCode(callOf(function));
  text += commentAbove(*definition.part->part, *function.form);
  if (!function.locals.empty()) {
    text += "\nLocals:";
    for (const std::string_view local : function.locals) text += " `" + std::string(local) + "`";
    text += '\n';
  }
  if (definition.text != unit.own) {
    text += "\n" + placeOf(*unit.texts[definition.text],
                           definition.part->placed(function.name_span).begin);
  }
  return text;
}

std::string describeFunctionNamed(const Unit& unit, std::string_view name) {
  if (const auto* const own = unit.scopes.findFunction(name)) return describeFunction(unit, *own);
  if (const Entry* const entry = explain::findEntry(name)) return markdownOf(*entry);
  const explain::Habit* const habit = explain::findHabit(name);
  return habit == nullptr ? "" : inBlock(explain::describe(*habit));
}

// The line of a place, as far as a person wants to see it.
std::string lineAt(const ProgramText& text, std::size_t offset) {
  constexpr std::size_t kLineMax = 200;
  Span line = text.document.lineSpan(text.document.lineOf(offset));
  line.end = std::min(line.end, line.begin + kLineMax);
  std::string_view shown = text.document.textOf(line);
  shown.remove_prefix(std::min(shown.find_first_not_of(" \t"), shown.size()));
  return std::string(shown);
}

std::string describeVariable(const Unit& unit, const Use& use) {
  const std::string name(use.name);
  if (name == "T") return inCode("T") + "True; it evaluates to itself.";
  std::string text = inCode(name);
  const std::vector<Use> found = unit.scopes.definitionsOf(use);
  if (found.empty()) return text + "A variable that nothing here assigns.";
  bool is_first = true;
  for (const Use& definition : found) {
    const ProgramText& where = *unit.texts[definition.text];
    const bool is_own_text = definition.text == unit.own;
    text += is_first ? "" : "  \n";
    is_first = false;
    if (definition.role == Role::Assignment) {
      text += "A global variable, first assigned in " + placeOf(where, definition.span.begin) +
              ":\n" + inCode(lineAt(where, definition.span.begin));
    } else {
      const Cursor cursor = *cursorAt(where.parts, definition.span.begin);
      const Occurrence* const at = cursor.part->part->names().find(cursor.offset);
      const FunctionNames& function = cursor.part->part->names().functions[at->function];
      text += (definition.role == Role::Local ? "A local of " : "A parameter of ") +
              std::string("`") + std::string(function.name) + "`" +
              (is_own_text ? "" : ", " + placeOf(where, definition.span.begin));
    }
  }
  return text;
}

// A string in a call of COMMAND, the type or the code of an entity's group.
std::string describeConstant(const Cursor& cursor) {
  const Form& form = *cursor.innermost();
  const Form* const list = cursor.list();
  if (list == nullptr || list == &form) return "";
  const Part& part = *cursor.part->part;
  const bool is_string = form.value.kind() == lisp::ValueKind::String;
  const std::string content = upperCase(is_string ? contentOf(part, form) : "");
  const std::string_view name = list->operatorName();
  if (is_string && (name == "COMMAND" || name == "COMMAND-S")) {
    for (const std::string_view summary : commandSummaries()) {
      if (summary.starts_with(content + " ")) return inBlock(summary);
    }
    return "";
  }
  const auto code = list->items.empty() ? std::nullopt : lisp::asNumber(list->items.front().value);
  if (!code) return "";
  if (is_string && *code == kTypeGroup) {
    const std::string reference = typeReference(content);
    return reference.empty() ? "" : inBlock(reference);
  }
  if (&form != &list->items.front()) return "";
  // The type is in a group beside this one.
  std::string type;
  auto outer = std::find(cursor.around.begin(), cursor.around.end(), list);
  if (outer != cursor.around.begin() && isApostrophe(**(outer - 1))) --outer;
  if (outer != cursor.around.begin()) {
    for (const Form& group : (*(outer - 1))->items) {
      const Form& written = isApostrophe(group) && group.items.size() == 2 ? group.items[1] : group;
      if (written.items.size() != 2 || lisp::asNumber(written.items[0].value) != kTypeGroup)
        continue;
      if (written.items[1].value.kind() == lisp::ValueKind::String) {
        type = upperCase(contentOf(part, written.items[1]));
      }
    }
  }
  const Span span = part.spanOf(form);
  const std::string_view written = part.text().substr(span.begin, span.size());
  for (const std::string_view of : {std::string_view(type), std::string_view()}) {
    for (const GroupNote& group : groupsOf(of)) {
      if (group.code != written) continue;
      return inBlock(std::string(group.code) + "  " + std::string(group.meaning) +
                     (group.otherwise == "needed" ? "" : "; else " + std::string(group.otherwise)));
    }
  }
  return "";
}

// The words between a call's name and its last parenthesis; (A B) and [A [B]] are one word.
std::vector<Span> parametersIn(std::string_view label) {
  std::vector<Span> words;
  std::size_t depth = 0;
  std::size_t begin = 0;
  for (std::size_t at = 1; at < label.size(); ++at) {
    const char c = label[at];
    const bool ends = (c == ' ' && depth == 0) || at + 1 == label.size();
    if (ends && begin != 0 && at > begin) words.push_back({begin, at});
    if (c == ' ' && depth == 0) begin = at + 1;
    if (c == '(' || c == '[') ++depth;
    if ((c == ')' || c == ']') && depth > 0) --depth;
  }
  return words;
}

}  // namespace

std::string markdownOf(const Entry& entry) {
  std::string text = inCode(entry.form) + std::string(entry.meaning) + "\n";
  if (!entry.example.empty()) {
    text += inCode(std::string(entry.example) + "\n; => " + std::string(entry.result));
  }
  if (!entry.messages.empty()) text += "Errors: `" + std::string(entry.messages) + "`\n";
  return text;
}

std::optional<Hover> hoverAt(const Unit& unit, std::size_t offset) {
  const ProgramText& own = *unit.texts[unit.own];
  const auto cursor = cursorAt(own.parts, offset);
  if (!cursor || cursor->innermost() == nullptr) return std::nullopt;
  const Form& form = *cursor->innermost();
  const Span span = cursor->part->placed(cursor->part->part->spanOf(form));
  std::string markdown;
  if (const auto use = unit.scopes.at(unit.own, offset)) {
    markdown = isFunctionRole(use->role) ? describeFunctionNamed(unit, use->name)
                                         : describeVariable(unit, *use);
    if (markdown.empty()) return std::nullopt;
    return Hover{use->span, markdown};
  }
  if (form.isList()) return std::nullopt;
  markdown = describeConstant(*cursor);
  const Form* const list = cursor->list();
  const bool is_special = list != nullptr && !list->items.empty() &&
                          &list->items.front() == &form && list->entry != nullptr &&
                          !cursor->isQuoted();
  if (is_special) markdown = markdownOf(*list->entry);
  if (form.name() == "T" && !cursor->isQuoted()) {
    markdown = inCode("T") + "True; it evaluates to itself.";
  }
  if (markdown.empty()) return std::nullopt;
  return Hover{span, markdown};
}

std::optional<Signature> signatureOf(const Unit& unit, std::string_view name) {
  Signature signature;
  if (const auto* const own = unit.scopes.findFunction(name)) {
    signature.label = callOf(*own->names);
    signature.documentation = commentAbove(*own->part->part, *own->names->form);
  } else if (const Entry* const entry = explain::findEntry(name)) {
    signature.label = entry->form.substr(0, entry->form.find(" or "));
    signature.documentation = entry->meaning;
  } else {
    return std::nullopt;
  }
  signature.parameters = parametersIn(signature.label);
  if (!signature.parameters.empty()) {
    const Span& last = signature.parameters.back();
    if (signature.label.substr(last.begin, last.size()) == "...") {
      signature.repeats = true;
      signature.parameters.pop_back();
    }
  }
  return signature;
}

std::optional<SignatureHelp> signatureAt(const Unit& unit, std::size_t offset) {
  const auto cursor = cursorAt(unit.texts[unit.own]->parts, offset);
  if (!cursor) return std::nullopt;
  const Form* const list = cursor->list();
  if (list == nullptr || list->items.empty() || !list->items.front().isSymbol())
    return std::nullopt;
  if (cursor->isQuoted() || cursor->offset <= list->begin) return std::nullopt;
  const std::size_t item = itemAt(*list, cursor->offset);
  if (item == 0) return std::nullopt;
  auto signature = signatureOf(unit, list->operatorName());
  if (!signature) return std::nullopt;
  SignatureHelp help{.signature = *std::move(signature), .active = item - 1};
  const std::size_t count = help.signature.parameters.size();
  // SETQ alternates between its two.
  if (list->operatorName() == "SETQ") help.active = (item - 1) % 2;
  if (*help.active < count) return help;
  help.active = help.signature.repeats && count > 0 ? std::optional(count - 1) : std::nullopt;
  return help;
}

}  // namespace lisp_worker::console::language
