#include "console/explainer.h"

#include <span>

#include "explain/explanation.h"
#include "explain/form.h"

namespace console {

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

std::string counted(std::uint64_t count) {
  return std::to_string(count) + (count == 1 ? " step" : " steps");
}

}  // namespace

void Explainer::start(std::string_view name, std::string_view text,
                      const client::CoordContext* context) {
  program_ = explain::readProgram(std::string(name), std::string(text));
  has_context_ = context != nullptr;
  if (has_context_) context_ = contextOf(*context);
  earlier_contexts_.clear();
  answers_.clear();
  outcome_ = {};
}

void Explainer::answer(std::string_view call_name, std::string_view answer_text,
                       std::string_view refusal) {
  last_answer_ = answer_text;
  const auto program = explain::readProgram("answer", last_answer_);
  const std::vector<explain::Form>& forms = program->reading.forms;
  if (forms.size() != 1) return;  // The worker refuses it too, and the program is over.
  answers_.push_back({.name = std::string(call_name),
                      .answer = forms.front().value,
                      .refusal = std::string(refusal)});
}

void Explainer::replaceContext(const client::CoordContext& context) {
  // The call that waits has been reached under the old one; its answer is still to come.
  earlier_contexts_.push_back({answers_.size() + 1, context_});
  context_ = contextOf(context);
}

explain::Outcome Explainer::evaluateAgain() {
  // What each call asked for was settled by the evaluation that reached it first.
  for (const ContextVersion& version : earlier_contexts_) {
    if (version.call_count > answers_.size()) continue;
    explain::Definitions scratch = definitions_;
    static_cast<void>(explain::evaluate(
        program_, scratch, std::span(answers_).first(version.call_count), &version.context));
  }
  return explain::evaluate(program_, definitions_, answers_, has_context_ ? &context_ : nullptr);
}

std::string Explainer::explainUnreadableAnswer(const client::EvalResult& result) {
  outcome_ = evaluateAgain();  // Stops at the call that was answered.
  const explain::Fault call = outcome_.fault;
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
explain::Outcome Explainer::evaluateWithoutTrace() {
  explain::Definitions kept = definitions_;
  explain::Outcome outcome = evaluateAgain();
  definitions_ = std::move(kept);
  return outcome;
}

void Explainer::stop() { outcome_ = evaluateWithoutTrace(); }

std::string Explainer::placeOfWaitingCall() {
  const explain::Outcome outcome = evaluateWithoutTrace();
  if (outcome.kind != explain::OutcomeKind::HostCallRequired || outcome.fault.program == nullptr) {
    return "";
  }
  return explain::nameOfPlace(*outcome.fault.program, outcome.fault.begin);
}

std::string Explainer::cancel() {
  outcome_ = evaluateWithoutTrace();
  const bool waits = outcome_.kind == explain::OutcomeKind::HostCallRequired;
  return waits ? explain::explanationOf(outcome_) : "";
}

std::string Explainer::explainRefusals() const {
  constexpr std::size_t kShownMax = 5;
  std::string text;
  std::size_t count = 0;
  for (const explain::AnsweredCall& call : answers_) {
    if (!call.refusal.empty() && ++count <= kShownMax) text += explain::explanationOf(call);
  }
  if (count > kShownMax) {
    const std::size_t more = count - kShownMax;
    text += "... and " + std::to_string(more) + " more " +
            (more == 1 ? "call was refused\n" : "calls were refused\n");
  }
  return text;
}

std::string Explainer::finish(const client::Reply<client::EvalResult>& reply) {
  if (program_->source.text().size() > worker::kPayloadSizeMax) return "";  // Was never sent.
  if (reply.value && reply.value->text.starts_with("host response parse error: ") &&
      reply.value->eval_status == EvalStatus::ReadError) {
    return explainUnreadableAnswer(*reply.value);
  }
  outcome_ = evaluateAgain();
  if (!reply.value) return "";
  const client::EvalResult& result = *reply.value;
  const bool is_same = static_cast<int>(outcome_.kind) == static_cast<int>(result.eval_status) &&
                       outcome_.steps == result.steps &&
                       (result.eval_status == EvalStatus::Value || outcome_.message == result.text);
  if (!is_same) {
    for (explain::AnsweredCall& call : answers_) call.fault.reset();  // It need not be there.
    return "no explanation: followed here, the program comes to \"" + outcome_.message +
           "\" after " + counted(outcome_.steps) + "\n";
  }
  return result.eval_status == EvalStatus::Value ? "" : explain::explanationOf(outcome_);
}

}  // namespace console
