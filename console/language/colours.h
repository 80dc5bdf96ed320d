// Colours for the words of a program, by what they mean: "semantic tokens".

#ifndef CONSOLE_LANGUAGE_COLOURS_H_
#define CONSOLE_LANGUAGE_COLOURS_H_

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "console/language/program_parts.h"
#include "console/language/text_document.h"
#include "console/language/workspace.h"

namespace lisp_worker::console::language {

// In the order of the protocol's numbers for them.
enum class Colour : std::uint8_t {
  Function,
  Keyword,
  Variable,
  Parameter,
  String,
  Number,
  Comment,
  Operator,
};
inline constexpr std::array<std::string_view, 8> kColourNames = {
    "function", "keyword", "variable", "parameter", "string", "number", "comment", "operator"};
// Bits, in this order.
enum class Mark : std::uint8_t { Declaration, Library, Changed };
inline constexpr std::array<std::string_view, 3> kMarkNames = {"declaration", "defaultLibrary",
                                                               "modification"};

struct ColouredToken {
  Span span;
  Colour colour = Colour::Variable;
  unsigned marks = 0;
};

// In the order of the text; places count from the beginning of the part. A token may have several
// lines.
[[nodiscard]] std::vector<ColouredToken> colouredTokens(const Part& part);

// The numbers of the protocol: five for each token, with places relative to the token before.
class Colouring {
 public:
  // Those of all tokens that touch the span, with commas between them. What it works out for a part
  // is kept until the part is no longer in the text.
  [[nodiscard]] std::string encode(const ProgramText& text, const Span& span);

 private:
  // The numbers of a part's tokens after the first.
  struct Encoded {
    std::shared_ptr<const Part> part;
    bool is_empty = true;
    Span first = {};  // Of the part.
    std::size_t last_begin = 0;
    std::string first_rest = {};  // Length, colour and marks of the first token.
    std::string rest = {};
  };

  static Encoded encodePart(const TextDocument& document, const PlacedPart& part);

  std::unordered_map<const Part*, Encoded> parts_;
};

}  // namespace lisp_worker::console::language

#endif  // CONSOLE_LANGUAGE_COLOURS_H_
