// The reference of `:doc` and of the checker, compared with the evaluator's own tables.

#include "explain/reference.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "geometry/builtins.h"
#include "geometry/coord_context.h"
#include "host/builtins.h"
#include "host/run.h"
#include "lisp/builtin.h"
#include "lisp/printer.h"
#include "lisp/symbol.h"
#include "testing/base/random.h"
#include "testing/formats/document_examples.h"
#include "testing/generators/program_generator.h"
#include "testing/reference/literal_worker.h"
#include "testing/wire/frame_makers.h"
#include "testing/workers/evaluator.h"
#include "testing/workers/real_worker.h"

namespace lisp_worker::testing_support {
namespace {

bool isHostCall(const lisp::Builtin& builtin) {
  return builtin.arguments == lisp::Arguments::Unevaluated;
}

TEST(Reference, TellsOfEveryBuiltin) {
  std::size_t count = 0;
  for (const std::span<const lisp::Builtin> table :
       {lisp::coreBuiltins(), host::host_builtins(), geometry::geometry_builtins()}) {
    for (const lisp::Builtin& builtin : table) {
      const explain::Entry* const entry = explain::findEntry(builtin.name);
      ASSERT_NE(entry, nullptr) << builtin.name << " is missing in explain/reference.cc";
      EXPECT_EQ(entry->group,
                isHostCall(builtin) ? explain::Group::HostCall : explain::Group::Builtin)
          << builtin.name;
      ++count;
    }
  }
  const auto is_form = [](const explain::Entry& entry) {
    return entry.group == explain::Group::SpecialForm;
  };
  const auto forms = std::count_if(explain::entries().begin(), explain::entries().end(), is_form);
  EXPECT_EQ(count + static_cast<std::size_t>(forms), explain::entries().size());
}

// In the order of the evaluator's operations, which the special forms begin.
TEST(Reference, TellsOfEverySpecialForm) {
  lisp::installBuiltins({});
  std::size_t index = 0;
  for (const explain::Entry& entry : explain::entries()) {
    if (entry.group != explain::Group::SpecialForm) continue;
    const lisp::LispValue symbol = lisp::symbol(entry.name);
    EXPECT_EQ(lisp::symbolOf(symbol.raw()).base_operation, static_cast<lisp::Operation>(index++))
        << entry.name;
  }
  EXPECT_EQ(index, static_cast<std::size_t>(lisp::Operation::UserFunction));
}

// The outcome as the reference writes it.
std::string resultOf(const lisp::EvalOutcome& outcome) {
  if (outcome.kind == lisp::OutcomeKind::Value) return lisp::encodeValue(outcome.value);
  if (!outcome.host_call) return outcome.message;
  return "waits for " + outcome.host_call->name + " " +
         lisp::encodeValue(lisp::list(outcome.host_call->arguments));
}

TEST(Reference, ShowsExamplesThatHold) {
  for (const explain::Entry& entry : explain::entries()) {
    if (entry.name == "TRANS") continue;  // It needs a context; the language's document shows it.
    EXPECT_EQ(resultOf(evaluate(entry.example)), entry.result) << entry.example;
  }
}

// The end of a call with so many arguments.
lisp::OutcomeKind callWith(std::string_view name, std::size_t argument_count) {
  std::string call = "(" + std::string(name);
  for (std::size_t n = 0; n < argument_count; ++n) call += " A";
  return evaluate("(SETQ A 1)" + call + ")").kind;
}

// CAR and CDR never fail, and host calls do not ask how many arguments they have.
bool refusesWrongCounts(const explain::Entry& entry) {
  return entry.group != explain::Group::HostCall && entry.name != "CAR" && entry.name != "CDR";
}

TEST(Reference, KnowsHowManyArgumentsEachTakes) {
  for (const explain::Entry& entry : explain::entries()) {
    if (!refusesWrongCounts(entry)) continue;
    if (entry.count_min > 0) {
      EXPECT_EQ(callWith(entry.name, entry.count_min - 1), lisp::OutcomeKind::EvalError)
          << entry.name;
    }
    if (entry.count_max != explain::kAnyCount) {
      EXPECT_EQ(callWith(entry.name, entry.count_max + 1), lisp::OutcomeKind::EvalError)
          << entry.name;
    }
  }
}

// The message of a program that fails within some steps, under a context with a system that nothing
// can be converted into; otherwise nothing.
std::string messageOf(const std::string& text) {
  static const Evaluator kInstallsBuiltins;
  geometry::CoordContext context;
  context.systems[4].plane = {0, 0, 1, 0, 0, 0};
  const lisp::Environment environment;
  lisp::Interpreter interpreter(environment, &context, nullptr);
  host::StoredProgram program{text, {}};
  const lisp::EvalOutcome outcome = host::run_program(interpreter, program, {.step_limit = 100});
  return outcome.kind == lisp::OutcomeKind::EvalError ? outcome.message : "";
}

// Calls with every count of arguments and with arguments of other kinds.
std::vector<std::string> wrongCallsOf(const explain::Entry& entry) {
  static const std::map<explain::Kind, std::string> kFitting = {
      {explain::Kind::Any, "1"},
      {explain::Kind::Number, "1"},
      {explain::Kind::Divisor, "1"},
      {explain::Kind::List, "'(1 2)"},
      {explain::Kind::System, "0"},
      {explain::Kind::Point, "'(1 2)"},
      {explain::Kind::SelectionSet, "'($KVSEL)"}};
  static const std::vector<std::string> kOthers = {"0", "NIL", "\"x\"", "'(A)", "4", "7"};
  std::vector<std::string> calls;
  const std::size_t count_max =
      entry.count_max == explain::kAnyCount ? entry.count_min + 2 : entry.count_max + 1;
  for (std::size_t count = 0; count <= count_max; ++count) {
    const auto call = [&](std::size_t place, const std::string& other) {
      std::string text = "(" + std::string(entry.name);
      for (std::size_t n = 0; n < count; ++n) {
        text += " " + (n == place ? other : kFitting.at(entry.kindAt(n)));
      }
      calls.push_back(text + ")");
    };
    call(count, "");
    for (std::size_t place = 0; place < count; ++place) {
      for (const std::string& other : kOthers) call(place, other);
    }
  }
  if (entry.name == "DEFUN") calls.push_back("(DEFUN F (1) 1)");
  return calls;
}

TEST(Reference, KnowsTheMessagesThatEachRaises) {
  for (const explain::Entry& entry : explain::entries()) {
    if (entry.group == explain::Group::HostCall) continue;
    std::set<std::string> raised;
    for (const std::string& call : wrongCallsOf(entry)) raised.insert(messageOf(call));
    raised.erase("");
    std::set<std::string> listed;
    std::string_view rest = entry.messages;
    while (!rest.empty()) {
      const std::size_t end = std::min(rest.find("; "), rest.size());
      listed.emplace(rest.substr(0, end));
      rest.remove_prefix(std::min(end + 2, rest.size()));
    }
    EXPECT_EQ(raised, listed) << entry.name;
  }
}

// --- A new name is known everywhere
// ---------------------------------------------------------------

TEST(Reference, HasNoNameThatTheLiteralImplementationDoesNotKnow) {
  for (const explain::Entry& entry : explain::entries()) {
    std::vector<std::string> programs = wrongCallsOf(entry);
    programs.emplace_back(entry.example);
    for (const std::string& program : programs) {
      if (program.starts_with("(WHILE")) continue;  // Endless ones take the literal way too long.
      RealWorker worker;
      LiteralWorker literal;
      EXPECT_EQ(literal.handle(startFrame(program)).payload,
                worker.handle(startFrame(program)).payload)
          << program;
    }
  }
}

TEST(Reference, HasNoNameThatIsNotGenerated) {
  Random random(1);
  ProgramGenerator generator(random);
  std::string text;
  for (int n = 0; n < 2000; ++n) text += generator.program();
  std::transform(text.begin(), text.end(), text.begin(),
                 [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 32) : c; });
  for (const explain::Entry& entry : explain::entries()) {
    EXPECT_NE(text.find("(" + std::string(entry.name)), std::string::npos)
        << entry.name << " is missing in testing/generators/program_expressions.cc";
  }
}

TEST(Reference, HasNoBuiltinThatTheFuzzersDoNotKnow) {
  const std::string words = readSource("fuzz/lisp.dict");
  for (const explain::Entry& entry : explain::entries()) {
    if (entry.group != explain::Group::Builtin) continue;
    EXPECT_NE(words.find("\"(" + std::string(entry.name) + " \""), std::string::npos)
        << entry.name << " is missing in fuzz/lisp.dict";
  }
}

}  // namespace
}  // namespace lisp_worker::testing_support
