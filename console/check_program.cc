#include "console/check_program.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "console/check_calls.h"

namespace lisp_worker::console {
namespace {

constexpr std::size_t kShownMax = check::kFindingCountMax - 1;

TextFindings inOrder(std::vector<check::Finding> findings) {
  std::stable_sort(
      findings.begin(), findings.end(),
      [](const check::Finding& a, const check::Finding& b) { return a.begin < b.begin; });
  const bool has_more = findings.size() > kShownMax;
  if (has_more) findings.resize(kShownMax);
  return {.findings = std::move(findings), .has_more = has_more};
}

void append(const Program& program, std::vector<explain::ProgramPointer>& texts, bool is_library,
            std::vector<TextFindings>& all) {
  for (const Program& library : program.libraries) append(library, texts, true, all);
  texts.push_back(explain::readProgram(program.name, program.text));
  if (is_library) {
    all.push_back(inOrder(texts.back()->reading.fault ? check::findingsIn(texts, texts.size() - 1)
                                                      : checkLibrary(texts.back())));
    return;
  }
  std::vector<check::Finding> findings = check::findingsIn(texts, texts.size() - 1);
  std::vector<check::Finding> of_calls = checkCalls(texts);
  std::move(of_calls.begin(), of_calls.end(), std::back_inserter(findings));
  all.push_back(inOrder(std::move(findings)));
}

}  // namespace

std::vector<TextFindings> checkProgram(const Program& program,
                                       std::vector<explain::ProgramPointer>& texts) {
  std::vector<TextFindings> all;
  append(program, texts, false, all);
  return all;
}

std::vector<TextFindings> checkAsLibrary(const Program& program,
                                         std::vector<explain::ProgramPointer>& texts) {
  std::vector<TextFindings> all;
  append(program, texts, true, all);
  return all;
}

}  // namespace lisp_worker::console
