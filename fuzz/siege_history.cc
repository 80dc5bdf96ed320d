// The texts of the pieces, and the choices of the search.

#include "fuzz/siege_history.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

#include "testing/generators/greedy_programs.h"

namespace lisp_worker::siege {
namespace {

using testing_support::loop;
using testing_support::Random;
using testing_support::repeated;
using testing_support::shortName;
using worker::MessageType;

constexpr std::size_t kTextMax = worker::kPayloadSizeMax;
constexpr std::uint32_t kCountMax = 300000;
constexpr std::uint32_t kRepeatsMax = 150;          // Of programs that may be large.
constexpr std::uint32_t kSmallRepeatsMax = 400000;  // Of pings and host calls.
constexpr std::size_t kMovesMax = 8;
constexpr std::size_t kPiecesMax = 3;
constexpr std::size_t kRoomMin = 12000;  // Of each piece.

std::string numbered(char letter, std::size_t number) {
  return letter + std::to_string(number) + ".";
}

// Names `first` to `first + count`, or as many as fit into `room`, with `between` before each.
// Every other name has its order scattered, so that what lies side by side in memory was not made
// so.
std::string names(std::size_t first, std::size_t count, std::string_view after, bool is_scattered,
                  std::size_t room) {
  std::string text;
  constexpr std::size_t kScatter = 7919;
  for (std::size_t i = 0; i < count; ++i) {
    const std::size_t place = is_scattered ? i * kScatter % count : i;
    const std::string name = shortName(first + place);
    if (text.size() + name.size() + after.size() + 1 > room) break;
    text += ' ';
    text += name;
    text += after;
  }
  return text;
}

std::string elements(const Piece& piece, std::size_t room) {
  static constexpr std::array<std::string_view, 6> kElements = {
      "1 ", "(1)", "(1 2)", "((1)2)", "\"ab\"", "(1 2 3 4 5 6 7 8 9 10 11 12)"};
  const std::string_view element = kElements[piece.variant / 4 % kElements.size()];
  return repeated(element, std::min<std::size_t>(piece.count, room / element.size()));
}

std::string listsText(const Piece& piece, std::size_t number, std::size_t room) {
  const std::string list = "'(" + elements(piece, room / 2 - 40) + ")";
  const std::string a = "(SETQ " + numbered('A', number) + " " + list;
  if (piece.variant % 2 == 0) return a + " " + numbered('B', number) + " " + list + ")1";
  return a + ")(DEFUN " + numbered('B', number) + " () " + list + ")1";
}

// `is_first` for the first request of its move, which makes what the others add to.
std::string growthText(const Piece& piece, bool is_first, std::size_t room) {
  constexpr std::size_t kPassesMax = 17000;  // Of what the step limit allows.
  const std::size_t passes = std::min<std::size_t>(piece.count, kPassesMax);
  const std::string kept = is_first ? "(SETQ K '())" : "";
  switch (piece.variant % 7) {
    case 0:
      return "(SETQ G '())" + loop(passes, "(SETQ G (CONS I G))") + "1";
    case 1:
      return "(SETQ G 1)" + loop(passes, "(SETQ G (LIST G G))") + "1";
    case 2:
      return kept + "(SETQ J '())" + loop(passes, "(SETQ J (CONS (LIST I) J))") +
             "(SETQ K (LIST J K))1";
    case 3:
      return "(SETQ K '() X '(1 2 3 4 5 6 7 8))" +
             loop(130, "(SETQ K (CONS (LIST " +
                           repeated("(CONS()X)", std::min<std::size_t>(600, room / 10)) + ") K))") +
             "1";
    case 4:
      return "(SETQ G 1)" + loop(passes, "(SETQ G (LIST I G))") + "1";
    case 5:
      return kept + "(SETQ J 1)" + loop(passes, "(SETQ J (LIST J I))") + "(SETQ K (LIST J K))1";
    default:
      return (is_first ? "(SETQ S '($KVSEL 0))" : "") +
             loop(std::min<std::size_t>(passes, 12000),
                  "(CONS 0 (CDR S))(SETQ S (CONS '$KVSEL (CONS I (CDR S))))") +
             "1";
  }
}

std::string functionText(const Piece& piece, std::size_t number, std::size_t room) {
  const std::string locals = names(0, piece.count, "", false, room - 200);
  const std::string begin = "(DEFUN " + numbered('F', number);
  switch (piece.variant % 4) {
    case 0:
      return begin + " (/" + locals + ") A)1";
    case 1:
      return begin + " () (IF T (DEFUN F. (.A /" + locals + ") (LIST .A A))))1";
    default:
      return begin + " (/" + locals + ") (" + numbered('F', number + 1) + "))1";
  }
}

// Reads variables that no function here has, from below all of them.
std::string readingLoop(std::uint32_t variant) {
  const std::size_t reads = std::size_t{50} * (variant % 3);
  return "(WHILE (< .N 30000) (SETQ .N (+ .N .G" + repeated(" .Z", reads) + ")))";
}

std::string functionsText(const Piece& piece, std::size_t number, std::size_t room) {
  const std::size_t count = std::min<std::size_t>(piece.count, 118);
  const std::size_t locals =
      std::min<std::size_t>(17 + piece.variant % 64, (room - 200) / (7 * count));
  std::string text;
  for (std::size_t i = 0; i < count; ++i) {
    text += "(DEFUN " + numbered('F', number + i) + " (/" +
            names(i * locals, locals, "", false, room) + ") (" + numbered('F', number + i + 1) +
            "))";
  }
  return text + "(SETQ .N 0 .G 1 .Z 0)(DEFUN " + numbered('F', number + count) + " () " +
         readingLoop(piece.variant) + ")1";
}

std::string leafText(const Piece& piece, std::size_t number, std::size_t room) {
  const std::string begin = "(DEFUN " + numbered('F', number) + " () ";
  if (piece.variant % 2 == 0) {
    return begin + "(SETQ" +
           names(150000 + piece.variant % 1000, piece.count, " 1", false, room - 200) + "))1";
  }
  return "(SETQ .G 1 .Z 0)" + begin + "(SETQ .N 0) " + readingLoop(piece.variant) + ")1";
}

std::string waitText(const Piece& piece) {
  if (piece.variant % 2 == 0) return "(LENGTH (GETPOINT))";
  return "(SETQ J 1)" + loop(std::min<std::size_t>(piece.count, 17000), "(SETQ J (LIST I J))") +
         "(LENGTH (GETPOINT))";
}

template <typename TextOf>
std::string each(std::size_t count, std::size_t room, TextOf text_of) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) {
    const std::string piece = text_of(i);
    if (text.size() + piece.size() > room) break;
    text += piece;
  }
  return text;
}

