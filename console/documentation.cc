// The tables of other files, put side by side as topics.

#include "console/documentation.h"

#include <array>
#include <cctype>
#include <sstream>

#include "console/command_input.h"
#include "console/commands.h"
#include "console/entity.h"
#include "explain/habits.h"
#include "explain/reference.h"

namespace lisp_worker::console {
namespace {

constexpr std::array kPromptCommands = {
    PromptCommand{":help", "this list"},
    PromptCommand{":doc NAME", "what a form, a function or a command takes and gives; or a search"},
    PromptCommand{":vars", "the variables with their values, and the functions"},
    PromptCommand{":last", "the last value; in a form the name means that value"},
    PromptCommand{":time [FORM]", "how long a form takes, or how long the last program took"},
    PromptCommand{":trace FORM", "run a form or a .lsp file, and list the calls that it makes"},
    PromptCommand{":profile FORM", "run it, and show where its steps and its time go"},
    PromptCommand{":coverage FORM", "run it, and show how often each line was evaluated"},
    PromptCommand{":steps", "where the steps of the last program went, by function and line"},
    PromptCommand{":calls [all]", "the host calls of the last program, with their answers"},
    PromptCommand{":drawing", "what the drawing holds"},
    PromptCommand{":picture [FILE]",
                  "draw it, before and after, as .svg, .png or .pdf (drawing.svg)"},
    PromptCommand{":undo", "take back the last program: drawing, variables and functions"},
    PromptCommand{":redo", "do again what :undo has taken back"},
    PromptCommand{":edit [FILE]", "change the last form or file in your editor, and run it"},
    PromptCommand{":load FILE", "run a program, or begin with the drawing of a .json file"},
    PromptCommand{":save FILE", "write the drawing as .json, or the definitions as .lsp"},
    PromptCommand{":quit", "leave, as Ctrl-D does; quit, exit and help need no colon"},
};

bool isLetter(char c) { return std::isalnum(static_cast<unsigned char>(c)) != 0; }

// True when a word of `text` begins with `word`; both in capitals.
bool hasWord(std::string_view text, std::string_view word) {
  for (std::size_t at = text.find(word); at != text.npos; at = text.find(word, at + 1)) {
    if (at == 0 || !isLetter(text[at - 1]) || !isLetter(word.front())) return true;
  }
  return false;
}

// Without line ends and runs of blanks.
std::string oneLine(std::string_view text) {
  std::istringstream words{std::string(text)};
  std::string line;
  for (std::string word; words >> word;) line += (line.empty() ? "" : " ") + word;
  return line;
}

std::vector<Topic> allTopics(bool with_habits) {
  std::vector<Topic> topics;
  for (const explain::Entry& entry : explain::entries()) {
    topics.push_back(
        {std::string(entry.name), std::string(entry.form) + "  " + std::string(entry.meaning)});
    if (!entry.messages.empty()) {
      topics.push_back({std::string(entry.name), "errors: " + std::string(entry.messages)});
    }
  }
  for (const std::string_view summary : commandSummaries()) {
    topics.push_back({std::string(summary.substr(0, summary.find(' '))),
                      "(COMMAND \"" + std::string(summary.substr(0, summary.find(' '))) +
                          "\" ...)  " + std::string(summary)});
  }
  std::vector<std::string_view> types = entityTypes();
  types.emplace_back();
  for (const std::string_view type : types) {
    for (const GroupNote& group : groupsOf(type)) {
      topics.push_back(
          {std::string(type.empty() ? "any" : type) + " group " + std::string(group.code),
           std::string(group.meaning) +
               (group.otherwise == "needed" ? "" : "; else " + std::string(group.otherwise))});
    }
  }
  for (const PromptCommand& command : promptCommands()) {
    topics.push_back({std::string(command.usage), std::string(command.meaning)});
  }
  if (!with_habits) return topics;
  for (const explain::Habit& habit : explain::habits()) {
    topics.push_back({std::string(habit.usage), oneLine(explain::describe(habit))});
  }
  return topics;
}

}  // namespace

std::span<const PromptCommand> promptCommands() { return kPromptCommands; }

std::vector<Topic> topicsAbout(std::string_view word, bool with_habits) {
  const std::string wanted = upperCase(word);
  std::vector<Topic> found;
  if (wanted.size() < 2) return found;
  for (Topic& topic : allTopics(with_habits)) {
    if (topic.name == wanted || topic.name.starts_with(wanted + " group ")) continue;
    if (hasWord(upperCase(topic.name + " " + topic.text), wanted))
      found.push_back(std::move(topic));
  }
  return found;
}

std::string describeName(std::string_view name) {
  if (const explain::Entry* const entry = explain::findEntry(name)) {
    return explain::describe(*entry);
  }
  std::string text;
  for (const std::string_view summary : commandSummaries()) {
    if (!summary.starts_with(std::string(name) + " ")) continue;
    text = "a command, for (COMMAND \"" + std::string(name) + "\" ...):\n  " +
           std::string(summary) + "\n";
  }
  text += typeReference(name);
  for (const PromptCommand& command : promptCommands()) {
    if (upperCase(command.name()) != name) continue;
    text +=
        std::string(command.usage) + "   [of the prompt]\n  " + std::string(command.meaning) + "\n";
  }
  return text;
}

std::string describeHabit(std::string_view name) {
  const explain::Habit* const habit = explain::findHabit(name);
  return habit == nullptr ? "" : explain::describe(*habit) + "\n";
}

}  // namespace lisp_worker::console
