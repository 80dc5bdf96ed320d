// Requests and responses are matched in their order, because the worker answers in turn. Run ids
// and context ids begin anew with each worker, so what is known of them is forgotten at each start;
// a run keeps its index in the conversation.

#include "session/conversation.h"

#include <deque>
#include <map>
#include <span>
#include <utility>

namespace lisp_worker::session {

using worker::MessageHeader;
using worker::MessageType;
using worker::WorkerStatus;

namespace {

class ConversationReader {
 public:
  Conversation read(const RecordedSession& session) && {
    for (std::size_t number = 0; number < session.records.size(); ++number) {
      const Record& record = session.records[number];
      switch (record.kind) {
        case RecordKind::Start:
          unanswered_.clear();
          contexts_.clear();
          waiting_.clear();
          break;
        case RecordKind::Request:
          readRequest(record, number);
          break;
        case RecordKind::Response:
        case RecordKind::Broken:
          readResponse(record);
          break;
        case RecordKind::End:
          break;
      }
    }
    return std::move(conversation_);
  }

 private:
  // A request, by its evaluation if it has one, that waits for its response.
  struct Unanswered {
    std::optional<std::size_t> evaluation;
  };

  void readRequest(const Record& record, std::size_t number) {
    Unanswered request;
    if (const std::optional<MessageHeader> header = headerOf(record)) {
      std::string payload = record.body.substr(worker::kHeaderSize);
      switch (static_cast<MessageType>(header->type)) {
        case MessageType::RegisterContext:
          contexts_[header->context_id] = payload;
          conversation_.registrations.push_back({number, header->context_id, std::move(payload)});
          break;
        case MessageType::EvalStart:
          conversation_.runs.push_back({payload, header->context_id, {}});
          request.evaluation =
              addEvaluation(conversation_.runs.size() - 1, std::move(payload), number);
          break;
        case MessageType::EvalResume:
          request.evaluation = addEvaluation(runOf(header->run_id), std::move(payload), number);
          break;
        default:
          break;
      }
    }
    unanswered_.push_back(request);
  }

  std::size_t runOf(std::uint64_t run_id) {
    const auto waiting = waiting_.find(run_id);
    if (waiting != waiting_.end()) return waiting->second;
    conversation_.runs.emplace_back();
    return conversation_.runs.size() - 1;
  }

  std::size_t addEvaluation(std::size_t run, std::string text, std::size_t number) {
    Run& its_run = conversation_.runs[run];
    Evaluation evaluation;
    evaluation.request_record = number;
    evaluation.run = run;
    evaluation.answer_count = its_run.evaluations.size();
    evaluation.text = std::move(text);
    const auto context = contexts_.find(its_run.context_id);
    if (its_run.context_id != 0 && context != contexts_.end()) evaluation.context = context->second;
    const std::size_t index = conversation_.evaluations.size();
    its_run.evaluations.push_back(index);
    conversation_.evaluations.push_back(std::move(evaluation));
    return index;
  }

  void readResponse(const Record& record) {
    if (unanswered_.empty()) return;
    const Unanswered request = unanswered_.front();
    unanswered_.pop_front();
    if (!request.evaluation) return;
    Evaluation& evaluation = conversation_.evaluations[*request.evaluation];
    const std::optional<MessageHeader> header = headerOf(record);
    if (record.kind != RecordKind::Response || !header) return;
    evaluation.is_answered = true;
    evaluation.status = static_cast<WorkerStatus>(header->status);
    evaluation.result = client::decodeEvalResult(
        evaluation.status, std::string_view(record.body).substr(worker::kHeaderSize), nullptr);
    if (evaluation.result && evaluation.result->run_id != 0) {
      waiting_[evaluation.result->run_id] = evaluation.run;
    }
  }

  Conversation conversation_;
  std::deque<Unanswered> unanswered_;
  std::map<std::uint64_t, std::string> contexts_;  // Payloads by the worker's context id.
  std::map<std::uint64_t, std::size_t> waiting_;   // Runs by the worker's run id.
};

}  // namespace

bool Conversation::isCall(const Evaluation& evaluation) const {
  return evaluation.result &&
         evaluation.result->eval_status == client::EvalStatus::HostCallRequired;
}

const Evaluation* Conversation::callOf(std::size_t run, std::size_t number) const {
  if (run >= runs.size() || number == 0 || number > runs[run].evaluations.size()) return nullptr;
  const Evaluation& evaluation = evaluations[runs[run].evaluations[number - 1]];
  return isCall(evaluation) ? &evaluation : nullptr;
}

Conversation understand(const RecordedSession& session) {
  return ConversationReader().read(session);
}

std::optional<MessageHeader> headerOf(const Record& record) {
  if (record.body.size() < worker::kHeaderSize) return std::nullopt;
  return worker::decodeHeader(
      std::span(record.body.data(), record.body.size()).first<worker::kHeaderSize>());
}

}  // namespace lisp_worker::session
