#include "console/debug/movements.h"

#include <algorithm>

#include "explain/form.h"

namespace lisp_worker::console {
namespace {

using trace::Index;
using trace::Position;

Position stopFrom(const Index& index, Position position) {
  while (!isStop(index, position)) ++position;
  return position;
}

}  // namespace

bool isStop(const Index& index, Position position) {
  if (position >= index.end()) return true;
  const explain::Form& form = index.formOf(position);
  return form.isList() && !form.items.empty() && form.operatorName() != "QUOTE";
}

Position stepInto(const Index& index, Position position) {
  return stopFrom(index, std::min(position + 1, index.end()));
}

Position stepOver(const Index& index, Position position) {
  return stopFrom(index, index.over(position));
}

Position stepOut(const Index& index, Position position) {
  return stopFrom(index, index.out(position));
}

Position stepBackInto(const Index& index, Position position) {
  Position before = std::max<Position>(position, 2) - 1;
  while (before > 1 && !isStop(index, before)) --before;
  return before;
}

Position stepBackOver(const Index& index, Position position) {
  Position before = index.backOver(position);
  while (before > 1 && !isStop(index, before)) before = index.backOver(before);
  return before;
}

Position stepBackOut(const Index& index, Position position) { return index.backOut(position); }

}  // namespace lisp_worker::console
