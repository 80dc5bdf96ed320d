// The law of work itself: a request that breaks it ends the process, and every kind of work counts.

#include "worker/work_law.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <type_traits>

#include "lisp_worker/worker/frame.h"
#include "testing/wire/wire_frames.h"
#include "worker/dispatch.h"

#ifdef LISP_COUNT_WORK
#include "lisp/graveyard.h"
#include "lisp/work.h"
#endif

namespace lisp_worker::worker {
namespace {

using testing_support::requestHeader;

#ifndef LISP_COUNT_WORK

TEST(WorkLaw, IsNothingWhereNothingIsCounted) { EXPECT_TRUE(std::is_empty_v<WorkLaw>); }

#else

constexpr std::uint64_t kPerByte = 40;
constexpr std::uint64_t kPerRequest = 150000;

void doWork(std::uint64_t units, const std::string& payload) {
  WorkLaw law;
  law.begin();
  lisp::countWork(units);
  law.end(requestHeader(MessageType::Ping), payload, {});
}

TEST(WorkLaw, EndsTheProcessForOneUnitTooMany) {
  const std::string payload(1000, 'x');
  const std::uint64_t granted = kPerRequest + kPerByte * payload.size();
  doWork(granted, payload);
  EXPECT_DEATH(doWork(granted + 1, payload), "the law of work is broken: 190001 units");
}

std::string repeated(const std::string& text, int count) {
  std::string result;
  for (int i = 0; i < count; ++i) result += text;
  return result;
}

std::string names(const std::string& beginning, int count, const std::string& end) {
  std::string result;
  for (int i = 0; i < count; ++i) result += " " + beginning + std::to_string(i) + end;
  return result;
}

// The work of a program of each kind, or a little less: a counter that counts nothing is missed.
TEST(WorkLaw, CountsEveryKindOfWork) {
  const struct {
    const char* kind;
    std::string setup;
    std::string program;
    std::uint64_t units_min;
  } rows[] = {
      {"elements that are read", "", "'(" + repeated("1 ", 10000) + ") 1", 40000},
      {"names that are new", "", "'(" + names("LONGER-NAME-", 2000, "") + ") 1", 2000 * 38},
      {"blocks", "", "'(" + repeated("() (1) ", 5000) + ") 1", 5000 * 10},
      {"bindings of calls", "(DEFUN F (A B C D E F / G H) 1)",
       "(SETQ I 0) (WHILE (< I 1000) (SETQ I (1+ I)) (F 1 2 3 4 5 6))", 1000 * 15},
      {"changes of arguments",
       "(DEFUN F (A B) 1) (DEFUN G (A) " + repeated("(F (SETQ A 1) (SETQ A 2))", 500) + ")",
       "(G 1)", 500 * 5},
      {"locals that are bound late", "(DEFUN F (/" + names("L", 100, "") + ") (SETQ I (1+ I)))",
       "(SETQ I 0) (WHILE (< I 1000) (F))", 1000},
      {"locals of a definition", "", "(DEFUN F (/" + names("M", 2000, "") + ") 1)", 2000 * 17},
      // How far the table of names still has to grow depends on the rows before.
      {"globals that are kept", "", "(SETQ" + names("G", 2000, " 1") + ")", 2000 * 25},
      {"digests", "", "(SETQ A '(" + repeated("1 ", 10000) + ")) 1", 10000 * 5},
      {"elements that are compared",
       "(SETQ A '(" + repeated("1 ", 10000) + ")) (SETQ B '(" + repeated("1 ", 10000) + "))",
       "(EQUAL A B)", 10000},
      {"runs on the way to an element",
       "(SETQ S '($KVSEL 0) I 0) (WHILE (< I 1000) (SETQ I (1+ I)) (CONS 0 (CDR S))"
       " (SETQ S (CONS '$KVSEL (CONS I (CDR S))))) 1",
       repeated("(SSNAME S 500)", 100), 100 * 37},
      {"elements that are written", "(SETQ A '(" + repeated("1 ", 10000) + ")) 1", "A", 30000},
      {"elements that are taken apart", "(SETQ A '(" + repeated("1 ", 10000) + ")) 1", "(SETQ A 1)",
       12500},
      {"nodes of environments", "(SETQ" + names("G", 2000, " 1") + ")", "(SETQ G7 2)", 100},
  };
  for (const auto& row : rows) {
    Dispatcher dispatcher;
    std::string response;
    if (!row.setup.empty()) {
      EXPECT_EQ(
          dispatcher.handleRequest(requestHeader(MessageType::EvalStart), row.setup, response),
          WorkerStatus::Ok)
          << row.kind;
      response.clear();
    }
    lisp::takeAllApart();
    const std::uint64_t before = lisp::workDone();
    EXPECT_EQ(
        dispatcher.handleRequest(requestHeader(MessageType::EvalStart), row.program, response),
        WorkerStatus::Ok)
        << row.kind;
    EXPECT_GE(lisp::workDone() - before, row.units_min) << row.kind;
  }
}

#endif

}  // namespace
}  // namespace lisp_worker::worker
