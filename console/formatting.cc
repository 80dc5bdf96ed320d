#include "console/formatting.h"

#include <utility>

#include "check/check.h"
#include "console/program.h"
#include "explain/evaluation.h"
#include "explain/form.h"
#include "explain/format.h"

namespace lisp_worker::console {
namespace {

// As `check` reports a text that cannot be read.
std::string describeFault(const std::string& name, std::string text,
                          const explain::ReadFault& fault) {
  check::Finding finding;
  finding.program = explain::readProgram(name, std::move(text));
  finding.begin = fault.begin;
  finding.end = fault.end;
  finding.message = fault.message;
  finding.advice = fault.hint;
  return check::describe(finding) + "  left as it was\n";
}

}  // namespace

FormattedFile formatFile(const std::string& path) {
  FormattedFile file;
  std::string error;
  auto bytes = readBytes(path, error);
  if (!bytes) {
    file.complaint = "lisp_console: " + error + "\n";
    return file;
  }
  file.name = path == "-" ? kStandardInputName : path;
  const std::string mark(bytes->starts_with(kByteOrderMark) ? kByteOrderMark : "");
  explain::Source source(file.name, bytes->substr(mark.size()));
  explain::Formatting formatting = explain::formatProgram(source);
  if (formatting.fault) {
    file.complaint = describeFault(file.name, std::string(source.text()), *formatting.fault);
    return file;
  }
  file.text = mark + formatting.text;
  file.is_changed = *file.text != *bytes;
  return file;
}

}  // namespace lisp_worker::console
