#include "inventory/record_table.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <functional>

#include "runtime/error.h"

namespace kx {

namespace {
size_t HashKey(std::string_view key) {
  return std::hash<std::string_view>{}(key);
}
// The hash widened to 64 bits, high bits first: the index takes its slot from the top bits
// and keeps the top half as a tag that skips most key comparisons.
uint64_t Wide(size_t hash) {
  if constexpr (sizeof(size_t) > 4) return static_cast<uint64_t>(hash);
  return static_cast<uint64_t>(hash) << 32;
}
uint64_t Tag(size_t hash) {
  return Wide(hash) & 0xFFFFFFFF00000000u;
}
}  // namespace

size_t RecordTable::Slot(size_t hash) const {
  return static_cast<size_t>(Wide(hash) >> shift_);
}

void RecordTable::Insert(uint32_t position_plus_one) {
  const size_t hash = entries_[position_plus_one - 1].hash;
  size_t slot = Slot(hash);
  while (index_[slot] != 0) slot = (slot + 1) & (index_.size() - 1);
  index_[slot] = Tag(hash) | position_plus_one;
}

void RecordTable::Rebuild(size_t capacity) {
  index_.assign(capacity, 0);
  shift_ = 64 - std::countr_zero(capacity);
  for (size_t i = 0; i < entries_.size(); ++i) Insert(static_cast<uint32_t>(i + 1));
}

void RecordTable::Grow() {
  if (index_.empty()) return Rebuild(16);
  // The tag holds the slot bits (the index never exceeds 2^32 entries), so the old index is
  // read in order and the new one written nearly in order, without touching the entries: a
  // large index outgrows the caches, and scattered writes would miss on every record.
  std::vector<uint64_t, LargePageAllocator<uint64_t>> old(index_.size() * 2, 0);
  old.swap(index_);
  shift_ -= 1;
  const size_t mask = index_.size() - 1;
  for (const uint64_t entry : old) {
    if (entry == 0) continue;
    size_t slot = static_cast<size_t>(entry >> shift_);
    while (index_[slot] != 0) slot = (slot + 1) & mask;
    index_[slot] = entry;
  }
}

size_t RecordTable::Probe(std::string_view key, size_t hash) const {
  const uint64_t tag = Tag(hash);
  size_t slot = Slot(hash);
  for (; index_[slot] != 0; slot = (slot + 1) & (index_.size() - 1)) {
    if ((index_[slot] & 0xFFFFFFFF00000000u) != tag) continue;
    const Entry& e = entries_[(index_[slot] & 0xFFFFFFFFu) - 1];
    if (e.hash == hash && e.Key() == key) break;
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
  const uint64_t found = index_[Probe(key, HashKey(key))];
  return found ? &entries_[(found & 0xFFFFFFFFu) - 1].record : nullptr;
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
  if (entries_.size() >= static_cast<size_t>(INT32_MAX) || key.size() > UINT32_MAX)
    Raise(kErrOutOfMemory);
  // Kept at most half full so that probes stay short.
  if ((entries_.size() + 1) * 2 > index_.size()) Grow();
  const size_t hash = HashKey(key);
  const size_t slot = Probe(key, hash);
  if (index_[slot] != 0)
    Raise(kErrDuplicateKey,
          std::string(StandardErrorText(kErrDuplicateKey)) + ": \"" + std::string(key) + "\"");
  entries_.push_back({std::move(record), StoreKey(key), hash, static_cast<uint32_t>(key.size())});
  index_[slot] = Tag(hash) | entries_.size();
}

const RecordTable::Record& RecordTable::Item(int32_t position) const {
  if (position < 1 || position > Count()) Raise(kErrSubscript);
  return entries_[static_cast<size_t>(position - 1)].record;
}

void RecordTable::Remove(int32_t position) {
  if (position < 1 || position > Count()) Raise(kErrSubscript);
  entries_.erase(entries_.begin() + (position - 1));
  Rebuild(index_.size());
}

void RecordTable::Clear() {
  entries_.clear();
  index_.clear();
  keys_.clear();
  key_free_ = nullptr;
  key_room_ = 0;
}

}  // namespace kx
