#include "inventory/record_table.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <functional>

#include "runtime/error.h"

namespace kx {

namespace {
// The top 32 bits of the key's hash: the index takes a slot from the highest of them and
// keeps the rest beside the position as a tag.
uint32_t HashKey(std::string_view key) {
  const size_t hash = std::hash<std::string_view>{}(key);
  if constexpr (sizeof(size_t) > 4) return static_cast<uint32_t>(static_cast<uint64_t>(hash) >> 32);
  return static_cast<uint32_t>(hash);
}
}  // namespace

size_t RecordTable::Slot(uint32_t hash) const {
  return hash >> (32 - position_bits_);
}

// Low bits: entry position + 1 (entries never reach half the slots); the bits above: the
// hash bits below those of the slot.
uint32_t RecordTable::Pack(uint32_t hash, size_t position_plus_one) const {
  return (hash << position_bits_) | static_cast<uint32_t>(position_plus_one);
}

bool RecordTable::SameTag(uint32_t slot_value, uint32_t hash) const {
  return ((slot_value ^ (hash << position_bits_)) >> position_bits_) == 0;
}

uint32_t RecordTable::PositionOf(uint32_t slot_value) const {
  return slot_value & ((uint32_t{1} << position_bits_) - 1);
}

void RecordTable::Rebuild(size_t capacity) {
  index_.assign(capacity, 0);
  position_bits_ = std::countr_zero(capacity);
  const size_t mask = capacity - 1;
  // In entry order: the hashes are read as a stream, and the index is small enough for the
  // scattered writes to stay in the cache.
  for (size_t i = 0; i < hashes_.size(); ++i) {
    size_t slot = Slot(hashes_[i]);
    while (index_[slot] != 0) slot = (slot + 1) & mask;
    index_[slot] = Pack(hashes_[i], i + 1);
  }
}

size_t RecordTable::Probe(std::string_view key, uint32_t hash) const {
  size_t slot = Slot(hash);
  for (; index_[slot] != 0; slot = (slot + 1) & (index_.size() - 1)) {
    if (!SameTag(index_[slot], hash)) continue;
    const size_t position = PositionOf(index_[slot]) - 1;
    if (hashes_[position] == hash && At(position).Key() == key) break;
  }
  return slot;
}

void RecordTable::Prefetch(std::string_view key) const {
#if defined(__GNUC__)
  if (!index_.empty()) __builtin_prefetch(&index_[Slot(HashKey(key))], 1);
#else
  (void)key;
#endif
}

const RecordTable::Record* RecordTable::Find(std::string_view key) const {
  if (index_.empty()) return nullptr;
  const uint32_t found = index_[Probe(key, HashKey(key))];
  return found ? &At(PositionOf(found) - 1).record : nullptr;
}

const char* RecordTable::StoreKey(std::string_view key) {
  // Small enough to stay in the cache while a walk fills it, large enough to be rare.
  constexpr size_t kChunk = size_t{64} << 10;
  if (key.size() > key_room_) {
    const size_t size = std::max(kChunk, key.size());
    keys_.push_back(std::make_unique_for_overwrite<char[]>(size));
    key_free_ = keys_.back().get();
    key_room_ = size;
  }
  char* stored = key_free_;
  if (!key.empty()) std::memcpy(stored, key.data(), key.size());
  key_free_ += key.size();
  key_room_ -= key.size();
  return stored;
}

void RecordTable::Add(Record record, std::string_view key) {
  if (hashes_.size() >= kMaxRecords || key.size() > UINT32_MAX) Raise(kErrOutOfMemory);
  // Kept at most half full so that probes stay short.
  if ((hashes_.size() + 1) * 2 > index_.size()) Rebuild(index_.empty() ? 16 : index_.size() * 2);
  const uint32_t hash = HashKey(key);
  const size_t slot = Probe(key, hash);
  if (index_[slot] != 0)
    Raise(kErrDuplicateKey,
          std::string(StandardErrorText(kErrDuplicateKey)) + ": \"" + std::string(key) + "\"");
  if (blocks_.empty() || blocks_.back().size() == kBlockEntries) {
    blocks_.emplace_back();
    // The first block grows as the table does, so a small table stays small; later ones
    // are taken whole.
    if (blocks_.size() > 1) blocks_.back().reserve(kBlockEntries);
  }
  blocks_.back().push_back({std::move(record), StoreKey(key), static_cast<uint32_t>(key.size())});
  hashes_.push_back(hash);
  index_[slot] = Pack(hash, hashes_.size());
}

const RecordTable::Record& RecordTable::Item(int32_t position) const {
  if (position < 1 || position > Count()) Raise(kErrSubscript);
  return At(static_cast<size_t>(position - 1)).record;
}

void RecordTable::Remove(int32_t position) {
  if (position < 1 || position > Count()) Raise(kErrSubscript);
  for (size_t i = static_cast<size_t>(position); i < hashes_.size(); ++i)
    At(i - 1) = std::move(At(i));
  blocks_.back().pop_back();
  if (blocks_.back().empty()) blocks_.pop_back();
  hashes_.erase(hashes_.begin() + (position - 1));
  Rebuild(index_.size());
}

void RecordTable::Clear() {
  blocks_.clear();
  hashes_.clear();
  index_.clear();
  position_bits_ = 0;
  keys_.clear();
  key_free_ = nullptr;
  key_room_ = 0;
}

}  // namespace kx
