#include "lisp/list_hash.h"

#include <bit>

#include "lisp/keyed_hash.h"
#include "lisp/symbol.h"

namespace lisp {
namespace {

__extension__ using Wide = unsigned __int128;

// The secret of this process: the hash of the empty list, an odd factor, and the word of nil.
struct HashKey {
  std::uint64_t seed = drawHashPoint();
  std::uint64_t factor = drawHashPoint() << 3 | 1;
  std::uint64_t nil_word = drawHashPoint() << 3;
};

const HashKey& hashKey() {
  static const HashKey key;
  return key;
}

// Values that are equal have equal words. Only the words of numbers can be known outside: those of
// all other kinds are secret, so nobody can choose a number that has the word of something else.
std::uint64_t wordOf(const LispValue& element) {
  const RawValue& raw = element.raw();
  switch (raw.tag) {
    case Tag::Number:
      return std::bit_cast<std::uint64_t>(raw.number + 0.0);  // -0.0 equals 0.0.
    case Tag::String:
      return ~textOf(raw).hash;
    case Tag::Symbol:
      return symbolOf(raw).hash;
    case Tag::List:
      return std::rotl(listHash(raw), 1) + raw.length;
    default:
      return hashKey().nil_word;
  }
}

}  // namespace

std::uint64_t emptyListHash() { return hashKey().seed; }

std::uint64_t extendHash(std::uint64_t rest_hash, const LispValue& element) {
  const HashKey& key = hashKey();
  const Wide product = static_cast<Wide>(rest_hash ^ wordOf(element)) * key.factor + key.seed;
  return (static_cast<std::uint64_t>(product) ^ static_cast<std::uint64_t>(product >> 64)) | 1;
}

}  // namespace lisp
