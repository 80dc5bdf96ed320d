// For tests: a document with a cursor.
//
//   MarkedDocument document("(DEFUN F (X) (LIST |X))");
//   hoverAt(document.unit(), document.offset())

#ifndef CONSOLE_LANGUAGE_MARKED_DOCUMENT_H_
#define CONSOLE_LANGUAGE_MARKED_DOCUMENT_H_

#include <cstddef>
#include <string>
#include <string_view>

#include "console/language/workspace.h"

namespace lisp_worker::console::language {

class MarkedDocument {
 public:
  // The first | is the cursor; a second one makes a span of the two.
  explicit MarkedDocument(std::string text) {
    span_.begin = take(text);
    span_.end = text.find('|') == std::string::npos ? span_.begin : take(text);
    workspace_.open(kUri, std::move(text), 1);
  }

  [[nodiscard]] Document& document() { return *workspace_.find(kUri); }
  [[nodiscard]] Workspace& workspace() { return workspace_; }
  [[nodiscard]] const Unit& unit() { return workspace_.unitOf(document()); }
  [[nodiscard]] const ProgramText& text() { return *unit().texts.back(); }
  [[nodiscard]] std::size_t offset() const { return span_.begin; }
  [[nodiscard]] const Span& span() const { return span_; }
  [[nodiscard]] std::string_view textOf(const Span& span) { return document().text().textOf(span); }

 private:
  static constexpr const char* kUri = "untitled:marked";

  static std::size_t take(std::string& text) {
    const std::size_t at = text.find('|');
    if (at == std::string::npos) return 0;
    text.erase(at, 1);
    return at;
  }

  Workspace workspace_;
  Span span_;
};

}  // namespace lisp_worker::console::language

#endif  // CONSOLE_LANGUAGE_MARKED_DOCUMENT_H_
