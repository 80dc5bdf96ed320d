#include "console/adapter/run_view.h"

#include <algorithm>
#include <utility>

#include "console/command_input.h"
#include "console/debug/breakpoints.h"
#include "explain/form.h"
#include "explain/value_text.h"
#include "lisp_worker/client/answer_text.h"
#include "lisp_worker/client/number_text.h"
#include "trace/condition.h"

namespace lisp_worker::console {
namespace {

using trace::CallNumber;
using trace::Index;
using trace::Position;

constexpr std::size_t kValueSizeMax = 400;
constexpr std::size_t kWholeSizeMax = std::size_t{1} << 20;
constexpr const char* kLost = "a value that was not kept";

const char* typeOf(const lisp::LispValue& value) {
  switch (value.kind()) {
    case lisp::ValueKind::Nil:
      return "nil";
    case lisp::ValueKind::Number:
      return "number";
    case lisp::ValueKind::String:
      return "text";
    case lisp::ValueKind::Symbol:
      return "symbol";
    case lisp::ValueKind::List:
      return "list";
  }
  return "";
}

// Where a run has stopped: at the form that has failed, or at the last one of the top level.
Position lastShown(const RecordedRun& run) {
  if (const auto failed = failedAt(run)) return *failed;
  Position step = run.index.stepCount();
  while (run.index.step(step).around != 0) step = run.index.step(step).around;
  return step;
}

std::vector<std::string> parametersOf(const Index& index, CallNumber call) {
  const explain::Function& function = index.function(index.calls()[call].function);
  std::vector<std::string> names;
  for (const explain::Form& item : function.definition->items[2].items) {
    if (item.name() == "/") break;
    names.emplace_back(item.name());
  }
  return names;
}

}  // namespace

void RunView::setPosition(Position position) {
  first_frame_ += static_cast<std::int64_t>(frames_.size());
  first_reference_ += static_cast<std::int64_t>(references_.size());
  frames_.clear();
  references_.clear();
  position_ = position;
  const Index& index = run_.index;
  if (index.stepCount() == 0) return;
  Position shown = position < index.end() ? position : lastShown(run_);
  Position moment = position;
  for (const CallNumber call : index.callsAt(position)) {
    frames_.push_back({call, shown, moment});
    shown = moment = index.calls()[call].site;
  }
  frames_.push_back({0, shown, moment});
}

const RunView::Frame* RunView::findFrame(std::int64_t number) const {
  const std::int64_t place = number - first_frame_;
  return place < 0 || place >= static_cast<std::int64_t>(frames_.size())
             ? nullptr
             : &frames_[static_cast<std::size_t>(place)];
}

const RunView::Reference* RunView::findReference(std::int64_t number) const {
  const std::int64_t place = number - first_reference_;
  return place < 0 || place >= static_cast<std::int64_t>(references_.size())
             ? nullptr
             : &references_[static_cast<std::size_t>(place)];
}

std::int64_t RunView::refer(Reference reference) {
  references_.push_back(std::move(reference));
  return first_reference_ + static_cast<std::int64_t>(references_.size()) - 1;
}

std::string RunView::nameOf(const Frame& frame) const {
  if (frame.call == 0) return "top level";
  const explain::Function& function = run_.index.function(run_.index.calls()[frame.call].function);
  return std::string(function.definition->items[1].name());
}

Json RunView::stackTrace(std::size_t first, std::size_t count) const {
  Json frames = Json::array();
  const std::size_t end = count == 0 ? frames_.size() : std::min(frames_.size(), first + count);
  for (std::size_t n = first; n < end; ++n) {
    Json frame = {{"id", first_frame_ + static_cast<std::int64_t>(n)},
                  {"name", nameOf(frames_[n])},
                  {"canRestart", true}};
    sources_.addPlaceOfStep(frame, frames_[n].shown);
    frames.push_back(std::move(frame));
  }
  return {{"stackFrames", std::move(frames)}, {"totalFrames", frames_.size()}};
}

std::optional<Position> RunView::beginOf(std::int64_t frame) const {
  const Frame* const found = findFrame(frame);
  if (found == nullptr) return std::nullopt;
  return run_.index.calls()[found->call].begin;
}

std::vector<std::string> RunView::namesIn(const Reference& scope) const {
  const CallNumber call = scope.kind == Reference::Kind::Globals ? 0 : scope.frame.call;
  if (scope.kind == Reference::Kind::Parameters) return parametersOf(run_.index, call);
  std::vector<std::string> names =
      run_.index.namesOf(call, call == 0 ? position_ : scope.frame.moment);
  if (scope.kind == Reference::Kind::Locals) {
    const std::vector<std::string> parameters = parametersOf(run_.index, call);
    std::erase_if(names, [&parameters](const std::string& name) {
      return std::find(parameters.begin(), parameters.end(), name) != parameters.end();
    });
  }
  return names;
}

Json RunView::scopes(std::int64_t frame, std::string& error) {
  const Frame* const found = findFrame(frame);
  if (found == nullptr) {
    error = "there is no frame " + std::to_string(frame) + " at this moment";
    return nullptr;
  }
  Json scopes = Json::array();
  const auto add = [&](const char* name, const char* hint, Reference::Kind kind) {
    Reference reference{.kind = kind, .frame = *found};
    Json scope = {{"name", name}, {"expensive", false}};
    if (hint != nullptr) scope["presentationHint"] = hint;
    if (kind == Reference::Kind::Drawing) {
      scope["namedVariables"] = 1;
      scope["indexedVariables"] = run_.drawingAt(position_).entities().size();
    } else {
      scope["namedVariables"] = namesIn(reference).size();
    }
    scope["variablesReference"] = refer(std::move(reference));
    scopes.push_back(std::move(scope));
  };
  if (found->call != 0) {
    add("Parameters", "arguments", Reference::Kind::Parameters);
    add("Locals", "locals", Reference::Kind::Locals);
  }
  add("Globals", "globals", Reference::Kind::Globals);
  add("The drawing", nullptr, Reference::Kind::Drawing);
  return scopes;
}

void RunView::addValue(Json& variable, const char* key, const lisp::LispValue& value) {
  variable[key] = explain::shorten(value, kValueSizeMax);
  if (sources_.style().shows_types) variable["type"] = typeOf(value);
  const auto elements = lisp::asList(value);
  variable["variablesReference"] = 0;
  if (!elements || elements->empty()) return;
  variable["variablesReference"] = refer({.kind = Reference::Kind::List, .value = value});
  variable["indexedVariables"] = elements->size();
}

Json RunView::named(const Reference& scope, const std::string& name) {
  const bool is_global = scope.kind == Reference::Kind::Globals;
  const auto variable = run_.index.findIn(is_global ? 0 : scope.frame.call, name,
                                          is_global ? position_ : scope.frame.moment);
  const auto value = run_.index.valueOf(
      name, variable.value_or(trace::Variable{.origin = trace::Origin::EarlierProgram}));
  Json json = {{"name", name}, {"evaluateName", name}};
  if (value) {
    addValue(json, "value", *value);
  } else {
    json["value"] = kLost;
    json["variablesReference"] = 0;
  }
  return json;
}

Json RunView::entity(const Entity& entity) {
  Json json = {
      {"name", entity.handle},
      {"value", describeEntity(entity)},
      {"variablesReference", refer({.kind = Reference::Kind::Entity, .handle = entity.handle})},
      {"namedVariables", entity.groups.size()}};
  if (sources_.style().shows_types) json["type"] = "entity";
  return json;
}

std::size_t RunView::childCount(const Reference& parent) const {
  if (parent.kind == Reference::Kind::Drawing) return run_.drawingAt(position_).entities().size();
  if (parent.kind == Reference::Kind::List) return lisp::asList(parent.value)->size();
  return 0;
}

void RunView::appendNamed(const Reference& parent, Json& variables) {
  const Drawing& drawing = run_.drawingAt(position_);
  switch (parent.kind) {
    case Reference::Kind::List:
      return;
    case Reference::Kind::Drawing:
      variables.push_back({{"name", "current layer"},
                           {"value", drawing.currentLayer()},
                           {"variablesReference", 0}});
      return;
    case Reference::Kind::Entity: {
      const Entity* const entity = drawing.find(parent.handle);
      if (entity == nullptr) return;
      for (const client::Datum& group : entity->groups) {
        const client::DatumList* const parts = client::asList(group);
        variables.push_back({{"name", client::printNumber(groupCode(group).value_or(0))},
                             {"value", client::printDatum((*parts)[1])},
                             {"variablesReference", 0}});
      }
      return;
    }
    case Reference::Kind::Parameters:
    case Reference::Kind::Locals:
    case Reference::Kind::Globals:
      for (const std::string& name : namesIn(parent)) variables.push_back(named(parent, name));
      return;
  }
}

void RunView::appendIndexed(const Reference& parent, std::size_t first, std::size_t count,
                            Json& variables) {
  const std::size_t all = childCount(parent);
  const std::size_t asked = count == 0 ? all : count;
  const std::size_t begin = std::min(first, all);
  const std::size_t end = begin + std::min({asked, all - begin, kChildrenMax});
  std::size_t number = 0;
  if (parent.kind == Reference::Kind::Drawing) {
    for (const Entity& each : run_.drawingAt(position_).entities()) {
      if (number == end) break;
      if (number++ >= begin) variables.push_back(entity(each));
    }
  } else if (parent.kind == Reference::Kind::List) {
    const lisp::LispList elements = *lisp::asList(parent.value);
    for (const lisp::LispValue& element : elements) {
      if (number == end) break;
      if (number >= begin) {
        Json json = {{"name", std::to_string(number)}};
        addValue(json, "value", element);
        variables.push_back(std::move(json));
      }
      ++number;
    }
  }
  if (count == 0 && end < all) {
    variables.push_back({{"name", "..."},
                         {"value", explain::counted(all - end, "more", "more") +
                                       ": ask for pages with start and count"},
                         {"variablesReference", 0}});
  }
}

Json RunView::variables(std::int64_t reference, const std::string& filter, std::size_t first,
                        std::size_t count, std::string& error) {
  const Reference* const found = findReference(reference);
  if (found == nullptr) {
    error = "there is no variable " + std::to_string(reference) + " at this moment";
    return nullptr;
  }
  const Reference parent = *found;  // New references move the old ones.
  Json variables = Json::array();
  if (filter != "indexed") appendNamed(parent, variables);
  if (filter != "named") {
    const bool is_page = filter == "indexed" || variables.empty();
    appendIndexed(parent, is_page ? first : 0, is_page ? count : 0, variables);
    if (is_page) return variables;
  }
  // A page of what has names, or of both.
  const std::size_t begin = std::min(first, variables.size());
  const std::size_t end = count == 0 ? variables.size() : std::min(variables.size(), begin + count);
  Json page = Json::array();
  for (std::size_t n = begin; n < end; ++n) page.push_back(std::move(variables[n]));
  return page;
}

Json RunView::evaluate(const std::string& expression, std::int64_t frame, bool is_for_clipboard,
                       std::string& error) {
  const Frame* const found = frame == 0 ? nullptr : findFrame(frame);
  if (frame != 0 && found == nullptr) {
    error = "there is no frame " + std::to_string(frame) + " at this moment";
    return nullptr;
  }
  trace::Condition condition(run_.index, expression);
  error = condition.error();
  if (!error.empty()) return nullptr;
  const auto value = condition.valueAt(found == nullptr ? position_ : found->moment, position_);
  if (!value) {
    error = condition.failure();
    return nullptr;
  }
  Json result = Json::object();
  addValue(result, "result", *value);
  if (is_for_clipboard) {
    if (auto whole = explain::write(*value, kWholeSizeMax)) result["result"] = std::move(*whole);
  }
  return result;
}

std::string RunView::dataOf(std::int64_t reference, const std::string& name,
                            std::string& error) const {
  const Reference* const parent = findReference(reference);
  if (reference != 0 && parent == nullptr) {
    error = "there is no variable " + std::to_string(reference) + " at this moment";
    return "";
  }
  const std::string upper = upperCase(name);
  if (parent != nullptr && parent->kind == Reference::Kind::Drawing) return "entity " + upper;
  if (parent != nullptr &&
      (parent->kind == Reference::Kind::List || parent->kind == Reference::Kind::Entity)) {
    error = "parts of a value never change: watch the variable that holds it";
    return "";
  }
  if (run_.index.historyOf(upper).empty()) {
    error = "nothing in this run assigns " + upper;
    return "";
  }
  return "set " + upper;
}

}  // namespace lisp_worker::console
