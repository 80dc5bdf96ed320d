#include "console/language/layouts.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "console/form_layout.h"
#include "console/language/cursor.h"
#include "console/program.h"
#include "explain/format.h"
#include "explain/source.h"

namespace lisp_worker::console::language {
namespace {

using explain::Form;

// The edit that makes `formatted` of what is at `span`, without the lines at both ends that stay.
std::vector<TextEdit> editFor(const TextDocument& document, Span span, std::string_view formatted) {
  const std::string_view old = document.textOf(span);
  if (old == formatted) return {};
  const auto front =
      std::mismatch(old.begin(), old.end(), formatted.begin(), formatted.end()).first;
  const auto same = static_cast<std::size_t>(front - old.begin());
  const std::size_t line = same == 0 ? std::string_view::npos : old.rfind('\n', same - 1);
  const std::size_t kept = line == std::string_view::npos ? 0 : line + 1;
  const std::size_t rest_max = std::min(old.size(), formatted.size()) - kept;
  std::size_t rest = 0;
  while (rest < rest_max && old[old.size() - 1 - rest] == formatted[formatted.size() - 1 - rest]) {
    ++rest;
  }
  // From the beginning of a line on, and not from inside of a line end.
  const std::size_t line_end = old.find('\n', old.size() - rest);
  rest = line_end == std::string_view::npos ? 0 : old.size() - line_end - 1;
  return {{.span = {span.begin + kept, span.end - rest},
           .text = std::string(formatted.substr(kept, formatted.size() - rest - kept))}};
}

bool isBlank(std::string_view text) {
  return text.find_first_not_of(" \t") == std::string_view::npos;
}

std::string_view lineEndOf(std::string_view text) {
  const std::size_t at = text.find('\n');
  return at != std::string_view::npos && at > 0 && text[at - 1] == '\r' ? "\r\n" : "\n";
}

// Forms of the top level with their spans.
std::vector<Span> formSpans(const ProgramText& text, const Span& around) {
  std::vector<Span> spans;
  const std::vector<PlacedPart>& parts = text.parts.all();
  if (parts.empty()) return spans;
  std::size_t n = text.parts.indexAt(around.begin);
  if (n > 0) --n;  // A form before may touch.
  for (; n < parts.size() && parts[n].begin <= around.end; ++n) {
    for (const Form& form : parts[n].part->forms()) {
      const Span span = parts[n].placed(parts[n].part->spanOf(form));
      if (span.begin <= around.end && around.begin <= span.end) spans.push_back(span);
    }
  }
  return spans;
}

}  // namespace

std::vector<TextEdit> formatAll(const ProgramText& text) {
  const std::string_view all = text.document.text();
  const std::size_t begin = all.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0;
  const explain::Formatting formatting =
      explain::formatProgram(explain::Source("", std::string(all.substr(begin))));
  if (formatting.fault) return {};
  return editFor(text.document, {begin, all.size()}, formatting.text);
}

std::vector<TextEdit> formatForms(const ProgramText& text, const Span& span) {
  std::vector<Span> spans = formSpans(text, span);
  if (spans.empty()) return {};
  Span region{spans.front().begin, spans.back().end};
  // Forms that begin in the middle of a line have others in front of them.
  for (;;) {
    const std::size_t line = text.document.lineSpan(text.document.lineOf(region.begin)).begin;
    if (isBlank(text.document.textOf({line, region.begin}))) {
      region.begin = line;
      break;
    }
    spans = formSpans(text, {line, region.begin});
    if (spans.empty() || spans.front().begin >= region.begin) return {};
    region.begin = spans.front().begin;
  }
  const std::string_view line_end = lineEndOf(text.document.text());
  const explain::Formatting formatting = explain::formatProgram(
      explain::Source("", std::string(text.document.textOf(region)) + std::string(line_end)));
  if (formatting.fault) return {};
  std::string_view formatted = formatting.text;
  if (formatted.ends_with(line_end)) formatted.remove_suffix(line_end.size());
  return editFor(text.document, region, formatted);
}

std::vector<TextEdit> formatTyped(const ProgramText& text, std::size_t offset, char typed) {
  const auto cursor = cursorAt(text.parts, offset == 0 ? 0 : offset - 1);
  if (!cursor) return {};
  const Part& part = *cursor->part->part;
  if (typed == ')') {
    const bool is_whole = part.source().text() == part.text() && !cursor->around.empty() &&
                          cursor->around.front()->end + cursor->part->begin == offset;
    return is_whole ? formatForms(text, cursor->part->placed(part.spanOf(*cursor->around.front())))
                    : std::vector<TextEdit>();
  }
  const std::size_t line = text.document.lineOf(offset);
  if (typed != '\n' || line == 0) return {};
  const Span span = text.document.lineSpan(line);
  const std::size_t before_end = text.document.lineSpan(line - 1).end;
  if (before_end < cursor->part->begin) return {};
  const std::string_view before = text.document.textOf({cursor->part->begin, before_end});
  const std::vector<Token> tokens = tokensOf(before);
  if (!tokens.empty() && tokens.back().is_open) return {};
  const std::string_view now = text.document.textOf(span);
  const std::size_t blanks = std::min(now.find_first_not_of(" \t"), now.size());
  const std::string wanted(indentAfter(before, 0), ' ');
  if (now.substr(0, blanks) == wanted) return {};
  return {{.span = {span.begin, span.begin + blanks}, .text = wanted}};
}

}  // namespace lisp_worker::console::language
