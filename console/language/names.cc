#include "console/language/names.h"

#include <algorithm>
#include <utility>

namespace lisp_worker::console::language {
namespace {

using explain::Form;

class Collector {
 public:
  PartNames collect(const std::vector<Form>& forms) {
    for (const Form& form : forms) look(form);
    return std::move(names_);
  }

 private:
  void add(const Form& atom, Role role) {
    names_.occurrences.push_back({atom.name(), {atom.begin, atom.end}, role, inside_});
  }

  void look(const Form& form) {
    if (form.isSymbol() && form.name() != "T") return add(form, Role::Read);
    if (!form.isList() || form.items.empty()) return;
    const std::string_view name = form.operatorName();
    if (name == "QUOTE") return;
    if (name == "DEFUN" && form.items.size() > 2 && form.items[1].isSymbol()) {
      return lookAtFunction(form);
    }
    const bool is_special =
        form.entry != nullptr && form.entry->group == explain::Group::SpecialForm;
    if (!name.empty() && !is_special) add(form.items.front(), Role::Call);
    for (std::size_t n = name.empty() ? 0 : 1; n < form.items.size(); ++n) {
      const Form& item = form.items[n];
      if (name == "SETQ" && n % 2 == 1) {
        if (item.isSymbol() && item.name() != "T") add(item, Role::Assignment);
      } else {
        look(item);
      }
    }
  }

  void lookAtFunction(const Form& form) {
    add(form.items[1], Role::Definition);
    const Form& name = form.items[1];
    const std::size_t outside = std::exchange(inside_, names_.functions.size());
    names_.functions.push_back(
        {.name = name.name(), .form = &form, .name_span = {name.begin, name.end}});
    bool is_local = false;
    for (const Form& item : form.items[2].items) {
      if (item.name() == "/") is_local = true;
      if (!item.isSymbol() || item.name() == "/" || item.name() == "T") continue;
      // Of the parameters 'X the first, QUOTE, is an apostrophe in the text.
      if (item.begin == form.items[2].begin) continue;
      add(item, is_local ? Role::Local : Role::Parameter);
      FunctionNames& own = names_.functions[inside_];
      (is_local ? own.locals : own.parameters).push_back(item.name());
    }
    for (std::size_t n = 3; n < form.items.size(); ++n) look(form.items[n]);
    inside_ = outside;
  }

  PartNames names_;
  std::size_t inside_ = kTopLevel;
};

}  // namespace

bool FunctionNames::owns(std::string_view variable) const {
  const auto has = [variable](const std::vector<std::string_view>& names) {
    return std::find(names.begin(), names.end(), variable) != names.end();
  };
  return has(parameters) || has(locals);
}

const Occurrence* PartNames::find(std::size_t offset) const {
  const auto found = std::partition_point(
      occurrences.begin(), occurrences.end(),
      [offset](const Occurrence& occurrence) { return occurrence.span.end < offset; });
  return found != occurrences.end() && found->span.touches(offset) ? &*found : nullptr;
}

PartNames namesIn(const std::vector<explain::Form>& forms) { return Collector().collect(forms); }

}  // namespace lisp_worker::console::language
