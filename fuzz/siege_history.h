// Histories of requests for the siege (fuzz/siege.cc): what came before, and what calls it in.
//
// A history is a list of moves, and a move a request that is repeated with other names each time.
// The pieces of a request are makers, which leave something behind (names, lists, functions,
// pending runs), and collectors, which come upon it (EQUAL, calls, SSNAME, results, answers,
// drops). The names of what a piece makes follow from its number, so a collector finds what any
// maker made.

#ifndef FUZZ_SIEGE_HISTORY_H_
#define FUZZ_SIEGE_HISTORY_H_

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "lisp_worker/worker/frame.h"
#include "testing/base/random.h"

namespace lisp_worker::siege {

enum class PieceKind : std::uint8_t {
  // Makers.
  Names,      // `count` global names, or a list of them, or names that nothing holds.
  Lists,      // The lists A<n> and B<n>, equal, or B<n> as a function that quotes one.
  Growth,     // A loop of `count` passes that makes runs in G, J, K or the selection set S.
  Function,   // F<n> with `count` locals, which calls the next, or none, or defines another inside.
  Functions,  // `count` functions that call each other, with 17 or more locals each.
  Leaf,       // F<n>, which sets `count` globals or reads them in a loop.
  Wait,       // A host call, with a loop before it or not.
  // Collectors.
  Equal,    // `count` comparisons of A<n> with B<n>.
  Calls,    // `count` calls, of F<n> and the functions after it, or of F<n> again and again.
  Indexes,  // `count` elements of S at random.
  Result,   // G, or `count` of the lists A<n>, as the result.
  Drop,     // `count` of A<n>, B<n> and F<n>, and G, J, K, S.
  Touch,    // `count` names that are new.
  Small,    // A sum.
  // Requests of their own.
  Answer,  // To the pending run of that number: `count` elements.
  Cancel,
  Ping,
  Count
};

inline constexpr std::size_t kPieceKindCount = static_cast<std::size_t>(PieceKind::Count);

[[nodiscard]] const char* nameOf(PieceKind kind);

struct Piece {
  PieceKind kind = PieceKind::Small;
  std::uint32_t count = 1;
  std::uint32_t number = 0;   // Of the first thing made or used.
  std::uint32_t variant = 0;  // Any number.
};

// `repeats` requests; those after the first add one to all numbers each time.
struct Move {
  std::vector<Piece> pieces;  // Never empty. Answer, Cancel and Ping are alone.
  std::uint32_t repeats = 1;
};

using History = std::vector<Move>;

struct Request {
  worker::MessageType type = worker::MessageType::Ping;
  std::uint64_t run_id = 0;
  std::string payload;
};

// One request of a move; `repeat` is below its `repeats`. Legal in its size.
[[nodiscard]] Request requestOf(const Move& move, std::uint32_t repeat);

// Each maker in several variants, as large as it can be, and all collectors after it.
[[nodiscard]] std::vector<History> firstHistories();

[[nodiscard]] History randomHistory(testing_support::Random& random);
// `history` with one to three changes, some of them pieces of `other`.
[[nodiscard]] History mutated(const History& history, const History& other,
                              testing_support::Random& random);

// In one line for each move.
[[nodiscard]] std::string describe(const History& history);

}  // namespace lisp_worker::siege

#endif  // FUZZ_SIEGE_HISTORY_H_
