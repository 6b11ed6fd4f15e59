#pragma once
// The platform's ordered keyed collection: 1-based positions, optional string keys.
// Keys are compared ignoring case by default (text compare) or exactly (binary compare);
// key lookups are O(1) on average.

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "runtime/error.h"
#include "runtime/text.h"

namespace kx {

enum class KeyCompare { Text, Binary };

template <typename T>
class Collection {
 public:
  explicit Collection(KeyCompare compare = KeyCompare::Text) : compare_(compare) {}

  int32_t Count() const { return static_cast<int32_t>(items_.size()); }
  bool Empty() const { return items_.empty(); }

  // Appends an item, optionally under a key. A key already present raises 457
  // (an empty key is a key like any other, as on the platform).
  void Add(T value, std::optional<std::string> key = std::nullopt) {
    if (key) {
      auto [it, inserted] = index_.try_emplace(Fold(*key), nullptr);
      if (!inserted) Raise(kErrDuplicateKey);
      items_.push_back(std::make_unique<Slot>(Slot{std::move(value), std::move(key)}));
      it->second = items_.back().get();
      return;
    }
    items_.push_back(std::make_unique<Slot>(Slot{std::move(value), std::nullopt}));
  }

  // Inserts before the 1-based position `before` (1..Count+1); others raise 5, as the
  // platform does for a Before argument out of range.
  void Insert(int32_t before, T value, std::optional<std::string> key = std::nullopt) {
    if (before < 1 || before > Count() + 1) Raise(kErrInvalidCall);
    Add(std::move(value), std::move(key));
    auto slot = std::move(items_.back());
    items_.pop_back();
    items_.insert(items_.begin() + (before - 1), std::move(slot));
  }

  T& Item(int32_t position) { return items_.at(CheckPosition(position))->value; }
  const T& Item(int32_t position) const { return items_.at(CheckPosition(position))->value; }
  T& Item(std::string_view key) { return FindSlot(key)->value; }
  const T& Item(std::string_view key) const { return FindSlot(key)->value; }

  // The key an item was added under (nullopt when it has none).
  const std::optional<std::string>& KeyAt(int32_t position) const {
    return items_.at(CheckPosition(position))->key;
  }

  bool Contains(std::string_view key) const { return index_.count(Fold(key)) != 0; }
  // Pointer to the item under a key, or null: for callers that test before they look.
  T* Find(std::string_view key) {
    auto it = index_.find(Fold(key));
    return it == index_.end() ? nullptr : &it->second->value;
  }
  const T* Find(std::string_view key) const {
    auto it = index_.find(Fold(key));
    return it == index_.end() ? nullptr : &it->second->value;
  }

  // 1-based position of the item under a key, 0 when absent (linear).
  int32_t PositionOf(std::string_view key) const {
    auto it = index_.find(Fold(key));
    if (it == index_.end()) return 0;
    for (size_t i = 0; i < items_.size(); ++i)
      if (items_[i].get() == it->second) return static_cast<int32_t>(i + 1);
    return 0;
  }

  void Remove(int32_t position) {
    size_t i = CheckPosition(position);
    if (items_[i]->key) index_.erase(Fold(*items_[i]->key));
    items_.erase(items_.begin() + static_cast<std::ptrdiff_t>(i));
  }
  void Remove(std::string_view key) {
    int32_t position = PositionOf(key);
    if (position == 0) Raise(kErrInvalidCall);
    Remove(position);
  }

  void Clear() {
    items_.clear();
    index_.clear();
  }

  // Visits the values in position order.
  template <typename F>
  void ForEach(F&& f) const {
    for (const auto& slot : items_) f(slot->value);
  }

 private:
  struct Slot {
    T value;
    std::optional<std::string> key;
  };

  std::string Fold(std::string_view key) const {
    return compare_ == KeyCompare::Text ? LowerCase(key) : std::string(key);
  }
  size_t CheckPosition(int32_t position) const {
    if (position < 1 || position > Count()) Raise(kErrSubscript);
    return static_cast<size_t>(position - 1);
  }
  Slot* FindSlot(std::string_view key) const {
    auto it = index_.find(Fold(key));
    if (it == index_.end()) Raise(kErrInvalidCall);
    return it->second;
  }

  KeyCompare compare_;
  std::vector<std::unique_ptr<Slot>> items_;
  std::unordered_map<std::string, Slot*> index_;
};

}  // namespace kx
