// Each event charges the time since the one before to the line and the function that were running.

#include "console/profile.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

#include "explain/form.h"

namespace lisp_worker::console {
namespace {

double millisecondsOf(std::chrono::steady_clock::duration time) {
  return std::chrono::duration<double, std::milli>(time).count();
}

double percentOf(std::uint64_t part, std::uint64_t whole) {
  return whole == 0 ? 0 : 100.0 * static_cast<double>(part) / static_cast<double>(whole);
}

// The first `count_max` of `rows`, by what they cost.
template <typename Rows, typename Cost>
void keepMostCostly(Rows& rows, std::size_t count_max, const Cost& cost) {
  std::stable_sort(rows.begin(), rows.end(),
                   [&cost](const auto& a, const auto& b) { return cost(a) > cost(b); });
  rows.resize(std::min(rows.size(), count_max));
}

}  // namespace

void Profile::began(const explain::ProgramPointer& program) {
  const std::size_t file = fileOf(program);
  const auto [top, is_new] = functions_.try_emplace({file, kTopLevel});
  if (is_new) top->second = {.name = "(top level)", .file = file, .line = 1};
  enter(top->second.row, nullptr);
  startClock();
}

void Profile::entered(const explain::ProgramPointer& program, std::size_t number) {
  stopClock();
  File& file = files_[fileOf(program)];
  Row& line = file.lines[program->forms_by_number[number]->line - 1];
  open_.push_back(&line);
  line.count = std::max(line.count, ++file.form_counts[number]);
  charge({.steps = 1});
  startClock();
}

void Profile::left(const lisp::LispValue& /*value*/) {
  stopClock();
  open_.pop_back();
  startClock();
}

void Profile::called(const explain::Function& function) {
  stopClock();
  const std::size_t file = fileOf(function.program);
  const explain::Form& definition = *function.definition;
  const auto [row, is_new] = functions_.try_emplace({file, definition.begin});
  if (is_new) {
    row->second = {
        .name = std::string(definition.items[1].name()), .file = file, .line = definition.line};
  }
  enter(row->second.row, open_.back());
  startClock();
}

void Profile::returned() {
  stopClock();
  leave();
  startClock();
}

void Profile::ended() {
  stopClock();
  while (!calls_.empty()) leave();
  open_.clear();
}

std::size_t Profile::fileOf(const explain::ProgramPointer& program) {
  const std::size_t file = sources_.numberOf(program);
  if (file == files_.size()) {
    const explain::Source& source = program->source;
    files_.push_back({std::vector<Row>(source.lineOf(source.text().size())),
                      std::vector<std::uint64_t>(program->forms_by_number.size())});
  }
  return file;
}

void Profile::stopClock() { charge({.time = Clock::now() - started_at_}); }

void Profile::charge(const Cost& cost) {
  all_ += cost;
  calls_.back().function->own += cost;
  if (open_.empty()) return;
  Row& line = *open_.back();
  line.own += cost;
  if (line.active == 0) line.total += cost;
}

void Profile::enter(Row& function, Row* line) {
  ++function.count;
  ++function.active;
  if (line != nullptr) ++line->active;
  calls_.push_back({&function, line, all_});
}

void Profile::leave() {
  const Call call = calls_.back();
  calls_.pop_back();
  const Cost cost = all_ - call.begin;
  if (--call.function->active == 0) call.function->total += cost;
  if (call.line != nullptr && --call.line->active == 0) call.line->total += cost;
}

std::string Profile::columns(const Row& row) const {
  char text[160];
  std::snprintf(
      text, sizeof(text), "%9llu %9llu %5.1f%% %9llu %5.1f%% %9.3f %9.3f  ",
      static_cast<unsigned long long>(row.count), static_cast<unsigned long long>(row.own.steps),
      percentOf(row.own.steps, all_.steps), static_cast<unsigned long long>(row.total.steps),
      percentOf(row.total.steps, all_.steps), millisecondsOf(row.own.time),
      millisecondsOf(row.total.time));
  return text;
}

void Profile::appendFunctions(std::string& text) const {
  std::vector<const FunctionRow*> rows;
  for (const auto& [key, row] : functions_) rows.push_back(&row);
  const std::size_t count = rows.size();
  keepMostCostly(rows, kFunctionRowsMax, [](const FunctionRow* row) { return row->row.own.steps; });
  text += "    calls own steps      %     total      %    own ms  total ms  function\n";
  for (const FunctionRow* const row : rows) {
    text += columns(row->row) + row->name + "  " + sources_[row->file].source.name() + ":" +
            std::to_string(row->line) + "\n";
  }
  if (count > rows.size()) {
    text += "... and " + std::to_string(count - rows.size()) + " cheaper functions\n";
  }
}

void Profile::appendLines(std::string& text, std::size_t file) const {
  constexpr std::size_t kShownTextMax = 60;
  const explain::Source& source = sources_[file].source;
  std::vector<std::size_t> numbers;
  const std::vector<Row>& lines = files_[file].lines;
  for (std::size_t n = 0; n < lines.size(); ++n) {
    if (lines[n].count != 0) numbers.push_back(n);
  }
  const std::size_t count = numbers.size();
  keepMostCostly(numbers, kLineRowsMax, [&lines](std::size_t n) { return lines[n].own.steps; });
  std::sort(numbers.begin(), numbers.end());
  text += "== lines of " + source.name() +
          "\n    times own steps      %     total      %    own ms  total ms  line\n";
  for (const std::size_t n : numbers) {
    const std::string_view line = source.line(n + 1);
    text += columns(lines[n]) + std::to_string(n + 1) + "  " +
            std::string(line.substr(0, kShownTextMax)) +
            (line.size() > kShownTextMax ? "..." : "") + "\n";
  }
  if (count > numbers.size()) {
    text += "... and " + std::to_string(count - numbers.size()) + " cheaper lines\n";
  }
}

std::string Profile::text() const {
  char heading[200];
  std::snprintf(heading, sizeof(heading),
                "== profile: %llu steps, %.3f ms here, watched; the worker is faster, and waiting "
                "for the host is not in it\n",
                static_cast<unsigned long long>(all_.steps), millisecondsOf(all_.time));
  std::string text = heading;
  appendFunctions(text);
  for (std::size_t file = 0; file < files_.size(); ++file) appendLines(text, file);
  return text;
}

}  // namespace lisp_worker::console