std::string dropText(const Piece& piece, std::size_t number, std::size_t room) {
  const std::string text = each(piece.count, room - 100, [&](std::size_t i) {
    return piece.variant % 3 == 0
               ? "(DEFUN " + numbered('F', number + i) + " () 1)"
               : "(SETQ " + numbered('A', number + i) + " nil " + numbered('B', number + i) +
                     " nil " + numbered('L', number + i) + " nil)";
  });
  return text + "(SETQ G nil J nil K nil)" + (piece.variant % 5 == 0 ? "(SETQ S nil)1" : "1");
}

// Not longer than `room`, which is a few hundred bytes at least.
std::string textOf(const Piece& piece, std::uint32_t repeat, std::size_t room) {
  const std::size_t number = piece.number + repeat;
  const bool is_scattered = piece.variant % 8 >= 4;
  switch (piece.kind) {
    case PieceKind::Names: {
      const std::size_t first = number * piece.count;
      const std::string_view after = piece.variant % 4 == 0 ? " 1" : "";
      const std::string text = names(first, piece.count, after, is_scattered, room - 50);
      if (piece.variant % 4 == 0) return "(SETQ" + text + ")";
      if (piece.variant % 4 == 1) return "'(" + text + ")1";
      return "(SETQ " + numbered('L', number) + " '(" + text + "))1";
    }
    case PieceKind::Lists:
      return listsText(piece, number, room);
    case PieceKind::Growth:
      return growthText(piece, repeat == 0, room - 200);
    case PieceKind::Function:
      return functionText(piece, number, room);
    case PieceKind::Functions:
      return functionsText(piece, number, room);
    case PieceKind::Leaf:
      return leafText(piece, number, room);
    case PieceKind::Wait:
      return waitText(piece);
    case PieceKind::Equal:
      return each(piece.count, room, [&](std::size_t i) {
        const std::string a = numbered('A', number + i);
        const std::string b = numbered('B', number + i);
        return piece.variant % 2 == 0 ? "(EQUAL " + a + " " + b + ")"
                                      : "(EQUAL " + a + " (" + b + "))";
      });
    case PieceKind::Calls:
      if (piece.variant % 3 == 0) {
        return loop(std::min<std::size_t>(piece.count, 20000), "(" + numbered('F', number) + ")");
      }
      return each(piece.count, room,
                  [&](std::size_t i) { return "(" + numbered('F', number + i) + ")"; });
    case PieceKind::Indexes:
      return each(std::min<std::size_t>(piece.count, 60000), room - 2,
                  [&](std::size_t i) {
                    return "(SSNAME S " +
                           std::to_string(i * 7919 * 31 % (1000 + piece.variant % 700000)) + ")";
                  }) +
             " 1";
    case PieceKind::Result:
      if (piece.variant % 2 == 0) return "G";
      return "(LIST" +
             each(piece.count, room - 10,
                  [&](std::size_t i) { return " " + numbered('A', number + i); }) +
             ")";
    case PieceKind::Drop:
      return dropText(piece, number, room);
    case PieceKind::Touch:
      return "(SETQ" +
             each(std::min<std::size_t>(piece.count, 20), room - 10,
                  [&](std::size_t i) { return " " + numbered('T', number * 20 + i) + " 1"; }) +
             ")";
    default:
      return "(+ 1 2)";
  }
}

