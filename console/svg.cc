// Numbers and texts as SVG takes them.

#include "console/svg.h"

#include <cmath>

#include "console/utf8.h"
#include "lisp_worker/client/number_text.h"

namespace lisp_worker::console {
namespace {

// The letters of `text`, with a question mark for each byte that belongs to none.
std::string wholeLetters(std::string_view text) {
  std::string out;
  while (!text.empty()) {
    const Letter letter = letterAt(text);
    out += letter.is_whole ? text.substr(0, letter.size) : "?";
    text.remove_prefix(letter.size);
  }
  return out;
}

}  // namespace

std::string svgNumber(double value) {
  if (!std::isfinite(value)) return "0";
  const double rounded = std::round(value * 100) / 100;
  return client::printNumber(std::fabs(rounded) < 1e7 ? rounded + 0.0 : 0);
}

std::string svgText(std::string_view text) {
  std::string out;
  for (const char c : wholeLetters(text)) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '&') {
      out += "&amp;";
    } else if (c == '<') {
      out += "&lt;";
    } else if (c == '>') {
      out += "&gt;";
    } else if (c == '"') {
      out += "&quot;";
    } else if (byte < 0x20 || byte == 0x7F) {
      out += ' ';
    } else {
      out += c;
    }
  }
  return out;
}

std::string svgRectangle(double x, double y, double width, double height) {
  return "x=\"" + svgNumber(x) + "\" y=\"" + svgNumber(y) + "\" width=\"" + svgNumber(width) +
         "\" height=\"" + svgNumber(height) + "\"";
}

std::string svgLabel(double x, double y, std::string_view text, std::string_view attributes) {
  return "<text x=\"" + svgNumber(x) + "\" y=\"" + svgNumber(y) + "\" " + std::string(attributes) +
         ">" + svgText(text) + "</text>\n";
}

}  // namespace lisp_worker::console
