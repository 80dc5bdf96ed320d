// The reader.
//
// The input is a text. The reader must make of it what the literal reader makes, forms or message;
// and what it has read and holds no string must print as a text that reads and prints the same.

#include <optional>
#include <vector>

#include "fuzz/law.h"
#include "lisp/printer.h"
#include "lisp/reader.h"
#include "testing/reference/literal_encoder.h"
#include "testing/reference/literal_reader.h"

namespace {

using lisp::LispValue;
using lisp_worker::testing_support::LiteralValue;

bool holdsString(const LiteralValue& value) {
  if (value.kind == lisp_worker::testing_support::LiteralKind::String) return true;
  for (const LiteralValue& element : value.elements) {
    if (holdsString(element)) return true;
  }
  return false;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text = lisp_worker::fuzz::Input(data, size).rest();
  std::string error;
  std::string literal_error;
  const std::optional<LispValue> program = lisp::readForms(text, &error);
  const std::optional<std::vector<LiteralValue>> literal_forms =
      lisp_worker::testing_support::literalParseAll(text, &literal_error);
  lisp_worker::fuzz::requireEqual(error, literal_error, "both readers find the same fault");
  lisp_worker::fuzz::require(program.has_value() == literal_forms.has_value(),
                             "both readers read or both fail");
  if (program) {
    const lisp::LispList forms = *lisp::asList(*program);
    lisp_worker::fuzz::require(forms.size() == literal_forms->size(),
                               "both readers find as many forms");
    for (std::uint32_t i = 0; i < forms.size(); ++i) {
      const std::string printed = lisp::encodeValue(forms[i]);
      lisp_worker::fuzz::requireEqual(
          printed, lisp_worker::testing_support::literalEncodeValue((*literal_forms)[i]),
          "both readers read the same form");
      if (holdsString((*literal_forms)[i])) continue;
      const std::optional<LispValue> again = lisp::parseProgram(printed, &error);
      lisp_worker::fuzz::require(again.has_value(), "what is printed can be read", printed);
      lisp_worker::fuzz::requireEqual(lisp::encodeValue(*again), printed,
                                      "what is read prints the same");
      lisp_worker::fuzz::require(lisp::valuesEqual(*again, forms[i]), "what is read is equal",
                                 printed);
    }
  }
  const std::optional<LispValue> single = lisp::parseProgram(text, &error);
  const std::optional<LiteralValue> literal_single =
      lisp_worker::testing_support::literalParseSingle(text, &literal_error);
  lisp_worker::fuzz::require(single.has_value() == literal_single.has_value(),
                             "both agree on a single datum");
  lisp_worker::fuzz::requireEqual(error, literal_error, "both say why it is not one");
  return 0;
}
