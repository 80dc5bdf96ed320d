// Both values are walked together, depth first and from the left, so the first difference is the
// one that a reader of the text would meet first. Recursion is bounded by the nesting of what the
// client reads (client::kTextNestingMax).

#include "session/difference.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "lisp_worker/client/answer_text.h"

namespace lisp_worker::session {
namespace {

using client::asList;
using client::Datum;
using client::DatumList;

constexpr std::string_view kNothing = "nothing";

// A list may end before the other one does.
std::string elementText(const DatumList& list, std::size_t index) {
  return index < list.size() ? client::printDatum(list[index]) : std::string(kNothing);
}

std::optional<Difference> differenceAt(const std::string& path, const Datum& recorded,
                                       const Datum& made, const std::string& element_name) {
  const DatumList* const a = asList(recorded);
  const DatumList* const b = asList(made);
  if (a == nullptr || b == nullptr) {
    // A list and an atom differ as a whole; so does a NaN from itself, since == is that of doubles.
    if (recorded == made) return std::nullopt;
    return Difference{path.empty() ? "the value" : path, client::printDatum(recorded),
                      client::printDatum(made)};
  }
  const std::string prefix = path.empty() ? "" : path + ", ";
  for (std::size_t index = 0; index < std::max(a->size(), b->size()); ++index) {
    const std::string here = prefix + element_name + " " + std::to_string(index + 1);
    if (index >= a->size() || index >= b->size()) {
      return Difference{here, elementText(*a, index), elementText(*b, index)};
    }
    // Only the outermost list has arguments; what is inside has elements.
    if (auto found = differenceAt(here, (*a)[index], (*b)[index], "element")) return found;
  }
  return std::nullopt;
}

}  // namespace

std::optional<Difference> firstDifferentElement(const Datum& recorded, const Datum& made,
                                                const std::string& element_name) {
  return differenceAt("", recorded, made, element_name);
}

bool holdsNaN(const Datum& datum) {
  if (const auto value = client::asNumber(datum)) return std::isnan(*value);
  const DatumList* const elements = asList(datum);
  return elements != nullptr && std::any_of(elements->begin(), elements->end(), holdsNaN);
}

}  // namespace lisp_worker::session
