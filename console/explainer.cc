// The worker reports a message and no place. So the explainer notes the program, the answers and
// the context as they go by, and after a failure has explain/ evaluate the same once more,
// observed. An explanation is given only if that comes to the outcome that the worker has reported.

#include "console/explainer.h"

#include <algorithm>
#include <span>
#include <utility>

#include "explain/explanation.h"
#include "explain/form.h"
#include "explain/value_text.h"
#include "lisp_worker/client/answer_text.h"

namespace lisp_worker::console {

using client::EvalStatus;

namespace {

geometry::PlanarMapping planeOf(const client::PlanarSystem& s) {
  return {s.origin_x, s.origin_y, s.a, s.b, s.c, s.d};
}

// Only what TRANS looks at.
geometry::CoordContext contextOf(const client::CoordContext& context) {
  geometry::CoordContext own;
  for (std::size_t n = 0; n < own.systems.size(); ++n) {
    const client::PlanarSystem& s = context.systems[n];
    own.systems[n] = {planeOf(s), s.z_scale, s.z_offset};
  }
  return own;
}

// The form that stands at exactly this place; null when there is none.
const explain::Form* findForm(const std::vector<explain::Form>& forms, std::size_t begin,
                              std::size_t end) {
  const std::vector<explain::Form>* level = &forms;
  for (;;) {
    const auto form = std::find_if(level->begin(), level->end(), [&](const explain::Form& each) {
      return each.begin <= begin && end <= each.end;
    });
    if (form == level->end()) return nullptr;
    if (form->begin == begin && form->end == end) return &*form;
    level = &form->items;
  }
}

// From a call to one of its arguments.
void narrow(explain::FaultyForm& fault, std::size_t argument) {
  if (fault.program == nullptr) return;
  const explain::Form* const call = findForm(fault.program->reading.forms, fault.begin, fault.end);
  if (call == nullptr || argument + 1 >= call->items.size()) return;
  fault.begin = call->items[argument + 1].begin;
  fault.end = call->items[argument + 1].end;
}

}  // namespace

void Explainer::start(std::string_view name, std::string_view text,
                      const client::CoordContext* context) {
  follower_.reset();
  program_ = explain::readProgram(std::string(name), std::string(text));
  has_context_ = context != nullptr;
  if (has_context_) context_ = contextOf(*context);
  earlier_contexts_.clear();
  answers_.clear();
  refused_arguments_.clear();
  outcome_ = {};
}

void Explainer::answer(std::string_view call_name, std::string_view answer_text,
                       std::string_view refusal, std::optional<std::size_t> refused_argument) {
  last_answer_ = answer_text;
  const auto program = explain::readProgram("answer", last_answer_);
  const std::vector<explain::Form>& forms = program->reading.forms;
  if (forms.size() != 1) return;  // The worker refuses it too, and the program is over.
  answers_.push_back({.name = std::string(call_name),
                      .answer = forms.front().value,
                      .refusal = std::string(refusal)});
  if (refused_argument) refused_arguments_[answers_.size() - 1] = *refused_argument;
}

std::optional<std::vector<lisp::LispValue>> Explainer::valuesOfWaitingCall(
    const client::EvalResult& waiting) {
  if (earlier_contexts_.empty()) {
    if (follower_ == nullptr) {
      follower_ = std::make_unique<explain::Follower>(program_, definitions_,
                                                      has_context_ ? &context_ : nullptr);
    }
    return follower_->argumentsAfter(answers_);
  }
  // An evaluation that goes on behind the call tells the arguments; the answer does not matter.
  answers_.push_back({.name = waiting.call_name, .answer = {}});
  static_cast<void>(evaluateAside());
  auto values = std::move(answers_.back().arguments);
  answers_.pop_back();
  return values;
}

std::optional<client::DatumList> Explainer::argumentsOf(const client::EvalResult& waiting) {
  constexpr std::size_t kTextSizeMax = 1 << 20;
  const auto values = valuesOfWaitingCall(waiting);
  if (!values || values->size() != waiting.arg_count) return std::nullopt;
  client::DatumList arguments;
  for (const auto& value : *values) {
    const auto text = explain::write(value, kTextSizeMax);
    auto datum = text ? client::readDatum(*text, nullptr) : std::nullopt;
    if (!datum) return std::nullopt;
    arguments.push_back(std::move(*datum));
  }
  return arguments;
}

void Explainer::replaceContext(const client::CoordContext& context) {
  follower_.reset();
  // The call that waits has been reached under the old one; its answer is still to come.
  earlier_contexts_.push_back({answers_.size() + 1, context_});
  context_ = contextOf(context);
}

explain::Outcome Explainer::evaluateAgain(explain::Watcher* watcher) {
  // The evaluation that reached a call first has decided what the call asks for.
  for (const ContextVersion& version : earlier_contexts_) {
    if (version.call_count > answers_.size()) continue;
    explain::Definitions scratch = definitions_;
    static_cast<void>(explain::evaluate(
        program_, scratch, std::span(answers_).first(version.call_count), &version.context));
  }
  return explain::evaluate(program_, definitions_, answers_, has_context_ ? &context_ : nullptr, {},
                           watcher);
}

std::string Explainer::explainUnreadableAnswer(const client::EvalResult& result) {
  outcome_ = evaluateAgain(watcher_);  // Stops at the call that was answered.
  const explain::FaultyForm call = outcome_.fault;
  const auto answer = explain::explainAnswer(last_answer_);
  if (!answer || answer->message != result.text) return "";
  outcome_ = *answer;
  std::string text = explain::explanationOf(*answer);
  if (call.program != nullptr) {
    text += "  asked at  " + explain::nameOfPlace(*call.program, call.begin) + "\n" +
            explain::showPlace(call.program->source, call.begin, call.end);
  }
  return text;
}

// Leaves the definitions as they are, since the worker forgets the program.
explain::Outcome Explainer::evaluateAside(explain::Watcher* watcher) {
  explain::Definitions kept = definitions_;
  explain::Outcome outcome = evaluateAgain(watcher);
  definitions_ = std::move(kept);
  return outcome;
}

void Explainer::stop() {
  follower_.reset();
  outcome_ = evaluateAside(watcher_);
}

std::string Explainer::placeOfWaitingCall() {
  const explain::Outcome outcome = evaluateAside();
  if (outcome.kind != explain::OutcomeKind::HostCallRequired || outcome.fault.program == nullptr) {
    return "";
  }
  return explain::nameOfPlace(*outcome.fault.program, outcome.fault.begin);
}

std::string Explainer::cancel() {
  follower_.reset();
  outcome_ = evaluateAside(watcher_);
  const bool waits = outcome_.kind == explain::OutcomeKind::HostCallRequired;
  return waits ? explain::explanationOf(outcome_) : "";
}

std::string Explainer::callOfTypedCommand() const {
  const std::vector<explain::Form>& forms = program_->reading.forms;
  const bool are_functions =
      !forms.empty() && std::all_of(forms.begin(), forms.end(), [](const explain::Form& form) {
        return form.operatorName() == "DEFUN" && form.items.size() > 1;
      });
  const std::string name(are_functions ? forms.back().items[1].name() : "");
  return name.starts_with("C:") ? "(" + name + ")" : "";
}

std::string Explainer::explainRefusals() const {
  constexpr std::size_t kShownMax = 5;
  std::string text;
  std::size_t count = 0;
  for (std::size_t n = 0; n < answers_.size(); ++n) {
    if (answers_[n].refusal.empty() || ++count > kShownMax) continue;
    explain::AnsweredCall call = answers_[n];
    const auto argument = refused_arguments_.find(n);
    if (call.fault && argument != refused_arguments_.end()) narrow(*call.fault, argument->second);
    text += explain::explanationOf(call);
  }
  if (count > kShownMax) {
    const std::size_t more = count - kShownMax;
    text += "... and " + std::to_string(more) + " more " +
            (more == 1 ? "call was refused\n" : "calls were refused\n");
  }
  return text;
}

std::string Explainer::finish(const client::Reply<client::EvalResult>& reply) {
  follower_.reset();
  if (program_->source.text().size() > worker::kPayloadSizeMax) return "";  // Was never sent.
  if (reply.value && reply.value->text.starts_with("host response parse error: ") &&
      reply.value->eval_status == EvalStatus::ReadError) {
    return explainUnreadableAnswer(*reply.value);
  }
  outcome_ = evaluateAgain(watcher_);
  if (!reply.value) return "";
  const client::EvalResult& result = *reply.value;
  const bool is_same = static_cast<int>(outcome_.kind) == static_cast<int>(result.eval_status) &&
                       outcome_.steps == result.steps &&
                       (result.eval_status == EvalStatus::Value || outcome_.message == result.text);
  if (!is_same) {
    for (explain::AnsweredCall& call : answers_) {  // They need not be there.
      call.fault.reset();
      call.place.reset();
    }
    return "no explanation: followed here, the program comes to \"" + outcome_.message +
           "\" after " + explain::counted(outcome_.steps, "step") + "\n";
  }
  return result.eval_status == EvalStatus::Value ? "" : explain::explanationOf(outcome_);
}

}  // namespace lisp_worker::console
