// The texts of a recorded run, and places in them as an editor counts them.

#ifndef CONSOLE_ADAPTER_RUN_SOURCES_H_
#define CONSOLE_ADAPTER_RUN_SOURCES_H_

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "console/adapter/client_style.h"
#include "console/debug/recorded_run.h"
#include "console/json_parts.h"
#include "explain/form.h"
#include "explain/source.h"
#include "trace/index.h"

namespace lisp_worker::console {

class RunSources {
 public:
  // `run` must outlive the sources.
  RunSources(const RecordedRun& run, ClientStyle style);

  // A Source of the protocol. One without a file, or whose file is gone, has a reference.
  [[nodiscard]] Json source(std::uint32_t program) const;
  [[nodiscard]] Json all() const;
  // The program that a Source of the protocol, or a reference, means.
  [[nodiscard]] std::optional<std::uint32_t> find(const Json& source,
                                                  std::int64_t reference = 0) const;

  // Adds line, column, endLine and endColumn of a form, and its source.
  void addPlace(Json& object, std::uint32_t program, const explain::Form& form) const;
  void addPlaceOfStep(Json& object, trace::Position step) const;

  // The form where a debugger can stop that begins first at or after a place; a column of
  // std::nullopt is the beginning of the line. Lines and columns are the client's. Empty when there
  // is none.
  [[nodiscard]] std::optional<std::uint32_t> stopAt(std::uint32_t program, std::int64_t line,
                                                    std::optional<std::int64_t> column) const;
  // The forms where a debugger can stop that begin from one line to another.
  [[nodiscard]] Json stopsBetween(std::uint32_t program, std::int64_t line,
                                  std::int64_t end_line) const;

  [[nodiscard]] const ClientStyle& style() const { return style_; }

 private:
  const RecordedRun& run_;
  std::vector<std::string> paths_;  // By program; empty for one without a file.
  ClientStyle style_;
};

// The number of UTF-16 units in the text. A byte that belongs to no letter counts for one.
[[nodiscard]] std::size_t utf16Size(std::string_view text);
// The byte at which so many UTF-16 units have passed, or the end of the text.
[[nodiscard]] std::size_t utf16Offset(std::string_view text, std::size_t units);

}  // namespace lisp_worker::console

#endif  // CONSOLE_ADAPTER_RUN_SOURCES_H_