std::string answerText(const Piece& piece, std::uint32_t repeat) {
  const std::size_t room = kTextMax - 100;
  if (piece.variant % 2 == 0) return "(" + names(repeat, piece.count, "", false, room) + ")";
  return "(" + elements(piece, room) + ")";
}

// --- Choices ------------------------------------------------------------------------------------

bool isAlone(PieceKind kind) {
  return kind == PieceKind::Answer || kind == PieceKind::Cancel || kind == PieceKind::Ping;
}

// Between 1 and `max`, every order of size alike, and often the largest.
std::uint32_t size(Random& random, std::uint32_t max) {
  if (random.chance(1, 3)) return max;
  const double share = static_cast<double>(random.below(1001)) / 1000;
  return std::max(1U, static_cast<std::uint32_t>(std::pow(static_cast<double>(max), share)));
}

Piece randomPiece(Random& random, PieceKind kind) {
  const std::uint32_t number =
      random.chance(2, 3) ? 0 : static_cast<std::uint32_t>(random.below(200));
  const bool is_collector = kind >= PieceKind::Equal;
  return {.kind = kind,
          .count = size(random, is_collector && random.chance(1, 2) ? 200 : kCountMax),
          .number = number,
          .variant = static_cast<std::uint32_t>(random.below(1000000))};
}

std::uint32_t repeatsMax(const Move& move) {
  const Piece& piece = move.pieces.front();
  const bool is_small = piece.kind == PieceKind::Ping || piece.kind == PieceKind::Small ||
                        (piece.kind == PieceKind::Wait && piece.variant % 2 == 0);
  return is_small && move.pieces.size() == 1 ? kSmallRepeatsMax : kRepeatsMax;
}

