#include "console/selection.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace console {

using client::Datum;
using client::DatumList;

namespace {

bool hasEveryGroup(const Entity& entity, const DatumList& filter) {
  return std::all_of(filter.begin(), filter.end(), [&entity](const Datum& group) {
    return std::find(entity.groups.begin(), entity.groups.end(), group) != entity.groups.end();
  });
}

bool isGroup(const Datum& datum) {
  const DatumList* const parts = client::asList(datum);
  return parts != nullptr && parts->size() == 2 && client::asNumber(parts->front());
}

}  // namespace

std::optional<std::vector<std::string>> selectEntities(const Drawing& drawing,
                                                       const DatumList& arguments,
                                                       std::string& refusal) {
  std::size_t next = 0;
  if (next < arguments.size()) {
    if (const auto mode = client::asString(arguments[next])) {
      if (*mode != "X" && *mode != "A") {
        refusal = "no way of selecting: " + std::string(*mode);
        return std::nullopt;
      }
      ++next;
    }
  }
  DatumList filter;
  if (next < arguments.size()) {
    const DatumList* const groups = client::asList(arguments[next]);
    if (groups == nullptr || !std::all_of(groups->begin(), groups->end(), isGroup)) {
      refusal = "a filter is a list of groups";
      return std::nullopt;
    }
    filter = *groups;
    ++next;
  }
  if (next < arguments.size()) {
    refusal = "too many arguments";
    return std::nullopt;
  }
  std::vector<std::string> handles;
  for (const Entity& entity : drawing.entities()) {
    if (hasEveryGroup(entity, filter)) handles.push_back(entity.handle);
  }
  return handles;
}

}  // namespace console
