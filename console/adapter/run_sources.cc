#include "console/adapter/run_sources.h"

#include <algorithm>
#include <filesystem>
#include <system_error>
#include <utility>

#include "console/adapter/fields.h"
#include "console/debug/breakpoints.h"
#include "console/utf8.h"
#include "explain/evaluation.h"

namespace lisp_worker::console {
namespace {

// With links and dots resolved as far as they are there.
std::string fullPath(const std::filesystem::path& path) {
  std::error_code failure;
  const auto absolute = std::filesystem::absolute(path, failure);
  if (failure) return path.string();
  const auto full = std::filesystem::weakly_canonical(absolute, failure);
  return (failure ? absolute : full).string();
}

std::size_t unitsOf(const Letter& letter) {
  return letter.is_whole && letter.code > 0xFFFF ? 2 : 1;
}

}  // namespace

std::size_t utf16Size(std::string_view text) {
  std::size_t units = 0;
  while (!text.empty()) {
    const Letter letter = letterAt(text);
    units += unitsOf(letter);
    text.remove_prefix(letter.size);
  }
  return units;
}

std::size_t utf16Offset(std::string_view text, std::size_t units) {
  std::size_t offset = 0;
  while (offset < text.size() && units > 0) {
    const Letter letter = letterAt(text.substr(offset));
    units -= std::min(units, unitsOf(letter));
    offset += letter.size;
  }
  return offset;
}

RunSources::RunSources(const RecordedRun& run, ClientStyle style) : run_(run), style_(style) {
  for (std::uint32_t number = 0; number < run.index.programCount(); ++number) {
    const std::string path = fullPath(run.index.program(number)->source.name());
    std::error_code failure;
    paths_.push_back(std::filesystem::is_regular_file(path, failure) ? path : "");
  }
}

Json RunSources::source(std::uint32_t program) const {
  const std::string& path = paths_[program];
  const std::string& name = run_.index.program(program)->source.name();
  Json json = {{"name", std::filesystem::path(name).filename().string()}};
  if (!path.empty()) json["path"] = path;
  std::error_code failure;
  const bool is_file = !path.empty() && std::filesystem::exists(path, failure);
  if (!is_file) json["sourceReference"] = program + 1;
  return json;
}

Json RunSources::all() const {
  Json sources = Json::array();
  for (std::uint32_t program = 0; program < paths_.size(); ++program) {
    sources.push_back(source(program));
  }
  return sources;
}

std::optional<std::uint32_t> RunSources::find(const Json& source, std::int64_t reference) const {
  std::string error;
  Fields fields(source, error);
  reference = fields.number("sourceReference", reference);
  if (reference > 0) {
    if (static_cast<std::uint64_t>(reference) > paths_.size()) return std::nullopt;
    return static_cast<std::uint32_t>(reference - 1);
  }
  const std::string path = fields.text("path");
  if (path.empty() || path.find('\0') != std::string::npos) return std::nullopt;
  const auto found = std::find(paths_.begin(), paths_.end(), fullPath(path));
  if (found == paths_.end()) return std::nullopt;
  return static_cast<std::uint32_t>(found - paths_.begin());
}

void RunSources::addPlace(Json& object, std::uint32_t program, const explain::Form& form) const {
  const explain::Source& text = run_.index.program(program)->source;
  const auto add = [&](const char* line_key, const char* column_key, std::size_t offset) {
    const std::size_t line = text.lineOf(offset);
    const std::size_t start = text.lineStart(line);
    object[line_key] = static_cast<std::int64_t>(line) - 1 + style_.first_line;
    object[column_key] =
        static_cast<std::int64_t>(utf16Size(text.text().substr(start, offset - start))) +
        style_.first_column;
  };
  object["source"] = source(program);
  add("line", "column", form.begin);
  add("endLine", "endColumn", form.end);
}

void RunSources::addPlaceOfStep(Json& object, trace::Position step) const {
  addPlace(object, run_.index.step(step).program, run_.index.formOf(step));
}

std::optional<std::uint32_t> RunSources::stopAt(std::uint32_t program, std::int64_t line,
                                                std::optional<std::int64_t> column) const {
  const explain::Program& text = *run_.index.program(program);
  const auto number = static_cast<std::size_t>(std::max<std::int64_t>(0, line - style_.first_line));
  const std::size_t line_count = text.source.lineOf(text.source.text().size());
  if (number >= line_count) return std::nullopt;
  std::size_t begin = text.source.lineStart(number + 1);
  if (column) {
    const auto units =
        static_cast<std::size_t>(std::max<std::int64_t>(0, *column - style_.first_column));
    begin += utf16Offset(text.source.line(number + 1), units);
  }
  for (const std::uint32_t form : stopForms(text)) {
    if (text.forms_by_number[form]->begin >= begin) return form;
  }
  return std::nullopt;
}

Json RunSources::stopsBetween(std::uint32_t program, std::int64_t line,
                              std::int64_t end_line) const {
  const explain::Program& text = *run_.index.program(program);
  Json places = Json::array();
  for (const std::uint32_t form : stopForms(text)) {
    const auto at =
        static_cast<std::int64_t>(text.forms_by_number[form]->line) - 1 + style_.first_line;
    if (at < line || at > end_line) continue;
    Json place = Json::object();
    addPlace(place, program, *text.forms_by_number[form]);
    place.erase("source");
    places.push_back(std::move(place));
  }
  return places;
}

}  // namespace lisp_worker::console
