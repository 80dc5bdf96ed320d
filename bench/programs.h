// The programs that the benchmarks run, one for each thing that programs spend their time on.
//
// They are what hosts really send: a few loops, lists that are built and walked, points that are
// computed, a selection set that is gone through. Each stays below the worker's step limit.

#ifndef BENCH_PROGRAMS_H_
#define BENCH_PROGRAMS_H_

namespace lisp_worker::bench {

struct BenchProgram {
  const char* name;
  const char* text;
};

inline constexpr BenchProgram kCountingLoop = {
    "counting loop", "(SETQ I 0 N 40000) (WHILE (< I N) (SETQ I (1+ I)))"};

inline constexpr BenchProgram kRecursiveCalls = {
    "recursive calls", "(DEFUN FIB (N) (IF (< N 2) N (+ (FIB (- N 1)) (FIB (- N 2))))) (FIB 19)"};

inline constexpr BenchProgram kCallsWithLocals = {
    "calls with locals",
    "(DEFUN MIDDLE (A B / S) (SETQ S (+ A B)) (/ S 2))"
    "(SETQ I 0) (WHILE (< I 12000) (MIDDLE I 7) (SETQ I (1+ I)))"};

inline constexpr BenchProgram kListBuilding = {
    "list building", "(SETQ L NIL I 0) (WHILE (< I 25000) (SETQ L (CONS I L) I (1+ I)))"};

inline constexpr BenchProgram kListWalking = {
    "list walking",
    "(SETQ L '(1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18 19 20) I 0)"
    "(WHILE (< I 700) (SETQ P L S 0)"
    "  (WHILE (< 0 (LENGTH P)) (SETQ S (+ S (CAR P)) P (CDR P))) (SETQ I (1+ I)))"};

inline constexpr BenchProgram kPointArithmetic = {
    "point arithmetic",
    "(SETQ P (LIST 0 0 0) I 0)"
    "(WHILE (< I 10000)"
    "  (SETQ P (LIST (+ (CAR P) 1.5) (+ (CAR (CDR P)) 2.5) (* I 0.5)) I (1+ I)))"};

inline constexpr BenchProgram kSelectionSet = {
    "selection set loop",
    "(SETQ S '($KVSEL \"E1\" \"E2\" \"E3\" \"E4\" \"E5\" \"E6\" \"E7\" \"E8\") J 0)"
    "(WHILE (< J 1500) (SETQ I 0)"
    "  (WHILE (< I (SSLENGTH S)) (SETQ E (SSNAME S I) I (1+ I))) (SETQ J (1+ J)))"};

inline constexpr BenchProgram kPrograms[] = {
    kCountingLoop, kRecursiveCalls,  kCallsWithLocals, kListBuilding,
    kListWalking,  kPointArithmetic, kSelectionSet,
};

}  // namespace lisp_worker::bench

#endif  // BENCH_PROGRAMS_H_
