#pragma once
// The platform's ordered keyed collection: 1-based positions, optional string keys.
// Keys are compared ignoring case by default (text compare) or exactly (binary compare);
// key lookups are O(1) on average.
//
// Items live in slots that never move while the item is in the collection, so a reference
// from Item or Find stays valid across other additions, insertions and removals. Slots sit
// in chunks that double in size; keys are found through one flat open-addressed index of
// hashes (built once a collection outgrows a short linear scan), without folded copies.

#include <bit>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "runtime/error.h"

namespace kx {

enum class KeyCompare { Text, Binary };

template <typename T>
class Collection {
 public:
  explicit Collection(KeyCompare compare = KeyCompare::Text) : compare_(compare) {}
  Collection(const Collection&) = delete;
  Collection& operator=(const Collection&) = delete;
  Collection(Collection&& other) noexcept { Take(other); }
  Collection& operator=(Collection&& other) noexcept {
    if (this != &other) {
      Release();
      Take(other);
    }
    return *this;
  }
  ~Collection() { Release(); }

  int32_t Count() const { return static_cast<int32_t>(order_.size()); }
  bool Empty() const { return order_.empty(); }

  // Appends an item, optionally under a key. A key already present raises 457
  // (an empty key is a key like any other, as on the platform).
  void Add(T value, std::optional<std::string> key = std::nullopt) {
    Place(order_.size(), std::move(value), std::move(key));
  }

  // Inserts before the 1-based position `before` (1..Count+1); others raise 5, as the
  // platform does for a Before argument out of range.
  void Insert(int32_t before, T value, std::optional<std::string> key = std::nullopt) {
    if (before < 1 || before > Count() + 1) Raise(kErrInvalidCall);
    Place(static_cast<size_t>(before - 1), std::move(value), std::move(key));
  }

  T& Item(int32_t position) { return order_[CheckPosition(position)]->value; }
  const T& Item(int32_t position) const { return order_[CheckPosition(position)]->value; }
  T& Item(std::string_view key) { return FoundOrRaise(key)->value; }
  const T& Item(std::string_view key) const { return FoundOrRaise(key)->value; }

  // The key an item was added under (nullopt when it has none).
  const std::optional<std::string>& KeyAt(int32_t position) const {
    return order_[CheckPosition(position)]->key;
  }

  bool Contains(std::string_view key) const { return FindSlot(key, Hash(key)) != nullptr; }
  // Pointer to the item under a key, or null: for callers that test before they look.
  T* Find(std::string_view key) {
    Slot* slot = FindSlot(key, Hash(key));
    return slot ? &slot->value : nullptr;
  }
  const T* Find(std::string_view key) const {
    const Slot* slot = FindSlot(key, Hash(key));
    return slot ? &slot->value : nullptr;
  }

  // Starts fetching the index entry that a lookup of the key reads first, for a caller
  // that will add or look up the key a little later: in a large collection that entry is
  // rarely in cache, and the wait for it would otherwise stall the add.
  void Prefetch(std::string_view key) const {
    if (!index_.empty()) __builtin_prefetch(&index_[Hash(key) & Mask()]);
  }

  // 1-based position of the item under a key, 0 when absent (linear).
  int32_t PositionOf(std::string_view key) const {
    const Slot* slot = FindSlot(key, Hash(key));
    if (!slot) return 0;
    for (size_t i = 0; i < order_.size(); ++i)
      if (order_[i] == slot) return static_cast<int32_t>(i + 1);
    return 0;
  }

  void Remove(int32_t position) {
    const size_t i = CheckPosition(position);
    Slot* slot = order_[i];
    if (slot->key) {
      if (!index_.empty()) Unindex(slot);
      --keyed_;
    }
    order_.erase(order_.begin() + static_cast<std::ptrdiff_t>(i));
    const uint32_t id = slot->id;
    slot->~Slot();
    free_.push_back(id);
  }
  void Remove(std::string_view key) {
    int32_t position = PositionOf(key);
    if (position == 0) Raise(kErrInvalidCall);
    Remove(position);
  }

