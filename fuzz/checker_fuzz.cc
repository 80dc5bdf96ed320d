// Texts that the checker looks at.
//
// Every finding must have its place in the text, and there may not be more of them than the checker
// promises. A text that cannot be read must have a finding that is an error. A comment behind a
// text that can be read changes nothing.

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "check/check.h"
#include "explain/evaluation.h"
#include "fuzz/law.h"
#include "lisp/reader.h"

namespace {

namespace fuzz = lisp_worker::fuzz;

using check::Finding;

std::vector<Finding> findingsInText(std::string_view text) {
  const check::ProgramPointer program = explain::readProgram("text.lsp", std::string(text));
  return check::findingsIn(std::span(&program, 1), 0);
}

// The findings and their places, in lines to compare.
std::string listing(const std::vector<Finding>& findings) {
  std::string text;
  for (const Finding& finding : findings) {
    text += std::to_string(finding.begin) + ' ' + std::to_string(finding.end) + ' ' +
            finding.message + " | " + finding.advice + '\n';
  }
  return text;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = fuzz::Input(data, size).rest();
  const std::vector<Finding> findings = findingsInText(text);
  fuzz::require(findings.size() <= check::kFindingCountMax, "findings are bounded");
  for (const Finding& finding : findings) {
    fuzz::require(finding.begin <= finding.end && finding.end <= text.size(),
                  "a finding has its place in the text", listing(findings));
    fuzz::require(!finding.message.empty() && !check::describe(finding).empty(),
                  "a finding says what is wrong");
  }
  if (!lisp::readForms(text, nullptr)) {
    fuzz::require(!findings.empty() && findings.front().severity == check::Severity::Error,
                  "a text that cannot be read is an error");
    return 0;
  }
  fuzz::requireEqual(listing(findingsInText(std::string(text) + "\n; a comment\n")),
                     listing(findings), "a comment behind the text changes nothing");
  return 0;
}
