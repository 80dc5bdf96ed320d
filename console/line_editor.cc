// Forms read line by line, where no editor shows them as a whole.

#include "console/line_editor.h"

#include <cstddef>
#include <optional>

#include "console/form_layout.h"

namespace lisp_worker::console {
namespace {

// "(DEFUN F> " for a list that is still open.
std::string continuationPrompt(std::string_view text, std::size_t open_at) {
  constexpr std::size_t kShownMax = 14;
  const std::string_view open = text.substr(open_at, text.find('\n', open_at) - open_at);
  const bool is_cut = open.size() > kShownMax;
  return "  " + std::string(open.substr(0, kShownMax)) + (is_cut ? "..." : "") + "> ";
}

}  // namespace

LineEditor::Result LineEditor::readForm(const std::string& prompt, std::string& text) {
  text.clear();
  std::string shown = prompt;
  for (;;) {
    std::string line;
    const Result result = read(isTerminal() ? shown : "", line);
    if (result == Result::Interrupted) return result;
    if (result == Result::End) return text.empty() ? Result::End : Result::Line;
    text += line;
    const bool is_command = text == line && text.find_first_not_of(" \t") == text.find(':');
    const auto open_at = is_command ? std::nullopt : openAt(text);
    if (!open_at) return Result::Line;
    shown = continuationPrompt(text, *open_at);
    text += "\n";
  }
}

}  // namespace lisp_worker::console
