// Programs carried through a worker, with everything that is said on the way printed for a person.

#ifndef CONSOLE_SESSION_H_
#define CONSOLE_SESSION_H_

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "console/drawing.h"
#include "console/drawing_file.h"
#include "console/expectation.h"
#include "console/explainer.h"
#include "console/host.h"
#include "console/program.h"
#include "console/progress.h"
#include "console/report.h"
#include "console/safe_output.h"
#include "console/script.h"
#include "lisp_worker/client/coordinates.h"
#include "lisp_worker/client/datum.h"
#include "lisp_worker/client/eval_result.h"
#include "lisp_worker/client/process.h"
#include "lisp_worker/client/run.h"
#include "lisp_worker/client/worker_client.h"

namespace lisp_worker::console {

// The end of a program, against what its script expects.
enum class ProgramEnd : std::uint8_t {
  AsExpected,  // As its script says, or with a value if it says nothing.
  Unexpected,
  Broken,  // The conversation is over; client::WorkerClient::fault says why.
};

// A program that makes more host calls is cancelled, unless the caller allows more.
inline constexpr std::size_t kHostCallCountMax = client::RunSettings().host_call_count_max;

// For the worker's answer to one request, unless the caller gives another limit. It takes
// milliseconds, at the very worst some seconds.
inline constexpr std::chrono::milliseconds kTimeLimit{60000};

// Of the changes that a program makes to the drawing only this many are listed, unless everything
// is shown.
inline constexpr std::size_t kShownChangesMax = 12;

// Of the drawing at the end only so many entities.
inline constexpr std::size_t kListedEntitiesMax = 60;

// Of a longer result only this many bytes, unless everything is shown.
inline constexpr std::size_t kResultSizeMax = 4000;

// Of a longer program only this many lines are printed, comments not counted.
inline constexpr std::size_t kProgramLineCountMax = 40;

// A host call that was answered. Longer texts than kKeptTextSizeMax are there as displayText cuts
// them, so that ten thousand of them fit into memory.
struct CallRecord {
  std::string name;
  std::string arguments;  // As the worker wrote them, as one list.
  std::string answer;     // As it was sent.
  std::string note;
};
inline constexpr std::size_t kKeptTextSizeMax = 4096;

class Session {
 public:
  // Both must outlive the session.
  Session(client::WorkerClient& worker, std::ostream& out) : worker_(&worker), out_(out) {}

  // From here on programs run in another worker, which knows nothing of the earlier ones.
  void setWorker(client::WorkerClient& worker) { worker_ = &worker; }

  // Puts a drawing and its coordinate systems in the place of what there is.
  void setSheet(Sheet sheet);
  [[nodiscard]] Sheet sheet() const { return {drawing_, sheet_context_}; }

  // Everything that programs and setSheet change, for taking them back.
  struct State {
    Sheet sheet;
    Drawing before;
    bool is_fresh = true;
  };
  [[nodiscard]] State state() const { return {sheet(), before_, is_fresh_}; }
  void restore(State state);

  // The differences of the last program from what it expects; none when it has ended as expected,
  // or could not be run.
  [[nodiscard]] const std::vector<Mismatch>& mismatches() const { return mismatches_; }

  // The host calls of the last program.
  [[nodiscard]] const std::vector<CallRecord>& calls() const { return calls_; }

  // True when the last program has ended with a value.
  [[nodiscard]] bool hasValue() const { return has_value_; }

  // Asked for answers to host calls before the drawing and the rules; null for nobody.
  void setAnswerer(Answerer* answerer) { answerer_ = answerer; }

  // Asked before each answer; the program is cancelled when it is false. May be empty.
  void setProgress(std::function<bool(const Progress&)> progress) {
    progress_ = std::move(progress);
  }

  // Told what becomes of programs; null for nobody.
  void setReporter(Reporter* reporter) { reporter_ = reporter; }

  // Explains the errors of programs; null for no explanations. It must follow every program that
  // the worker runs, from the first.
  void setExplainer(Explainer* explainer) { explainer_ = explainer; }

  // A program that ends without a value leaves the drawing as it found it: what its script put
  // there first stays. Unless the session keeps what was drawn.
  void setKeep(bool keeps) { keeps_ = keeps; }

  // Programs are cancelled at the first call that the host refuses.
  void setStrict(bool is_strict) { is_strict_ = is_strict; }

