// Files of drawings.
//
// A text that is refused must be refused with a reason. What is read from any other, written and
// read again, must be written as the same text.

#include <optional>
#include <string>
#include <string_view>

#include "console/drawing_file.h"
#include "fuzz/law.h"

namespace {

namespace console = lisp_worker::console;
namespace fuzz = lisp_worker::fuzz;

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = fuzz::Input(data, size).rest();
  std::string error;
  const std::optional<console::Sheet> sheet = console::readSheet(text, error);
  if (!sheet) {
    fuzz::require(!error.empty(), "a file is refused for a reason");
    return 0;
  }
  const std::string written = console::writeSheet(*sheet);
  const std::optional<console::Sheet> again = console::readSheet(written, error);
  fuzz::require(again.has_value(), "what is written can be read", error + "\n" + written);
  fuzz::requireEqual(console::writeSheet(*again), written, "a drawing comes back");
  return 0;
}
