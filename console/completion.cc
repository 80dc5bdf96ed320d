// The tokens before the cursor tell which list it is in, and that list decides what can come.

#include "console/completion.h"

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <span>
#include <system_error>
#include <utility>

#include "console/command_input.h"
#include "console/commands.h"
#include "console/documentation.h"
#include "console/entity.h"
#include "console/form_layout.h"
#include "console/snap.h"

namespace lisp_worker::console {
namespace {

bool isSmall(char c) { return c >= 'a' && c <= 'z'; }

// A list that is open at the cursor, with the tokens directly in it, but not the word.
struct OpenList {
  bool is_quoted = false;
  std::size_t begin = 0;
  std::vector<std::string> items;  // Texts of tokens; "(" for a list that is closed again.

  [[nodiscard]] std::string name() const { return items.empty() ? "" : upperCase(items.front()); }
};

std::string contentOf(std::string_view token) {
  token.remove_prefix(1);
  if (token.ends_with('"')) token.remove_suffix(1);
  return std::string(token);
}

// From the outermost to the innermost.
std::vector<OpenList> openLists(std::string_view text, std::span<const Token> tokens) {
  std::vector<OpenList> lists;
  bool is_quoted = false;
  for (const Token& token : tokens) {
    if (token.kind == TokenKind::Open) {
      lists.push_back({is_quoted, token.begin, {}});
    } else if (token.kind == TokenKind::Close) {
      if (!lists.empty()) lists.pop_back();
      if (!lists.empty()) lists.back().items.emplace_back("(");
    } else if (token.kind == TokenKind::Atom || token.kind == TokenKind::String) {
      if (!lists.empty()) {
        lists.back().items.emplace_back(text.substr(token.begin, token.end - token.begin));
      }
    }
    is_quoted = token.kind == TokenKind::Quote;
  }
  return lists;
}

bool isCommandCall(const std::string& name) { return name == "COMMAND" || name == "COMMAND-S"; }

// The words of a command's summary that are typed as they are: capitals and digits.
std::vector<std::string> optionsOf(std::string_view command) {
  std::vector<std::string> options;
  for (const std::string_view summary : commandSummaries()) {
    if (!summary.starts_with(std::string(command) + " ")) continue;
    std::string word;
    for (const char c : std::string(summary.substr(command.size())) + " ") {
      if (std::isalnum(static_cast<unsigned char>(c)) != 0) {
        word += c;
        continue;
      }
      const bool has_small = std::any_of(word.begin(), word.end(), isSmall);
      if (!word.empty() && !has_small) options.push_back(word);
      if (word == "selection") options.insert(options.end(), {"ALL", "L", "P", "W", "C"});
      word.clear();
    }
  }
  return options;
}

void add(Completion& completion, std::string_view text, std::string_view note = "") {
  if (!upperCase(text).starts_with(upperCase(completion.word))) return;
  completion.candidates.push_back({std::string(text), std::string(note)});
}

// Inside (COMMAND ...: a command first, and behind Enter; between them the command's options.
void completeCommandInput(const OpenList& call, Completion& completion) {
  std::string command;
  bool is_after_enter = call.items.size() == 1;
  for (std::size_t n = 1; n < call.items.size(); ++n) {
    if (call.items[n].front() != '"') continue;
    const std::string text = upperCase(contentOf(call.items[n]));
    if (isCommand(text)) command = text;
    is_after_enter = text.empty() && n + 1 == call.items.size();
  }
  if (is_after_enter) {
    for (const std::string_view summary : commandSummaries()) {
      add(completion, summary.substr(0, summary.find(' ')));
    }
  }
  for (const std::string& option : optionsOf(command)) add(completion, option);
}

Completion completeString(const std::vector<OpenList>& lists, std::string word,
                          const CompletionSource& source) {
  Completion completion{.word = std::move(word), .ending = "\""};
  if (lists.empty()) return completion;
  const OpenList& list = lists.back();
  if (isCommandCall(list.name())) {
    completeCommandInput(list, completion);
  } else if (list.name() == "0") {
    for (const std::string_view type : entityTypes()) add(completion, type);
  } else if (list.name() == "8") {
    for (const std::string& layer : source.layers) add(completion, layer);
  } else if (list.name() == "OSNAP") {
    for (const std::string_view mode : {"CEN", "END", "INS", "MID", "NOD", "QUA"}) {
      add(completion, mode);
    }
  }
  return completion;
}

// The type in what is written of an entity's groups; empty when it is not there yet.
std::string typeIn(std::string_view text) {
  const std::vector<Token> tokens = tokensOf(text);
  for (std::size_t n = 0; n + 2 < tokens.size(); ++n) {
    const bool is_type =
        tokens[n].kind == TokenKind::Open &&
        text.substr(tokens[n + 1].begin, tokens[n + 1].end - tokens[n + 1].begin) == "0" &&
        tokens[n + 2].kind == TokenKind::String && !tokens[n + 2].is_open;
    if (is_type) {
      return contentOf(text.substr(tokens[n + 2].begin, tokens[n + 2].end - tokens[n + 2].begin));
    }
  }
  return "";
}

// A list that has just begun, among the groups of an entity: its code comes first.
bool isGroupBegun(const std::vector<OpenList>& lists) {
  if (lists.size() < 2 || !lists.back().items.empty()) return false;
  const OpenList& around = lists[lists.size() - 2];
  return around.is_quoted || (lists.back().is_quoted && around.name() == "LIST");
}

// Parameters and locals of the functions around the cursor.
std::vector<std::string> parametersAround(std::string_view text, std::span<const Token> tokens,
                                          const std::vector<OpenList>& lists) {
  std::vector<std::string> names;
  for (const OpenList& list : lists) {
    if (list.name() != "DEFUN") continue;
    auto token = std::find_if(tokens.begin(), tokens.end(),
                              [&list](const Token& t) { return t.begin == list.begin; });
    token += std::min<std::ptrdiff_t>(4, tokens.end() - token);  // ( DEFUN NAME (
    for (; token != tokens.end() && token->kind == TokenKind::Atom; ++token) {
      const std::string name = upperCase(text.substr(token->begin, token->end - token->begin));
      if (name != "/") names.push_back(name);
    }
  }
  return names;
}

Completion completeFile(std::string word) {
  Completion completion{.word = std::move(word)};
  const std::size_t slash = completion.word.rfind('/');
  const std::string directory =
      slash == std::string::npos ? "" : completion.word.substr(0, slash + 1);
  const std::string begun = completion.word.substr(directory.size());
  std::error_code failure;
  for (std::filesystem::directory_iterator entry(directory.empty() ? "." : directory, failure), end;
       !failure && entry != end; entry.increment(failure)) {
    const std::string name = entry->path().filename().string();
    if (!name.starts_with(begun) || (begun.empty() && name.starts_with('.'))) continue;
    std::error_code unknown;
    const bool is_directory = entry->is_directory(unknown);
    completion.candidates.push_back({directory + name + (is_directory ? "/" : "")});
  }
  std::sort(completion.candidates.begin(), completion.candidates.end(),
            [](const Candidate& a, const Candidate& b) { return a.text < b.text; });
  return completion;
}

void addNames(Completion& completion, const std::vector<std::string>& names) {
  completion.keeps_case = true;
  completion.ending = " ";
  for (std::string& name : namesWith(names, completion.word)) {
    completion.candidates.push_back({std::move(name)});
  }
}

Completion completePromptCommand(std::string_view text, const CompletionSource& source) {
  const std::size_t blank = text.find(' ');
  if (blank == text.npos) {
    Completion completion{.word = std::string(text)};
    std::vector<std::string> names;
    for (const PromptCommand& command : promptCommands()) names.emplace_back(command.name());
    addNames(completion, names);
    return completion;
  }
  const std::string_view command = text.substr(0, blank);
  std::string word(text.substr(std::min(text.find_first_not_of(' ', blank), text.size())));
  for (const char* const takes_file : {":load", ":save", ":picture", ":edit"}) {
    if (command == takes_file) return completeFile(std::move(word));
  }
  for (const char* const takes_form : {":time", ":trace", ":profile", ":coverage"}) {
    if (command != takes_form) continue;
    const bool may_be_file = command != ":time" && !word.empty() && !word.starts_with('(');
    return may_be_file ? completeFile(std::move(word)) : completeAt(word, source);
  }
  Completion completion{.word = std::move(word)};
  if (command != ":doc") return completion;
  std::vector<std::string> names = source.names;
  for (const std::string_view summary : commandSummaries()) {
    names.emplace_back(summary.substr(0, summary.find(' ')));
  }
  for (const std::string_view type : entityTypes()) names.emplace_back(type);
  addNames(completion, names);
  completion.ending.clear();
  return completion;
}

}  // namespace

std::string Completion::extended() const {
  if (candidates.empty()) return word;
  std::string common = candidates.front().text;
  for (const Candidate& candidate : candidates) {
    const auto [end, other] =
        std::mismatch(common.begin(), common.end(), candidate.text.begin(), candidate.text.end());
    common.erase(end, common.end());
  }
  if (common.size() < word.size()) return word;
  if (keeps_case) {
    std::string rest = common.substr(word.size());
    if (std::any_of(word.begin(), word.end(), isSmall)) {
      std::transform(rest.begin(), rest.end(), rest.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
      });
    }
    common = word + rest;
  }
  const bool is_directory = common.ends_with('/');
  return common + (candidates.size() == 1 && !is_directory ? ending : "");
}

