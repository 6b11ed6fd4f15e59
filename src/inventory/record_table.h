#pragma once
// The records of an ExpressionList: insertion order, 1-based positions, unique keys compared
// exactly. Keys sit in one flat open-addressed index, so adding the many records of a large
// conversion stays cheap and linear; removing a record rebuilds the index (rare). The keys'
// own copies are packed into large shared chunks rather than one heap string each: a walk
// adds hundreds of thousands of them, and each allocation and scattered line costs.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "inventory/expression_info.h"
#include "inventory/large_pages.h"

namespace kx {

class RecordTable {
 public:
  using Record = std::shared_ptr<ExpressionInfo>;

  int32_t Count() const { return static_cast<int32_t>(hashes_.size()); }
  bool Empty() const { return hashes_.empty(); }

  // Appends under `key`; a key already present raises 457, naming the key in the
  // description after the standard text.
  void Add(Record record, std::string_view key);
  // The record at a 1-based position; others raise 9.
  const Record& Item(int32_t position) const;
  // Starts loading the index slot of `key`. A large table's index does not stay in the
  // caches while a walk streams records through them, and each add would wait on memory.
  void Prefetch(std::string_view key) const;
  // The record under `key`, or null.
  const Record* Find(std::string_view key) const;
  // Removes the record at a 1-based position; others raise 9.
  void Remove(int32_t position);
  void Clear();

 private:
  struct Entry {
    Record record;
    const char* key;  // in keys_
    uint32_t key_size;
    std::string_view Key() const { return {key, key_size}; }
  };

  // Two slots per record at most, and a bit of hash beside the position in each slot.
  static constexpr size_t kMaxRecords = size_t{1} << 30;

  size_t Slot(uint32_t hash) const;
  uint32_t Pack(uint32_t hash, size_t position_plus_one) const;
  bool SameTag(uint32_t slot_value, uint32_t hash) const;
  uint32_t PositionOf(uint32_t slot_value) const;
  // The index slot holding `key`, or the free slot where it would go.
  size_t Probe(std::string_view key, uint32_t hash) const;
  void Rebuild(size_t capacity);
  // A copy of `key` that stays put until Clear.
  const char* StoreKey(std::string_view key);

  // Entries in blocks that never move: a growing table does not read its early entries, long
  // gone from the caches, back to copy them.
  static constexpr size_t kBlockEntries = kLargePageSize / sizeof(Entry);
  static_assert((kBlockEntries & (kBlockEntries - 1)) == 0);
  Entry& At(size_t i) { return blocks_[i / kBlockEntries][i % kBlockEntries]; }
  const Entry& At(size_t i) const { return blocks_[i / kBlockEntries][i % kBlockEntries]; }
  std::vector<std::vector<Entry, LargePageAllocator<Entry>>> blocks_;
  // Beside the entries rather than in them: growing the index reads only these. One per
  // entry, so also the count.
  std::vector<uint32_t, LargePageAllocator<uint32_t>> hashes_;
  // Low `position_bits_` bits: entry position + 1, 0 marking a free slot; the bits above:
  // part of the key's hash, so that most probes never touch an entry. Four bytes a slot keep
  // the index of a few hundred thousand records within a core's own cache.
  std::vector<uint32_t, LargePageAllocator<uint32_t>> index_;
  int position_bits_ = 0;  // log2(index_.size())
  // Chunks of key bytes; a removed record's key stays until Clear.
  std::vector<std::unique_ptr<char[]>> keys_;
  char* key_free_ = nullptr;
  size_t key_room_ = 0;
};

}  // namespace kx