  void Clear() {
    Release();
    order_ = {};
    index_ = {};
    free_ = {};
    chunks_ = {};
    next_id_ = 0;
    keyed_ = 0;
  }

  // Visits the values in position order.
  template <typename F>
  void ForEach(F&& f) const {
    for (size_t i = 0; i < order_.size(); ++i) f(order_[i]->value);
  }

 private:
  struct Slot {
    T value;
    std::optional<std::string> key;
    uint64_t hash;  // of the key as compared; meaningless without a key
    uint32_t id;
  };

  // Up to this many keys a lookup scans the slots' hashes; past it the index is built.
  static constexpr size_t kScanLimit = 8;
  static constexpr uint32_t kFirstChunk = 4;

  static char Fold(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; }

  uint64_t Hash(std::string_view key) const {
    uint64_t h = 0xcbf29ce484222325u ^ key.size();
    if (compare_ == KeyCompare::Text) {
      for (char c : key) h = (h ^ static_cast<unsigned char>(Fold(c))) * 0x100000001b3u;
    } else {
      for (char c : key) h = (h ^ static_cast<unsigned char>(c)) * 0x100000001b3u;
    }
    // FNV leaves the high bits weak; the index takes its tags from them.
    h ^= h >> 33;
    h *= 0xff51afd7ed558ccdu;
    h ^= h >> 33;
    return h;
  }
  bool SameKey(std::string_view a, std::string_view b) const {
    if (compare_ == KeyCompare::Binary) return a == b;
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
      if (Fold(a[i]) != Fold(b[i])) return false;
    return true;
  }

  // Index entries: the hash's high half above, slot id + 1 below; 0 is a free entry.
  static uint64_t Entry(uint64_t hash, uint32_t id) {
    return (hash & 0xFFFFFFFF00000000u) | (uint64_t{id} + 1);
  }
  static uint32_t IdOf(uint64_t entry) { return static_cast<uint32_t>(entry) - 1; }
  size_t Mask() const { return index_.size() - 1; }

  // Chunk k holds ids kFirstChunk * (2^k - 1) and the 2^k * kFirstChunk after it.
  static size_t ChunkOf(uint32_t id) {
    return static_cast<size_t>(std::bit_width(id / kFirstChunk + 1)) - 1;
  }
  static size_t ChunkStart(size_t chunk) { return kFirstChunk * ((size_t{1} << chunk) - 1); }
  static size_t ChunkSize(size_t chunk) { return size_t{kFirstChunk} << chunk; }
  Slot* SlotAt(uint32_t id) const {
    const size_t chunk = ChunkOf(id);
    return chunks_[chunk] + (id - ChunkStart(chunk));
  }

  Slot* FindSlot(std::string_view key, uint64_t hash) const {
    if (index_.empty()) {
      for (Slot* slot : order_)
        if (slot->key && slot->hash == hash && SameKey(*slot->key, key)) return slot;
      return nullptr;
    }
    const uint64_t tag = hash & 0xFFFFFFFF00000000u;
    for (size_t i = hash & Mask(); index_[i] != 0; i = (i + 1) & Mask()) {
      if ((index_[i] & 0xFFFFFFFF00000000u) != tag) continue;
      Slot* slot = SlotAt(IdOf(index_[i]));
      if (slot->hash == hash && SameKey(*slot->key, key)) return slot;
    }
    return nullptr;
  }
  Slot* FoundOrRaise(std::string_view key) const {
    Slot* slot = FindSlot(key, Hash(key));
    if (!slot) Raise(kErrInvalidCall);
    return slot;
  }

  size_t CheckPosition(int32_t position) const {
    if (position < 1 || position > Count()) Raise(kErrSubscript);
    return static_cast<size_t>(position - 1);
  }

