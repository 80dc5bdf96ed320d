// The calls, changes and results of programs, for those who want data instead of text.

#ifndef CONSOLE_REPORT_H_
#define CONSOLE_REPORT_H_

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <optional>
#include <string>
#include <string_view>

#include "console/drawing.h"
#include "lisp_worker/client/datum.h"

namespace lisp_worker::console {

struct ReportedCall {
  std::size_t number = 0;  // Counted from 1 in its program.
  std::string_view name;
  std::optional<client::DatumList> arguments;  // Empty when they cannot be read.
  std::string_view answer;                     // As it is sent.
  std::string_view note;
  bool is_refused = false;
};

struct ReportedResult {
  enum class End : std::uint8_t { Value, Error, Cancelled, Broken };

  End end = End::Broken;
  std::string text;                         // As the worker writes it: a value, or the message.
  std::optional<client::Datum> value = {};  // Unless it has none that a text can be written for.
  std::uint64_t steps = 0;
  std::size_t call_count = 0;
  std::size_t refused_count = 0;
  std::string place = {};        // Of an error: "a.lsp:4:3"; empty when it is not known.
  std::string explanation = {};  // Lines for a person; may be empty.
  bool is_expected = false;      // As the program's script says, or a value.
  bool is_taken_back = false;    // The drawing is what it was before.
};

// Told in the order in which things happen; the result of a program comes last.
class Reporter {
 public:
  virtual ~Reporter() = default;
  virtual void reportCall(std::string_view program, const ReportedCall& call) = 0;
  virtual void reportChange(std::string_view program, const EntityChange& change) = 0;
  virtual void reportResult(std::string_view program, const ReportedResult& result) = 0;
};

// Writes each as a JSON object in a line of its own, in ASCII. The manual page has the fields.
class JsonReporter : public Reporter {
 public:
  // `out` must outlive the reporter.
  explicit JsonReporter(std::ostream& out) : out_(out) {}

  void reportCall(std::string_view program, const ReportedCall& call) override;
  void reportChange(std::string_view program, const EntityChange& change) override;
  void reportResult(std::string_view program, const ReportedResult& result) override;

 private:
  std::ostream& out_;
};

}  // namespace lisp_worker::console

#endif  // CONSOLE_REPORT_H_
