#include "console/expectation.h"

#include <algorithm>
#include <cmath>

#include "console/display.h"
#include "console/entity.h"
#include "lisp_worker/client/answer_text.h"
#include "lisp_worker/client/datum.h"
#include "lisp_worker/client/names.h"
#include "lisp_worker/client/worker_text.h"

namespace lisp_worker::console {

using client::Datum;
using client::DatumList;
using client::EvalResult;
using client::Reply;
using worker::WorkerStatus;

namespace {

bool isExpected(const Reply<EvalResult>& reply, const Expectation& expectation) {
  switch (expectation.kind) {
    case Expectation::Kind::Value: {
      if (reply.status != WorkerStatus::Ok) return false;
      const auto value = client::readWorkerText(reply.value->text, nullptr);
      return value && value == client::readDatum(expectation.text, nullptr);
    }
    case Expectation::Kind::Error:
      return reply.status != WorkerStatus::Ok && reply.value &&
             reply.value->text == expectation.text;
    case Expectation::Kind::Refusal:
      return !reply.value && client::statusName(reply.status) == expectation.text;
  }
  return false;
}

std::string textOf(const Expectation& expectation) {
  switch (expectation.kind) {
    case Expectation::Kind::Value:
      return "value " + displayDatum(*client::readDatum(expectation.text, nullptr),
                                     expectation.text.size() * 2 + kDisplaySizeMax);
    case Expectation::Kind::Error:
      return "error " + expectation.text;
    case Expectation::Kind::Refusal:
      return "refusal " + expectation.text;
  }
  return "";
}

std::string textOf(const Reply<EvalResult>& reply) {
  if (!reply.value) return "refusal " + std::string(client::statusName(reply.status));
  const std::string& text = reply.value->text;
  if (reply.status != WorkerStatus::Ok) return "error " + text;
  return "value " + displayWorkerText(text, text.size() * 2 + kDisplaySizeMax);
}

// Equal up to what describeEntity() rounds away; a point without a z is at 0.
bool isNear(const Datum& a, const Datum& b) {
  constexpr double kTolerance = 1e-6;
  const auto is_near_number = [](double x, double y) { return std::fabs(x - y) <= kTolerance; };
  const auto number_a = client::asNumber(a);
  const auto number_b = client::asNumber(b);
  if (number_a && number_b) return is_near_number(*number_a, *number_b);
  const auto point_a = readPoint(a);
  const auto point_b = readPoint(b);
  if (!point_a || !point_b) return a == b;
  return is_near_number(point_a->x, point_b->x) && is_near_number(point_a->y, point_b->y) &&
         is_near_number(point_a->z, point_b->z);
}

bool isNearGroup(const Datum& a, const Datum& b) {
  const DatumList* const group_a = client::asList(a);
  const DatumList* const group_b = client::asList(b);
  return group_a != nullptr && group_b != nullptr &&
         std::equal(group_a->begin(), group_a->end(), group_b->begin(), group_b->end(), isNear);
}

// The number of the wanted groups that the entity has.
std::size_t sharedCount(const DatumList& entity, const DatumList& wanted) {
  return static_cast<std::size_t>(
      std::count_if(wanted.begin(), wanted.end(), [&entity](const Datum& group) {
        return std::any_of(entity.begin(), entity.end(),
                           [&group](const Datum& own) { return isNearGroup(own, group); });
      }));
}

std::string countText(std::size_t count) { return "entities " + std::to_string(count); }

// None when an entity has all of the groups; otherwise the one that has most of them is shown.
void compareEntity(const DatumList& wanted, const Drawing& drawing,
                   std::vector<Mismatch>& mismatches) {
  std::size_t most = 0;
  std::string nearest = "none like it";
  for (const Entity& entity : drawing.entities()) {
    const Datum data = entityData(entity);
    const std::size_t count = sharedCount(*client::asList(data), wanted);
    if (count == wanted.size()) return;
    if (count <= most) continue;
    most = count;
    nearest = "entity " + displayDatum(data, 1000) + " is the nearest";
  }
  mismatches.push_back({"entity " + displayDatum(client::list(wanted), 1000), nearest});
}

}  // namespace

std::vector<Mismatch> mismatchesOf(const Script& script, const Reply<EvalResult>& reply) {
  const bool is_expected = script.expectation ? isExpected(reply, *script.expectation)
                                              : reply.status == WorkerStatus::Ok;
  if (is_expected) return {};
  return {{script.expectation ? textOf(*script.expectation) : "a value", textOf(reply)}};
}

std::vector<Mismatch> mismatchesOf(const Script& script, const Drawing& drawing) {
  std::vector<Mismatch> mismatches;
  const std::size_t count = drawing.entities().size();
  if (script.expected_entity_count && *script.expected_entity_count != count) {
    mismatches.push_back({countText(*script.expected_entity_count), countText(count)});
  }
  for (const DatumList& wanted : script.expected_entities) {
    compareEntity(wanted, drawing, mismatches);
  }
  return mismatches;
}

Mismatch shortened(const Mismatch& mismatch, std::size_t size_max) {
  const std::string& a = mismatch.expected;
  const std::string& b = mismatch.got;
  if (a.size() <= size_max && b.size() <= size_max) return mismatch;
  const auto first = std::mismatch(a.begin(), a.end(), b.begin(), b.end());
  const auto place = static_cast<std::size_t>(first.first - a.begin());
  const std::size_t begin = place > size_max / 2 ? place - size_max / 2 : 0;
  const auto cut = [&](const std::string& text) {
    const std::size_t from = std::min(begin, text.size());
    return (from == 0 ? "" : "... ") + text.substr(from, size_max) +
           (from + size_max < text.size() ? " ..." : "");
  };
  return {cut(a), cut(b)};
}

}  // namespace lisp_worker::console