  // Everything that can fail happens before the collection changes, so a failed Add or
  // Insert leaves it as it was.
  void Place(size_t at, T value, std::optional<std::string> key) {
    uint64_t hash = 0;
    if (key) {
      hash = Hash(*key);
      if (FindSlot(*key, hash)) Raise(kErrDuplicateKey);
      if (keyed_ + 1 > kScanLimit && (keyed_ + 1) * 2 > index_.size())
        Reindex(index_.empty() ? 32 : index_.size() * 2);
    }
    if (order_.size() == order_.capacity()) order_.reserve(order_.empty() ? 4 : 2 * order_.size());
    const uint32_t id = TakeId();
    Slot* slot = new (SlotAt(id)) Slot{std::move(value), std::move(key), hash, id};
    order_.insert(order_.begin() + static_cast<std::ptrdiff_t>(at), slot);
    if (slot->key) {
      ++keyed_;
      if (!index_.empty()) IndexSlot(*slot);
    }
  }

  // A free slot id, with its chunk allocated.
  uint32_t TakeId() {
    if (!free_.empty()) {
      const uint32_t id = free_.back();
      free_.pop_back();
      return id;
    }
    if (next_id_ == UINT32_MAX - 1) Raise(kErrOutOfMemory);
    const size_t chunk = ChunkOf(next_id_);
    if (chunk == chunks_.size()) {
      chunks_.reserve(chunk + 1);
      chunks_.push_back(std::allocator<Slot>().allocate(ChunkSize(chunk)));
    }
    return next_id_++;
  }

  void IndexSlot(const Slot& slot) {
    size_t i = slot.hash & Mask();
    while (index_[i] != 0) i = (i + 1) & Mask();
    index_[i] = Entry(slot.hash, slot.id);
  }
  void Reindex(size_t capacity) {
    std::vector<uint64_t> fresh(capacity, 0);
    index_.swap(fresh);
    for (const Slot* slot : order_)
      if (slot->key) IndexSlot(*slot);
  }
  // Takes a slot's entry out of the index, moving later entries of its probe run back so
  // that no lookup stops short of them.
  void Unindex(const Slot* slot) {
    size_t hole = slot->hash & Mask();
    while (IdOf(index_[hole]) != slot->id) hole = (hole + 1) & Mask();
    for (size_t i = (hole + 1) & Mask(); index_[i] != 0; i = (i + 1) & Mask()) {
      const size_t home = SlotAt(IdOf(index_[i]))->hash & Mask();
      // The entry may move into the hole unless its home lies after the hole, up to i.
      const bool stays = hole <= i ? (home > hole && home <= i) : (home > hole || home <= i);
      if (stays) continue;
      index_[hole] = index_[i];
      hole = i;
    }
    index_[hole] = 0;
  }

  void Release() noexcept {
    for (Slot* slot : order_) slot->~Slot();
    for (size_t chunk = 0; chunk < chunks_.size(); ++chunk)
      std::allocator<Slot>().deallocate(chunks_[chunk], ChunkSize(chunk));
  }
  void Take(Collection& other) noexcept {
    compare_ = other.compare_;
    order_ = std::exchange(other.order_, {});
    index_ = std::exchange(other.index_, {});
    free_ = std::exchange(other.free_, {});
    chunks_ = std::exchange(other.chunks_, {});
    next_id_ = std::exchange(other.next_id_, 0);
    keyed_ = std::exchange(other.keyed_, 0);
  }

  KeyCompare compare_ = KeyCompare::Text;
  std::vector<Slot*> order_;     // position - 1 → slot
  std::vector<uint64_t> index_;  // empty while a scan of the keys is as quick
  std::vector<uint32_t> free_;   // ids of slots given back by Remove
  std::vector<Slot*> chunks_;
  uint32_t next_id_ = 0;  // ids below it have been handed out
  size_t keyed_ = 0;      // items with a key
};

}  // namespace kx
