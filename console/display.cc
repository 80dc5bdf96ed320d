#include "console/display.h"

#include "client/answer_text.h"
#include "client/worker_text.h"

namespace console {

std::string displayText(std::string_view text) {
  constexpr char kHexDigits[] = "0123456789ABCDEF";
  constexpr unsigned char kFirstPrintable = 0x20;
  constexpr unsigned char kDelete = 0x7F;
  std::string shown;
  for (const char c : text.substr(0, kDisplaySizeMax)) {
    const auto byte = static_cast<unsigned char>(c);
    if (c == '\n') {
      shown += "\\n";
    } else if (c == '\r') {
      shown += "\\r";
    } else if (c == '\t') {
      shown += "\\t";
    } else if (byte < kFirstPrintable || byte == kDelete) {
      shown += {'\\', 'x', kHexDigits[byte >> 4], kHexDigits[byte & 0xF]};
    } else {
      shown += c;
    }
  }
  if (text.size() > kDisplaySizeMax) {
    shown += "... (" + std::to_string(text.size()) + " bytes in all)";
  }
  return shown;
}

std::string displayWorkerText(std::string_view text) {
  const auto datum = client::readWorkerText(text, nullptr);
  return datum ? displayDatum(*datum) : displayText(text);
}

std::string displayDatum(const client::Datum& datum) {
  return displayText(client::printDatum(datum));
}

}  // namespace console