PieceKind randomKind(Random& random, PieceKind first, PieceKind last) {
  const auto low = static_cast<int>(first);
  return static_cast<PieceKind>(random.between(low, static_cast<int>(last)));
}

Move randomMove(Random& random, PieceKind first, PieceKind last) {
  Move move{{randomPiece(random, randomKind(random, first, last))}, 1};
  while (!isAlone(move.pieces.back().kind) && move.pieces.size() < kPiecesMax &&
         random.chance(1, 5)) {
    move.pieces.push_back(
        randomPiece(random, randomKind(random, PieceKind::Names, PieceKind::Small)));
  }
  if (random.chance(1, 2)) move.repeats = size(random, repeatsMax(move));
  return move;
}

Move anyMove(Random& random) { return randomMove(random, PieceKind::Names, PieceKind::Ping); }

void mutate(History& history, const History& other, Random& random) {
  Move& move = history[random.below(history.size())];
  Piece& piece = move.pieces[random.below(move.pieces.size())];
  const auto place = [&] {
    return history.begin() + static_cast<std::ptrdiff_t>(random.below(history.size() + 1));
  };
  switch (random.below(9)) {
    case 0:
      piece.count = size(random, kCountMax);
      return;
    case 1:
      piece.count =
          random.chance(1, 2) ? std::min(kCountMax, piece.count * 2) : piece.count / 2 + 1;
      return;
    case 2:
      piece.variant = static_cast<std::uint32_t>(random.below(1000000));
      return;
    case 3:
      piece.number = static_cast<std::uint32_t>(random.below(200));
      return;
    case 4:
      move.repeats = size(random, repeatsMax(move));
      return;
    case 5:
      history.insert(place(), anyMove(random));
      return;
    case 6:
      if (history.size() > 1) {
        history.erase(history.begin() + static_cast<std::ptrdiff_t>(random.below(history.size())));
      }
      return;
    case 7:
      history.insert(place(), other[random.below(other.size())]);
      return;
    default:
      if (!isAlone(piece.kind) && move.pieces.size() < kPiecesMax) {
        move.pieces.push_back(
            randomPiece(random, randomKind(random, PieceKind::Names, PieceKind::Small)));
      }
  }
}

}  // namespace

const char* nameOf(PieceKind kind) {
  static constexpr std::array<const char*, kPieceKindCount> kNames = {
      "names",  "lists",  "growth", "function", "functions", "leaf",   "wait",   "EQUAL", "calls",
      "SSNAME", "result", "drop",   "touch",    "sum",       "answer", "cancel", "ping"};
  return kNames[static_cast<std::size_t>(kind)];
}

Request requestOf(const Move& move, std::uint32_t repeat) {
  const Piece& first = move.pieces.front();
  switch (first.kind) {
    case PieceKind::Ping:
      return {};
    case PieceKind::Cancel:
      return {MessageType::EvalCancel, first.number + repeat + 1, ""};
    case PieceKind::Answer:
      return {MessageType::EvalResume, first.number + repeat + 1, answerText(first, repeat)};
    default:
      break;
  }
  Request request{MessageType::EvalStart, 0, ""};
  for (std::size_t i = 0; i < move.pieces.size(); ++i) {
    const std::size_t later = (move.pieces.size() - i - 1) * kRoomMin;
    const std::size_t room = kTextMax - later - request.payload.size();
    request.payload += textOf(move.pieces[i], repeat, room);
  }
  return request;
}

