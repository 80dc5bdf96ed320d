// Counts the evaluations of every form, by the form's number. Afterwards the forms that can be
// evaluated are looked up in the program: the same ones that the evaluator would evaluate.

#include "console/coverage.h"

#include <algorithm>
#include <cstdio>
#include <string_view>

#include "explain/explanation.h"

namespace lisp_worker::console {

using explain::Form;

namespace {

std::string_view specialNameOf(const Form& form) {
  const bool is_special = form.entry != nullptr && form.entry->group == explain::Group::SpecialForm;
  return is_special ? form.entry->name : std::string_view();
}

// True when the item of a list that begins with the special form `name` is evaluated.
bool isEvaluated(std::string_view name, std::size_t item) {
  constexpr std::size_t kBodyIndex = 3;
  if (name == "QUOTE") return false;
  if (name == "SETQ") return item % 2 == 0;
  if (name == "DEFUN") return item >= kBodyIndex;
  return true;
}

std::string percentage(std::size_t part, std::size_t whole) {
  char text[32];
  std::snprintf(
      text, sizeof(text), "%.1f%%",
      whole == 0 ? 100.0 : 100.0 * static_cast<double>(part) / static_cast<double>(whole));
  return text;
}

std::string inColumn(const std::string& text, std::size_t width) {
  return std::string(width - std::min(width, text.size()), ' ') + text;
}

}  // namespace

std::size_t Coverage::fileOf(const explain::ProgramPointer& program) {
  const std::size_t file = sources_.numberOf(program);
  if (file == files_.size()) {
    const std::size_t count = program->forms_by_number.size();
    files_.push_back({.entered = std::vector<std::uint64_t>(count),
                      .nil_count = std::vector<std::uint64_t>(count)});
    for (std::size_t n = 0; n < count; ++n) {
      files_.back().numbers[program->forms_by_number[n]] = n;
    }
  }
  return file;
}

void Coverage::began(const explain::ProgramPointer& program) {
  static_cast<void>(fileOf(program));
  open_.clear();
}

void Coverage::entered(const explain::ProgramPointer& program, std::size_t number) {
  const std::size_t file = fileOf(program);
  ++files_[file].entered[number];
  open_.push_back({file, number});
}

void Coverage::left(const lisp::LispValue& value) {
  const OpenForm form = open_.back();
  open_.pop_back();
  if (value.kind() == lisp::ValueKind::Nil) ++files_[form.file].nil_count[form.number];
}

void Coverage::called(const explain::Function& function) {
  ++files_[fileOf(function.program)].calls[function.definition->begin];
}

void Coverage::lookAtBranches(const File& file, const Form& form, Report& report) {
  const auto number_of = [&file](const Form& part) { return file.numbers.at(&part); };
  const auto entered_of = [&](const Form& part) { return file.entered[number_of(part)]; };
  if (entered_of(form) == 0) return;
  const std::string_view name = form.operatorName();
  const std::vector<Form>& items = form.items;
  if (name == "IF" && (items.size() == 3 || items.size() == 4)) {
    report.branches.push_back({&form, &items[2], "the THEN of IF", entered_of(items[2])});
    if (items.size() == 4) {
      report.branches.push_back({&form, &items[3], "the ELSE of IF", entered_of(items[3])});
    } else {
      report.branches.push_back(
          {&form, &form, "the way past this IF", file.nil_count[number_of(items[1])]});
    }
  } else if (name == "WHILE" && items.size() > 2) {
    report.branches.push_back({&form, &items[2], "the body of WHILE", entered_of(items[2])});
  } else if (name == "AND" || name == "OR") {
    for (std::size_t n = 2; n < items.size(); ++n) {
      report.branches.push_back({&form, &items[n],
                                 name == "AND" ? "this part of AND" : "this part of OR",
                                 entered_of(items[n])});
    }
  }
}

// A form that may be evaluated.
void Coverage::look(const File& file, const Form& form, Report& report) const {
  std::uint64_t& line = report.lines[form.line - 1];
  const std::uint64_t count = file.entered[file.numbers.at(&form)];
  line = line == kNoCode ? count : std::max(line, count);
  if (!form.isList() || form.items.empty()) return;
  const std::string_view name = specialNameOf(form);
  if (name == "DEFUN" && form.items.size() > 3) report.definitions.push_back(&form);
  lookAtBranches(file, form, report);
  for (std::size_t n = 1; n < form.items.size(); ++n) {
    if (isEvaluated(name, n)) look(file, form.items[n], report);
  }
}

Coverage::Report Coverage::reportOf(std::size_t file) const {
  const explain::Program& program = sources_[file];
  Report report;
  report.lines.assign(program.source.lineOf(program.source.text().size()), kNoCode);
  for (const Form& form : program.reading.forms) look(files_[file], form, report);
  return report;
}

std::string Coverage::text() const {
  constexpr std::size_t kCountWidth = 9;
  constexpr std::size_t kNumberWidth = 5;
  constexpr std::size_t kShownTextMax = 200;
  std::string text;
  for (std::size_t file = 0; file < files_.size(); ++file) {
    const explain::Program& program = sources_[file];
    const Report report = reportOf(file);
    std::size_t code_count = 0;
    std::size_t reached_count = 0;
    std::string listing;
    for (std::size_t n = 0; n < report.lines.size(); ++n) {
      const std::string_view line = program.source.line(n + 1);
      if (n + 1 == report.lines.size() && line.empty()) break;  // Behind the last line feed.
      const std::uint64_t count = report.lines[n];
      if (count != kNoCode) ++code_count;
      if (count != kNoCode && count != 0) ++reached_count;
      listing += inColumn(count == kNoCode ? ""
                          : count == 0     ? "#####"
                                           : std::to_string(count),
                          kCountWidth) +
                 " |" + inColumn(std::to_string(n + 1), kNumberWidth) + " | " +
                 std::string(line.substr(0, kShownTextMax)) +
                 (line.size() > kShownTextMax ? "...\n" : "\n");
    }
    std::vector<Branch> missed;
    std::copy_if(report.branches.begin(), report.branches.end(), std::back_inserter(missed),
                 [](const Branch& branch) { return branch.taken == 0; });
    const std::size_t branch_count = report.branches.size();
    text += "== coverage of " + program.source.name() + ": " + std::to_string(reached_count) +
            " of " + std::to_string(code_count) + (code_count == 1 ? " line (" : " lines (") +
            percentage(reached_count, code_count) + ")";
    if (branch_count != 0) {
      text += ", " + std::to_string(branch_count - missed.size()) + " of " +
              std::to_string(branch_count) + (branch_count == 1 ? " branch" : " branches");
    }
    text += "\n" + listing;
    for (std::size_t n = 0; n < missed.size() && n < kBranchesShownMax; ++n) {
      text += explain::nameOfPlace(program, missed[n].part->begin) + ": " + missed[n].name +
              " was never taken\n";
    }
    if (missed.size() > kBranchesShownMax) {
      text += "... and " + std::to_string(missed.size() - kBranchesShownMax) +
              " more were never taken\n";
    }
  }
  return text;
}

std::string Coverage::tracefile() const {
  std::string text;
  for (std::size_t file = 0; file < files_.size(); ++file) {
    const explain::Source& source = sources_[file].source;
    const Report report = reportOf(file);
    text += "TN:\nSF:" + source.name() + "\n";
    std::size_t called_count = 0;
    for (const Form* const definition : report.definitions) {
      text += "FN:" + std::to_string(definition->line) + "," +
              std::string(definition->items[1].name()) + "\n";
    }
    for (const Form* const definition : report.definitions) {
      const auto calls = files_[file].calls.find(definition->begin);
      const std::uint64_t count = calls == files_[file].calls.end() ? 0 : calls->second;
      if (count != 0) ++called_count;
      text +=
          "FNDA:" + std::to_string(count) + "," + std::string(definition->items[1].name()) + "\n";
    }
    text += "FNF:" + std::to_string(report.definitions.size()) +
            "\nFNH:" + std::to_string(called_count) + "\n";
    std::size_t taken_count = 0;
    std::size_t block = 0;
    std::size_t way = 0;
    for (std::size_t n = 0; n < report.branches.size(); ++n) {
      const Branch& branch = report.branches[n];
      const bool is_same = n > 0 && report.branches[n - 1].form == branch.form;
      way = is_same ? way + 1 : 0;
      if (!is_same && n > 0) ++block;
      if (branch.taken != 0) ++taken_count;
      text += "BRDA:" + std::to_string(branch.form->line) + "," + std::to_string(block) + "," +
              std::to_string(way) + "," + std::to_string(branch.taken) + "\n";
    }
    text += "BRF:" + std::to_string(report.branches.size()) +
            "\nBRH:" + std::to_string(taken_count) + "\n";
    std::size_t code_count = 0;
    std::size_t reached_count = 0;
    for (std::size_t n = 0; n < report.lines.size(); ++n) {
      if (report.lines[n] == kNoCode) continue;
      ++code_count;
      if (report.lines[n] != 0) ++reached_count;
      text += "DA:" + std::to_string(n + 1) + "," + std::to_string(report.lines[n]) + "\n";
    }
    text += "LF:" + std::to_string(code_count) + "\nLH:" + std::to_string(reached_count) +
            "\nend_of_record\n";
  }
  return text;
}

}  // namespace lisp_worker::console
