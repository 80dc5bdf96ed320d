// The loops that a scripting language is judged by, in the worker and in Lua 5.4, side by side in
// one run. Both interpreters run text that has been read already, with the same variables: global
// ones, as top-level variables of programs are; Lua's local ones are faster and shown for fairness.

#include <benchmark/benchmark.h>

#include <lua.hpp>
#include <memory>

#include "bench/programs.h"
#include "geometry/context_table.h"
#include "host/run.h"
#include "lisp/environment.h"
#include "lisp/interpreter.h"
#include "worker/evaluation_requests.h"

namespace {

void runLisp(benchmark::State& state, const lisp_worker::bench::BenchProgram& program) {
  const geometry::ContextTable contexts;
  const lisp_worker::worker::EvaluationRequests evaluation(contexts);  // Makes the builtins known.
  const lisp::Environment environment;
  host::StoredProgram read{program.text, {}};
  for (auto _ : state) {
    lisp::Interpreter interpreter(environment, nullptr, nullptr);
    const lisp::EvalOutcome outcome = host::run_program(interpreter, read, {});
    if (outcome.kind != lisp::OutcomeKind::Value) state.SkipWithError("the program fails");
  }
}

void runLua(benchmark::State& state, const char* text) {
  const std::unique_ptr<lua_State, decltype(&lua_close)> lua(luaL_newstate(), lua_close);
  luaL_openlibs(lua.get());
  if (luaL_loadstring(lua.get(), text) != LUA_OK) state.SkipWithError("Lua cannot read it");
  for (auto _ : state) {
    lua_pushvalue(lua.get(), -1);
    if (lua_pcall(lua.get(), 0, 0, 0) != LUA_OK) state.SkipWithError("the Lua program fails");
  }
}

BENCHMARK_CAPTURE(runLisp, counting, lisp_worker::bench::kCountingLoop);
BENCHMARK_CAPTURE(runLua, counting, "i = 0 n = 40000 while i < n do i = i + 1 end");
BENCHMARK_CAPTURE(runLua, counting_with_locals,
                  "local i, n = 0, 40000 while i < n do i = i + 1 end");
BENCHMARK_CAPTURE(runLisp, recursion, lisp_worker::bench::kRecursiveCalls);
BENCHMARK_CAPTURE(runLua, recursion,
                  "function fib(n) if n < 2 then return n else return fib(n-1) + fib(n-2) end end "
                  "fib(19)");
BENCHMARK_CAPTURE(runLisp, list_building, lisp_worker::bench::kListBuilding);
BENCHMARK_CAPTURE(runLua, list_building,
                  "l = nil i = 0 while i < 25000 do l = {i, l} i = i + 1 end");
BENCHMARK_CAPTURE(runLisp, points, lisp_worker::bench::kPointArithmetic);
BENCHMARK_CAPTURE(runLua, points,
                  "p = {0, 0, 0} i = 0 while i < 10000 do "
                  "p = {p[1] + 1.5, p[2] + 2.5, i * 0.5} i = i + 1 end");

}  // namespace