std::vector<History> firstHistories() {
  constexpr std::uint32_t kCalls = 125;
  constexpr std::uint32_t kChain = 15;  // Large functions that call each other.
  const auto move = [](PieceKind kind, std::uint32_t count, std::uint32_t variant,
                       std::uint32_t repeats = 1) {
    return Move{{{.kind = kind, .count = count, .number = 0, .variant = variant}}, repeats};
  };
  std::vector<History> histories;
  for (auto kind = PieceKind::Names; kind <= PieceKind::Wait;
       kind = static_cast<PieceKind>(static_cast<int>(kind) + 1)) {
    for (std::uint32_t variant = 0; variant < 7; ++variant) {
      Move maker = move(kind, kCountMax, variant);
      maker.repeats = kind == PieceKind::Function ? kChain : repeatsMax(maker);
      // Functions that call each other need an end of the chain.
      History history = {maker, move(PieceKind::Leaf, kCountMax / 2, variant, 1)};
      history.back().pieces.front().number = maker.repeats;
      if (kind != PieceKind::Function) history.pop_back();
      history.push_back(move(PieceKind::Touch, 1, 0, 20));
      history.push_back(move(PieceKind::Equal, kCalls, variant, 2));
      history.push_back(move(PieceKind::Calls, variant == 0 ? 1 : kCalls, variant, 2));
      if (kind == PieceKind::Growth) history.push_back(move(PieceKind::Indexes, kCountMax, 700000));
      history.push_back(move(PieceKind::Result, kCalls, variant));
      if (kind == PieceKind::Wait)
        history.push_back(move(PieceKind::Answer, kCountMax, variant, 3));
      history.push_back(move(PieceKind::Drop, kCalls, 1));
      history.push_back(move(PieceKind::Small, 1, 0, 300));
      histories.push_back(history);
    }
  }
  // Names that are held by lists of another order than they were made in, and dropped.
  for (const std::uint32_t count : {kCountMax, kCountMax / 4}) {
    histories.push_back({move(PieceKind::Names, count, 2, 10), move(PieceKind::Names, count, 6, 10),
                         move(PieceKind::Drop, kCalls, 1), move(PieceKind::Small, 1, 0, 300)});
  }
  // Functions and the call of them in one request.
  for (std::uint32_t variant = 0; variant < 3; ++variant) {
    Move maker = move(PieceKind::Functions, kCalls, variant);
    maker.pieces.push_back(move(PieceKind::Calls, 1, 0).pieces.front());
    histories.push_back({maker});
  }
  // Two makers in one request, and an answer on top.
  for (std::uint32_t variant = 0; variant < 7; ++variant) {
    Move maker = move(PieceKind::Names, kCountMax, 1);
    maker.pieces.push_back(move(PieceKind::Growth, kCountMax, variant).pieces.front());
    maker.pieces.push_back(move(PieceKind::Wait, 1, 0).pieces.front());
    histories.push_back({maker, move(PieceKind::Answer, kCountMax, variant)});
  }
  return histories;
}

History randomHistory(Random& random) {
  History history;
  for (std::size_t makers = 1 + random.below(3); makers > 0; --makers) {
    history.push_back(randomMove(random, PieceKind::Names, PieceKind::Wait));
  }
  for (std::size_t collectors = random.below(3); collectors > 0; --collectors) {
    history.push_back(randomMove(random, PieceKind::Equal, PieceKind::Ping));
  }
  return history;
}

History mutated(const History& history, const History& other, Random& random) {
  History result = history;
  for (std::size_t changes = 1 + random.below(3); changes > 0; --changes) {
    mutate(result, other, random);
  }
  while (result.size() > kMovesMax) result.erase(result.begin());
  for (Move& move : result) move.repeats = std::min(move.repeats, repeatsMax(move));
  return result;
}

std::string describe(const History& history) {
  std::string text;
  for (const Move& move : history) {
    text += "    " + std::to_string(move.repeats) + " times:";
    for (const Piece& piece : move.pieces) {
      text += std::string(" ") + nameOf(piece.kind) + "(count " + std::to_string(piece.count) +
              ", number " + std::to_string(piece.number) + ", variant " +
              std::to_string(piece.variant) + ")";
    }
    text += "\n";
  }
  return text;
}

}  // namespace lisp_worker::siege
