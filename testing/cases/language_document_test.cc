// docs/LANGUAGE.md, compared with the language: every example, and an example for everything.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <regex>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "explain/reference.h"
#include "geometry/builtins.h"
#include "host/builtins.h"
#include "lisp/builtin.h"
#include "lisp/reader.h"
#include "testing/formats/document_examples.h"
#include "testing/wire/frame_makers.h"
#include "testing/workers/explained_worker.h"

namespace lisp_worker::testing_support {
namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

struct Example {
  std::string heading;
  ProgramFile conversation;
};

std::vector<Example> readExamples() {
  std::vector<Example> examples;
  for (const DocumentBlock& block : fencedBlocks(readSource("docs/LANGUAGE.md"))) {
    if (block.info == "lisp")
      examples.push_back({block.heading, parseProgramFile(block.text, block.line)});
  }
  return examples;
}

TEST(LanguageDocument, ShowsExamplesThatHold) {
  const std::vector<Example> examples = readExamples();
  EXPECT_GT(examples.size(), 50u);
  for (const Example& example : examples) {
    SCOPED_TRACE(example.heading);
    EXPECT_THAT(example.conversation.errors, IsEmpty());
    EXPECT_THAT(example.conversation.steps, Not(IsEmpty()));
    ExplainedWorker worker;
    EXPECT_THAT(runProgramFile(example.conversation, worker), IsEmpty());
    for (const std::string& told : worker.explanations()) EXPECT_EQ(missingIn(told), "") << told;
  }
}

// True when `name` is in the heading above an example that calls it.
bool isShown(const std::vector<Example>& examples, std::string_view name) {
  return std::any_of(examples.begin(), examples.end(), [name](const Example& example) {
    const std::vector<std::string> names = codeSpans(example.heading);
    return std::find(names.begin(), names.end(), name) != names.end() &&
           calls(example.conversation, name);
  });
}

TEST(LanguageDocument, ShowsEveryBuiltin) {
  const std::vector<Example> examples = readExamples();
  for (const std::span<const lisp::Builtin> table :
       {lisp::coreBuiltins(), host::host_builtins(), geometry::geometry_builtins()}) {
    EXPECT_FALSE(table.empty());
    for (const lisp::Builtin& builtin : table) {
      EXPECT_TRUE(isShown(examples, builtin.name)) << builtin.name;
    }
  }
}

TEST(LanguageDocument, ShowsEverySpecialForm) {
  const std::vector<Example> examples = readExamples();
  for (const explain::Entry& entry : explain::entries()) {
    if (entry.group != explain::Group::SpecialForm) continue;
    EXPECT_TRUE(isShown(examples, entry.name)) << entry.name;
  }
}

// --- Messages ---------------------------------------------------------------------------------

// The messages of the language's table, as patterns.
std::vector<std::string> listedMessages() {
  std::vector<std::string> messages;
  for (const auto& row : tableRows(readSource("docs/LANGUAGE.md"), "Messages")) {
    for (const std::string& message : codeSpans(row.front())) messages.push_back(message);
  }
  return messages;
}

// The literals in the calls that make failures, and in the constants of messages, in all sources of
// the language and its builtins.
std::vector<std::string> messagesOfTheSources() {
  static const std::regex kCall(
      "\\b(?:fail\\w*\\(|make_error_outcome\\(|k\\w+Message = |message = )([^;{]*);");
  static const std::regex kLiteral("\"([^\"]+)\"");
  std::vector<std::string> messages;
  for (const char* directory : {"lisp", "host", "geometry"}) {
    for (const fs::directory_entry& file : fs::directory_iterator(sourceDirectory() / directory)) {
      const std::string name = file.path().filename().string();
      if (name.ends_with("_test.cc")) continue;
      const std::string source = readSource(fs::path(directory) / name);
      for (std::sregex_iterator call(source.begin(), source.end(), kCall), end; call != end;
           ++call) {
        const std::string arguments = (*call)[1];
        for (std::sregex_iterator literal(arguments.begin(), arguments.end(), kLiteral);
             literal != end; ++literal) {
          messages.push_back((*literal)[1]);
        }
      }
    }
  }
  return messages;
}

// The message of a program that runs alone, or of the answer that it is given; what is told of it
// is checked.
std::string messageOf(const std::string& program, const std::string& answer) {
  ExplainedWorker worker;
  EvalResult result = decodeEvalResult(worker.handle(startFrame(program)).payload);
  if (!answer.empty()) {
    EXPECT_NE(result.run_id, 0u) << program;
    result = decodeEvalResult(worker.handle(resumeFrame(result.run_id, answer)).payload);
  }
  EXPECT_EQ(worker.explanations().size(), 1u) << program;
  for (const std::string& told : worker.explanations()) EXPECT_EQ(missingIn(told), "") << told;
  return result.text;
}

// Those whose example is more than a program name the section that has it.
TEST(LanguageDocument, GivesAnExampleForEveryMessage) {
  int count = 0;
  for (const auto& row : tableRows(readSource("docs/LANGUAGE.md"), "Messages")) {
    for (const std::string& pattern : codeSpans(row.front())) {
      const std::vector<std::string> spans = codeSpans(row.back());
      if (spans.empty()) {
        const bool is_elsewhere = row.back().starts_with("[") && row.back().ends_with(")");
        EXPECT_EQ(is_elsewhere, row.back() != "514 opening parentheses") << row.back();
        continue;
      }
      const std::string message = messageOf(spans[0], spans.size() > 1 ? spans[1] : "");
      EXPECT_TRUE(fitsPattern(message, pattern)) << spans[0] << ": " << message;
      ++count;
    }
  }
  EXPECT_GE(count, 35);
  EXPECT_EQ(messageOf(std::string(514, '('), ""), "parser nesting limit exceeded");
}

TEST(LanguageDocument, ListsEveryMessageOfTheSources) {
  const std::vector<std::string> sources = messagesOfTheSources();
  EXPECT_GE(sources.size(), 40u);
  EXPECT_THAT(sources, Contains("division by zero"));
  const std::vector<std::string> listed = listedMessages();
  for (const std::string& message : sources) {
    // These two are told below the table: the first is never seen, the other one never sent.
    if (message == "invalid list" || message == "CAD host call required: ") continue;
    EXPECT_THAT(listed, Contains(HasSubstr(message)));
  }
}

TEST(LanguageDocument, ShowsEveryListedMessage) {
  std::vector<std::string> shown;
  for (const Example& example : readExamples()) {
    for (const ScriptStep& step : example.conversation.steps) {
      using Kind = ScriptStep::Kind;
      if (step.kind == Kind::ReadError || step.kind == Kind::EvalError ||
          step.kind == Kind::StepLimit) {
        shown.push_back(step.text);
      }
    }
  }
  // Too long for a document.
  std::string error;
  EXPECT_EQ(lisp::parseProgram(std::string(lisp::kNestingMax + 2, '('), &error), std::nullopt);
  shown.push_back(error);

  const std::vector<std::string> listed = listedMessages();
  EXPECT_GT(listed.size(), 30u);
  for (const std::string& pattern : listed) {
    EXPECT_TRUE(std::any_of(shown.begin(), shown.end(), [&](const std::string& text) {
      return fitsPattern(text, pattern);
    })) << pattern;
  }
  for (const std::string& text : shown) {
    EXPECT_TRUE(std::any_of(listed.begin(), listed.end(), [&](const std::string& pattern) {
      return fitsPattern(text, pattern);
    })) << text;
  }
}

}  // namespace
}  // namespace lisp_worker::testing_support
