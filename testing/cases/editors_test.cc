// The editor files name what the language has: no more, and no less.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <regex>
#include <set>
#include <string>

#include "explain/reference.h"
#include "testing/formats/document_examples.h"

namespace lisp_worker::testing_support {
namespace {

std::set<std::string> namesOf(explain::Group group) {
  std::set<std::string> names;
  for (const explain::Entry& entry : explain::entries()) {
    if (entry.group == group) names.insert(std::string(entry.name));
  }
  return names;
}

// What `pattern` finds again and again.
std::set<std::string> matchesIn(const std::string& text, const std::regex& pattern) {
  std::set<std::string> matches;
  for (std::sregex_iterator match(text.begin(), text.end(), pattern), end; match != end; ++match) {
    matches.insert(match->str(1));
  }
  return matches;
}

// The text between the first `begin` and the next `end` after it.
std::string between(const std::string& text, const std::string& begin, const std::string& end) {
  const std::size_t from = text.find(begin);
  if (from == std::string::npos) return "";
  const std::size_t first = from + begin.size();
  return text.substr(first, text.find(end, first) - first);
}

TEST(EditorFiles, OfEmacsNameTheBuiltins) {
  const std::string text = readSource("editors/emacs/lisp-worker-mode.el");
  const std::regex quoted("\"([^\"]+)\"");
  const auto list = [&](const std::string& name) {
    return matchesIn(between(text, "(defconst " + name + "\n", "))"), quoted);
  };
  EXPECT_EQ(list("lisp-worker-special-forms"), namesOf(explain::Group::SpecialForm));
  EXPECT_EQ(list("lisp-worker-builtins"), namesOf(explain::Group::Builtin));
  EXPECT_EQ(list("lisp-worker-host-calls"), namesOf(explain::Group::HostCall));
}

TEST(EditorFiles, OfVimNameTheBuiltins) {
  const std::string text = readSource("editors/vim/syntax/lisp_worker.vim");
  const auto list = [&](const std::string& group) {
    std::set<std::string> names;
    const std::regex line("syntax keyword " + group + " contained([^\n]*)");
    for (const std::string& words : matchesIn(text, line)) {
      names.merge(matchesIn(words, std::regex(" ([^ ]+)")));
    }
    return names;
  };
  EXPECT_EQ(list("lispWorkerSpecial"), namesOf(explain::Group::SpecialForm));
  EXPECT_EQ(list("lispWorkerBuiltin"), namesOf(explain::Group::Builtin));
  EXPECT_EQ(list("lispWorkerHostCall"), namesOf(explain::Group::HostCall));
}

TEST(EditorFiles, OfTheExtensionNameTheBuiltins) {
  const std::string text = readSource("editors/vscode/syntaxes/lisp-worker.tmLanguage.json");
  // "(?<=\\()\\s*((?i)CAR|CDR)" and so on, with what is special in a pattern escaped twice.
  std::set<std::string> names;
  for (const std::string& list : matchesIn(text, std::regex(R"(\(\(\?i\)([^)]+)\))"))) {
    for (std::string name : matchesIn("|" + list, std::regex(R"(\|([^|]+))"))) {
      names.insert(std::regex_replace(name, std::regex(R"(\\)"), ""));
    }
  }
  std::set<std::string> expected = namesOf(explain::Group::SpecialForm);
  expected.merge(namesOf(explain::Group::Builtin));
  expected.merge(namesOf(explain::Group::HostCall));
  EXPECT_EQ(names, expected);
}

}  // namespace
}  // namespace lisp_worker::testing_support
