#pragma once
// Host-supplied token lists: one usertreeentry per list, kept in usertreeentries.

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "runtime/collection.h"

namespace kx {

namespace ui {
class MessageBoxService;
}

class usertreeentry {
 public:
  // Upper bound of the list plus one (0 while no list was set).
  int16_t ListCount() const;
  // The item at `index`, or "" when `index` lies outside the list.
  std::string ListItem(int16_t index) const;

  const std::string& ParentKey() const { return parent_key_; }
  void ParentKey(std::string v) { parent_key_ = std::move(v); }
  const std::string& NodeName() const { return node_name_; }
  void NodeName(std::string v) { node_name_ = std::move(v); }
  const std::string& NodeKey() const { return node_key_; }
  void NodeKey(std::string v) { node_key_ = std::move(v); }

  // Copies the list into `items` (resized to the list's bounds). Returns 0.
  int32_t GetList(std::vector<std::string>& items) const;
  // The items joined by "|".
  std::string GetListAsPipedString() const;
  // Replaces the list by a copy of `items`. Returns 0.
  int32_t SetList(const std::vector<std::string>& items);

 private:
  std::string parent_key_;
  std::string node_name_;
  std::string node_key_;
  std::vector<std::string> list_;
};

using UserTreeEntryRef = std::shared_ptr<usertreeentry>;

// A 1-based position or a key, as the collection's Index argument.
using EntryIndex = std::variant<int32_t, std::string>;

class usertreeentries {
 public:
  // `box` (not owned) receives the collection's error reports; null: the process's.
  explicit usertreeentries(ui::MessageBoxService* box = nullptr) : box_(box) {}
  // Adds `entry` under its NodeKey unless an entry whose NodeKey is now exactly that is there
  // already; returns the entry now held for the key (the earlier one wins). A key still filed
  // for an entry renamed since is reported (457) and gives null.
  UserTreeEntryRef Add(UserTreeEntryRef entry);
  int16_t Count() const;
  // Removes the entry at a position or key; a missing entry is no error.
  void Delete(const EntryIndex& index);
  // The entry at a position or key, or null (empty key, empty collection, or not found).
  UserTreeEntryRef Item(const EntryIndex& index) const;

 private:
  bool EntryExists(std::string_view key, UserTreeEntryRef& entry) const;

  Collection<UserTreeEntryRef> entries_{KeyCompare::Binary};
  ui::MessageBoxService* box_;
};

// Splits a piped string: N separators give N + 1 items, empty ones included.
void ParseUserList(std::string_view text, std::vector<std::string>& items);

// The lists a builder holds and the routines that add them.
class UserLists {
 public:
  // `box` (not owned) receives the error reports; null: the process's.
  explicit UserLists(ui::MessageBoxService* box = nullptr) : box_(box) {}
  // Splits `thelist` and adds it as one entry. Failures are reported, not thrown.
  void KXExpressionBuilder_AddList(const std::string& parent_key, const std::string& name,
                                   const std::string& key, const std::string& thelist);
  void AddUserListToTree(const std::string& parent_key, const std::string& name,
                         const std::string& key, const std::vector<std::string>& items);

  // Puts one top-level tree node per list, first to last: the entry's NodeKey as key, its
  // NodeName as text and the tag "user". ParentKey plays no part.
  using AddNode =
      std::function<void(const std::string& key, const std::string& text, const std::string& tag)>;
  void BuildUserTree(const AddNode& add_node) const;

  // Null until the first list is added.
  const std::shared_ptr<usertreeentries>& Entries() const { return entries_; }

 private:
  std::shared_ptr<usertreeentries> entries_;
  ui::MessageBoxService* box_;
};

}  // namespace kx
