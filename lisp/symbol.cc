// The tables of names and texts. In front of each is a small cache of short ones, by their bytes
// in one word, which finds most names that the reader sees without hashing them.

#include "lisp/symbol.h"

#include <array>
#include <cassert>
#include <cstring>
#include <new>
#include <vector>

#include "lisp/growing_table.h"
#include "lisp/keyed_hash.h"
#include "lisp/list.h"
#include "lisp/storage.h"
#include "lisp/work.h"

namespace lisp {

// The records of one kind by their bytes. It refers to them without holding them: a record leaves
// as it is retired.
template <typename Record>
class InternTable {
 public:
  Record* intern(std::string_view bytes) {
    const std::uint64_t word = packedWord(bytes);
    if (word == 0) return find(bytes);
    auto& place = RecentRecords<Record>::placeOf(word);
    if (place.word != word) {
      place = {word, find(bytes)};
    } else {
      ++place.record->references;
    }
    return place.record;
  }

  // For a text that is not among the recent ones.
  Record* internShort(std::uint64_t word) {
    std::array<char, PackedText::kSizeMax> bytes;
    const std::size_t size = (word >> (8 * PackedText::kSizeMax)) - 1;
    for (std::size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>(word >> (8 * i));
    auto& place = RecentRecords<Record>::placeOf(word);
    place = {word, find({bytes.data(), size})};
    return place.record;
  }

  void retire(Record* record) {
    assert(record->references == 0);
    auto& place = RecentRecords<Record>::placeOf(packedWord(record->bytes()));
    if (place.record == record) place = {};
    records_.remove(record);
    const std::size_t block_size = sizeof(Record) + record->length;
    record->~Record();
    storage::deallocate(record, block_size);
  }

  [[nodiscard]] std::size_t size() const { return records_.size(); }

 private:
  Record* find(std::string_view bytes) {
    const std::uint64_t hash = keyedHash(bytes, point_);
    countWork(bytes.size());
    for (Record* record = records_.firstOf(hash); record != nullptr; record = record->next) {
      countWork();
      if (record->hash == hash && record->bytes() == bytes) {
        ++record->references;
        return record;
      }
    }
    auto* const record = new (storage::allocate(sizeof(Record) + bytes.size())) Record;
    record->length = static_cast<std::uint32_t>(bytes.size());
    record->hash = hash;
    if (!bytes.empty()) std::memcpy(static_cast<void*>(record + 1), bytes.data(), bytes.size());
    records_.insert(record);
    noteRecordMade();
    return record;
  }

  const std::uint64_t point_ = drawHashPoint();
  GrowingTable<Record> records_;
};

namespace {

// The tables are never destroyed: values of other static objects may outlive any order of ends.
InternTable<Symbol>& symbolTable() {
  static auto& table = *new InternTable<Symbol>;
  return table;
}

InternTable<Text>& textTable() {
  static auto& table = *new InternTable<Text>;
  return table;
}

// Has both secrets drawn before main(): once it serves, a worker cannot ask the system for any
// more.
[[maybe_unused]] const auto& symbol_table_at_start = symbolTable();
[[maybe_unused]] const auto& text_table_at_start = textTable();

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

Symbol* internRareSymbol(std::uint64_t word) { return symbolTable().internShort(word); }

Text* internRareText(std::uint64_t word) { return textTable().internShort(word); }

// The place in environments can be given to another name: no version has the old one any more, or
// it would hold the record.
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