std::vector<std::string> namesWith(const std::vector<std::string>& names, std::string_view word) {
  const std::string wanted = upperCase(word);
  std::vector<std::string> found;
  for (const std::string& name : names) {
    if (upperCase(name).starts_with(wanted)) found.push_back(name);
  }
  std::sort(found.begin(), found.end());
  found.erase(std::unique(found.begin(), found.end()), found.end());
  return found;
}

Completion completeAt(std::string_view before, const CompletionSource& source) {
  const std::size_t begin = std::min(before.find_first_not_of(" \t"), before.size());
  if (before.substr(begin).starts_with(':')) {
    return completePromptCommand(before.substr(begin), source);
  }
  const std::vector<Token> all = tokensOf(before);
  std::span<const Token> tokens(all);
  std::string word;
  const bool is_at_end = !tokens.empty() && tokens.back().end == before.size();
  if (is_at_end && tokens.back().kind == TokenKind::Comment) return {};
  if (is_at_end && tokens.back().is_open) {
    word = before.substr(tokens.back().begin + 1);
    tokens = tokens.first(tokens.size() - 1);
    return completeString(openLists(before, tokens), std::move(word), source);
  }
  if (is_at_end && tokens.back().kind == TokenKind::Atom) {
    word = before.substr(tokens.back().begin);
    tokens = tokens.first(tokens.size() - 1);
  }
  const std::vector<OpenList> lists = openLists(before, tokens);
  Completion completion{.word = std::move(word)};
  if (isGroupBegun(lists)) {
    const std::string type = typeIn(before.substr(lists[lists.size() - 2].begin));
    for (const std::string_view of : {std::string_view(type), std::string_view()}) {
      for (const GroupNote& group : groupsOf(of)) add(completion, group.code, group.meaning);
      if (type.empty()) break;
    }
    completion.ending = " ";
    return completion;
  }
  std::vector<std::string> names = parametersAround(before, tokens, lists);
  if (completion.word.empty() && !lists.empty() && !lists.back().name().empty()) {
    if (source.signature) completion.hint = source.signature(lists.back().name());
    if (!completion.hint.empty()) return completion;
    addNames(completion, names);
    return completion;
  }
  names.insert(names.end(), source.names.begin(), source.names.end());
  addNames(completion, names);
  return completion;
}

}  // namespace lisp_worker::console
