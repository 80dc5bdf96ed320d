#include "lisp/symbol.h"

#include <array>
#include <cstring>
#include <new>
#include <vector>

#include "lisp/keyed_hash.h"
#include "lisp/storage.h"
#include "lisp/work.h"

namespace lisp {
namespace {

// The bytes of a short text in one word; which of them are there, its length must tell.
std::uint64_t packedBytes(std::string_view bytes) {
  const auto load = [&](std::size_t position, auto word) -> std::uint64_t {
    std::memcpy(&word, bytes.data() + position, sizeof(word));
    return word;
  };
  const std::size_t size = bytes.size();
  if (size >= 4) return load(0, std::uint32_t{}) << 32 | load(size - 4, std::uint32_t{});
  if (size >= 2) return load(0, std::uint16_t{}) << 16 | load(size - 2, std::uint16_t{});
  return size == 0 ? 0 : load(0, std::uint8_t{});
}

// A hash table of records, chained, with a power of two of buckets and at most one record a bucket
// on average. It refers to its records without holding them: a record leaves as it is retired.
//
// In front of it stand the records of short texts asked for last, each in the one place that its
// bytes give it. Who makes texts that share a place loses only the short cut.
template <typename Record>
class InternTable {
 public:
  InternTable() : buckets_(kBucketsMin) {}

  Record* intern(std::string_view bytes) {
    if (bytes.size() > kShortMax) return internAnywhere(bytes);
    Recent& recent = recentOf(bytes);
    if (recent.record == nullptr || recent.record->length != bytes.size() ||
        recent.packed != packedBytes(bytes)) {
      recent = {packedBytes(bytes), internAnywhere(bytes)};
    } else {
      ++recent.record->references;
    }
    return recent.record;
  }

  void retire(Record* record) {
    if (record->length <= kShortMax) {
      Recent& recent = recentOf(record->bytes());
      if (recent.record == record) recent.record = nullptr;
    }
    Record** link = &buckets_[indexOf(record->hash)];
    while (*link != record) link = &(*link)->next;
    *link = record->next;
    --size_;
    const std::size_t block_size = sizeof(Record) + record->length;
    record->~Record();
    storage::deallocate(record, block_size);
  }

  [[nodiscard]] std::size_t size() const { return size_; }

 private:
  struct Recent {
    std::uint64_t packed = 0;
    Record* record = nullptr;
  };

  static constexpr std::size_t kBucketsMin = 256;
  static constexpr std::size_t kShortMax = sizeof(std::uint64_t);
  static constexpr int kRecentBits = 8;

  // Multiplicative hashing by the golden ratio (Knuth, "Sorting and Searching", 6.4).
  Recent& recentOf(std::string_view bytes) {
    return recent_[(packedBytes(bytes) + bytes.size()) * 0x9e3779b97f4a7c15 >> (64 - kRecentBits)];
  }

  Record* internAnywhere(std::string_view bytes) {
    const std::uint64_t hash = keyedHash(bytes, point_);
    countWork(bytes.size());
    for (Record* record = buckets_[indexOf(hash)]; record != nullptr; record = record->next) {
      countWork();
      if (record->hash == hash && record->bytes() == bytes) {
        ++record->references;
        return record;
      }
    }
    if (size_ == buckets_.size()) grow();
    auto* const record = new (storage::allocate(sizeof(Record) + bytes.size())) Record;
    record->length = static_cast<std::uint32_t>(bytes.size());
    record->hash = hash;
    if (!bytes.empty()) std::memcpy(static_cast<void*>(record + 1), bytes.data(), bytes.size());
    insert(record);
    ++size_;
    return record;
  }

  [[nodiscard]] std::size_t indexOf(std::uint64_t hash) const {
    return hash & (buckets_.size() - 1);
  }

  void insert(Record* record) {
    Record*& head = buckets_[indexOf(record->hash)];
    record->next = head;
    head = record;
  }

  void grow() {
    std::vector<Record*> old(buckets_.size() * 2);
    countWork(old.size());
    old.swap(buckets_);
    for (Record* record : old) {
      while (record != nullptr) {
        Record* const next = record->next;
        insert(record);
        record = next;
      }
    }
  }

  const std::uint64_t point_ = drawHashPoint();
  std::vector<Record*> buckets_;
  std::size_t size_ = 0;
  std::array<Recent, 1 << kRecentBits> recent_;
};

// The tables are never destroyed: values of other static objects may outlive any order of ends.
InternTable<Symbol>& symbolTable() {
  static auto& table = *new InternTable<Symbol>;
  return table;
}

InternTable<Text>& textTable() {
  static auto& table = *new InternTable<Text>;
  return table;
}

// Places in environments: those given back, and the first never used.
std::vector<std::uint32_t>& freeEnvironmentIndexes() {
  static auto& indexes = *new std::vector<std::uint32_t>;
  return indexes;
}
std::uint32_t next_environment_index = 0;

Symbol* makeTruthSymbol() {
  Symbol* const symbol = internSymbol("T");
  symbol->owner = kTruthOwner;
  symbol->value = RawValue::of(Tag::Symbol, symbol);
  ++symbol->references;
  return symbol;
}

}  // namespace

Symbol* const kTruthSymbol = makeTruthSymbol();
Symbol* const kSelectionSetSymbol = internSymbol("$KVSEL");
Symbol* const kSlashSymbol = internSymbol("/");

Symbol* internSymbol(std::string_view name) { return symbolTable().intern(name); }

Text* internText(std::string_view text) { return textTable().intern(text); }

void retireSymbol(Symbol* symbol) {
  if (symbol->environment_index != kNoEnvironmentIndex) {
    freeEnvironmentIndexes().push_back(symbol->environment_index);
  }
  symbolTable().retire(symbol);
}

void retireText(Text* text) { textTable().retire(text); }

void assignEnvironmentIndex(Symbol& symbol) {
  if (symbol.environment_index != kNoEnvironmentIndex) return;
  std::vector<std::uint32_t>& free_indexes = freeEnvironmentIndexes();
  if (free_indexes.empty()) {
    symbol.environment_index = next_environment_index++;
  } else {
    symbol.environment_index = free_indexes.back();
    free_indexes.pop_back();
  }
}

std::size_t symbolCount() { return symbolTable().size(); }

std::size_t textCount() { return textTable().size(); }

}  // namespace lisp
