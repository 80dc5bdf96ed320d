#include "console/watch/page_state.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string_view>
#include <utility>

#include "check/check.h"
#include "console/check_calls.h"
#include "console/display.h"
#include "console/picture.h"
#include "console/snap.h"

namespace lisp_worker::console {

using nlohmann::json;

namespace {

// A page that has to draw more than that would not keep up with saving.
constexpr std::size_t kSvgSizeMax = kRenderedSizeMax;

class Writer {
 public:
  explicit Writer(const PageState& state) : state_(state) {}

  std::string write() {
    json page = {{"status", state_.status},
                 {"files", json::array()},
                 {"messages", json::array()},
                 {"calls", json::array()},
                 {"entities", json::object()}};
    for (const Program* const program : state_.programs) {
      page["files"].push_back({{"name", program->name}, {"text", safeText(program->text)}});
    }
    for (const PageMessage& message : state_.messages) {
      page["messages"].push_back({{"kind", message.kind}, {"text", safeText(message.text)}});
    }
    if (state_.after != nullptr) writeDrawing(page);
    if (state_.question) page["question"] = question();
    return page.dump(-1, ' ', false, json::error_handler_t::replace);
  }

 private:
  [[nodiscard]] std::optional<std::size_t> indexOf(std::string_view name) const {
    for (std::size_t n = 0; n < state_.programs.size(); ++n) {
      if (state_.programs[n]->name == name) return n;
    }
    return std::nullopt;
  }

  void writeDrawing(json& page) const {
    std::string svg = drawPicture(*state_.before, *state_.after, *state_.context,
                                  {.title = "", .tells_mapping = true});
    if (svg.size() > kSvgSizeMax) {
      page["messages"].push_back(
          {{"kind", "warning"}, {"text", "the drawing is too large to be shown here\n"}});
    } else {
      page["svg"] = std::move(svg);
    }
    for (const Drawing* const drawing : {state_.before, state_.after}) {
      for (const Entity& entity : drawing->entities()) {
        page["entities"][entity.handle] = displayText(describeEntity(entity));
      }
    }
    for (const DrawnBy& drawn : state_.drawn) {
      if (drawn.number >= state_.calls->size()) continue;
      const explain::AnsweredCall& call = (*state_.calls)[drawn.number];
      if (call.place) page["calls"].push_back(describe(call, drawn));
    }
  }

  [[nodiscard]] json describe(const explain::AnsweredCall& call, const DrawnBy& drawn) const {
    const explain::HostCallPlace& place = *call.place;
    json each = placeIn(*place.program, place.begin);
    each["name"] = call.name;
    each["end_line"] = place.program->source.lineOf(place.end);
    each["entities"] = drawn.handles;
    each["loops"] = json::array();
    for (const explain::LoopRound& loop : place.loops) {
      each["loops"].push_back(
          {{"file", fileOf(*loop.program)}, {"line", loop.line}, {"round", loop.round}});
    }
    each["from"] = json::array();
    for (const explain::CallSite& site : place.calls) {
      each["from"].push_back(placeIn(*site.program, site.begin));
    }
    return each;
  }

  // Null for a text that the page does not show.
  [[nodiscard]] json fileOf(const explain::Program& program) const {
    const auto file = indexOf(program.source.name());
    return file ? json(*file) : json();
  }

  [[nodiscard]] json placeIn(const explain::Program& program, std::size_t offset) const {
    return {{"file", fileOf(program)}, {"line", program.source.lineOf(offset)}};
  }

  [[nodiscard]] json question() const {
    const PageQuestion& asked = *state_.question;
    json question = {{"number", asked.number},         {"call", asked.call},
                     {"text", safeText(asked.text)},   {"help", asked.help},
                     {"place", safeText(asked.place)}, {"refused", safeText(asked.refused)},
                     {"snaps", json::array()}};
    if (asked.base) question["base"] = {asked.base->x, asked.base->y};
    constexpr std::size_t kSnapCountMax = 20000;
    for (const char* const kind : {"end", "mid", "cen", "qua", "nod", "ins"}) {
      for (const client::Point& point : snapPoints(*state_.after, kind)) {
        if (question["snaps"].size() == kSnapCountMax) break;
        question["snaps"].push_back({point.x, point.y, kind});
      }
    }
    return question;
  }

  const PageState& state_;
};

void appendTexts(const Program& program, std::vector<explain::ProgramPointer>& texts) {
  for (const Program& library : program.libraries) appendTexts(library, texts);
  texts.push_back(explain::readProgram(program.name, program.text));
}

}  // namespace

std::string pageText(const PageState& state) { return Writer(state).write(); }

std::vector<PageMessage> checkMessages(const std::vector<Program>& libraries,
                                       const Program& program) {
  std::vector<explain::ProgramPointer> texts;
  for (const Program& library : libraries) appendTexts(library, texts);
  appendTexts(program, texts);
  std::vector<check::Finding> findings = check::findingsIn(texts, texts.size() - 1);
  for (check::Finding& finding : checkCalls(texts)) findings.push_back(std::move(finding));
  std::stable_sort(
      findings.begin(), findings.end(),
      [](const check::Finding& a, const check::Finding& b) { return a.begin < b.begin; });
  std::vector<PageMessage> messages;
  for (const check::Finding& finding : findings) {
    const bool is_error = finding.severity == check::Severity::Error;
    messages.push_back({is_error ? "error" : "warning", check::describe(finding)});
  }
  return messages;
}

}  // namespace lisp_worker::console