  void setHostCallCountMax(std::size_t count) { host_call_count_max_ = count; }

  // The host calls that were refused in programs that do not say themselves how they end.
  [[nodiscard]] std::size_t refusedCount() const { return refused_count_; }

  // Without the conversation, only what a program comes to and what becomes of the drawing.
  void setBrief(bool is_brief) { is_brief_ = is_brief; }
  // Also when the session is brief, all changes are listed and results are printed whole. In a
  // conversation they always are.
  void setWhole(bool is_whole) { is_whole_ = is_whole; }
  // Each program's name is printed before what it comes to, also when the session is brief.
  void setNames(bool shows_names) { shows_names_ = shows_names; }

  // Runs a program on the drawing that it brings with it, or on what there is, after its libraries.
  ProgramEnd run(const Program& program);

  // Runs a library: its program with nothing said, unless it fails.
  ProgramEnd load(const Program& library);

  // Runs `program` as `script` says and prints the conversation under `name`. The drawing is what
  // the programs before have left.
  ProgramEnd run(std::string_view name, std::string_view program, const Script& script);

  // Prints what all programs have left in the drawing.
  void printDrawing(std::string_view heading = "the drawing at the end");

  // Prints what makes the drawing differ from `before`, an earlier state of it: entities, the looks
  // of layers and the current one.
  void printChanges(const Drawing& before);

  [[nodiscard]] const Drawing& drawing() const { return drawing_; }
  // The drawing as the first program on it has found it.
  [[nodiscard]] const Drawing& drawingBefore() const { return before_; }

 private:
  void printLayerChanges(const Drawing& before);
  bool addScriptedEntities(const Script& script);
  bool registerContext(const Script& script, std::size_t at_call);
  ProgramEnd converse(std::string_view program, const Script& script);
  ProgramEnd cancel(const client::EvalResult& waiting, const std::string& reason);
  ProgramEnd cancelRefused(const client::EvalResult& waiting, const std::string& reason);
  void settle(const Drawing& found, bool keeps);
  std::string placeOfWaitingCall();
  void noteResult(const client::Reply<client::EvalResult>& reply, std::size_t program_size);
  void noteExplanation(const std::string& text);
  void report(std::string_view name, ProgramEnd end);
  void printPicks(const std::vector<std::string>& picks);
  void noteQuotes(std::string_view sent);
  std::optional<client::DatumList> knownArguments(const client::EvalResult& waiting);
  ProgramEnd judge(const client::Reply<client::EvalResult>& reply, const Script& script);
  ProgramEnd judgeDrawing(ProgramEnd end, const Script& script);

  // Prints unless the session is brief.
  void tell(std::string_view speaker, std::string_view what, const std::string& text);
  void printExplanation(const std::string& text);
  void tellRefusals();
  void printProgram(std::string_view program);
  void printResponse(const client::Reply<client::EvalResult>& reply, std::size_t call_count);
  void printLine(std::string_view speaker, std::string_view what, const std::string& text,
                 Style style = Style::Plain);

  client::WorkerClient* worker_;
  std::ostream& out_;
  Drawing drawing_;
  Drawing before_;
  bool is_fresh_ = true;  // No program has run on the drawing yet.
  client::CoordContext sheet_context_ = emptySheet().context;
  client::CoordContext context_;  // The worker's, as the program's script changes it.
  Answerer* answerer_ = nullptr;
  std::function<bool(const Progress&)> progress_;
  Explainer* explainer_ = nullptr;
  Reporter* reporter_ = nullptr;
  std::string_view reported_program_;
  ReportedResult result_;  // Of the program that runs.
  std::vector<CallRecord> calls_;
  std::vector<Mismatch> mismatches_;
  bool may_hold_quotes_ = false;  // Some text that the worker has may hold a double quote.
  bool has_value_ = false;        // The last program has ended with a value.
  bool keeps_ = false;
  bool is_strict_ = false;
  bool is_brief_ = false;
  bool shows_names_ = false;
  bool is_whole_ = false;
  std::size_t host_call_count_max_ = kHostCallCountMax;
  std::size_t refused_count_ = 0;
};

// Ends the conversation with a worker and waits for its process. Why it has not ended well;
// otherwise empty.
[[nodiscard]] std::string endWorker(client::WorkerClient& worker, client::WorkerProcess& process);

}  // namespace lisp_worker::console

#endif  // CONSOLE_SESSION_H_
