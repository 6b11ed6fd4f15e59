#include "inventory/record_table.h"

#include <functional>

#include "runtime/error.h"

namespace kx {

namespace {
size_t HashKey(std::string_view key) {
  return std::hash<std::string_view>{}(key);
}
uint64_t Tag(size_t hash) {
  return static_cast<uint64_t>(hash >> 32) << 32;
}
}  // namespace

void RecordTable::Insert(uint32_t position_plus_one) {
  const size_t hash = entries_[position_plus_one - 1].hash;
  size_t slot = Slot(hash);
  while (index_[slot] != 0) slot = (slot + 1) & (index_.size() - 1);
  index_[slot] = Tag(hash) | position_plus_one;
}

void RecordTable::Rebuild(size_t capacity) {
  index_.assign(capacity, 0);
  for (size_t i = 0; i < entries_.size(); ++i) Insert(static_cast<uint32_t>(i + 1));
}

const RecordTable::Record* RecordTable::Find(std::string_view key) const {
  if (index_.empty()) return nullptr;
  const size_t hash = HashKey(key);
  const uint64_t tag = Tag(hash);
  for (size_t slot = Slot(hash); index_[slot] != 0; slot = (slot + 1) & (index_.size() - 1)) {
    if ((index_[slot] & 0xFFFFFFFF00000000u) != tag) continue;
    const Entry& e = entries_[(index_[slot] & 0xFFFFFFFFu) - 1];
    if (e.hash == hash && e.key == key) return &e.record;
  }
  return nullptr;
}

void RecordTable::Add(Record record, std::string key) {
  if (Find(key))
    Raise(kErrDuplicateKey, std::string(StandardErrorText(kErrDuplicateKey)) + ": \"" + key + "\"");
  if (entries_.size() >= static_cast<size_t>(INT32_MAX)) Raise(kErrOutOfMemory);
  const size_t hash = HashKey(key);
  entries_.push_back({std::move(record), std::move(key), hash});
  // Kept at most half full so that probes stay short.
  if (entries_.size() * 2 > index_.size())
    Rebuild(index_.empty() ? 16 : index_.size() * 2);
  else
    Insert(static_cast<uint32_t>(entries_.size()));
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
}

}  // namespace kx
