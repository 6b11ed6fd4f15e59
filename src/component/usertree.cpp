#include "component/usertree.h"

#include "runtime/narrow.h"
#include "runtime/text.h"
#include "ui/report.h"

namespace kx {

namespace {

void Report(ui::MessageBoxService* box, std::string_view location) {
  if (box)
    ReportError(*box, location);
  else
    ReportError(location);
}

}  // namespace

int16_t usertreeentry::ListCount() const {
  return CheckedInt16(list_.size());
}

std::string usertreeentry::ListItem(int16_t index) const {
  if (index < 0 || static_cast<size_t>(index) >= list_.size()) return {};
  return list_[static_cast<size_t>(index)];
}

int32_t usertreeentry::GetList(std::vector<std::string>& items) const {
  items = list_;
  return 0;
}

std::string usertreeentry::GetListAsPipedString() const {
  return Join(list_, "|");
}

int32_t usertreeentry::SetList(const std::vector<std::string>& items) {
  list_ = items;
  return 0;
}

bool usertreeentries::EntryExists(std::string_view key, UserTreeEntryRef& entry) const {
  // By each entry's current NodeKey, not the key it was filed under: a host may rename an
  // entry after adding it.
  for (int32_t i = 1; i <= entries_.Count(); ++i) {
    const UserTreeEntryRef& candidate = entries_.Item(i);
    if (candidate->NodeKey() == key) {
      entry = candidate;
      return true;
    }
  }
  return false;
}

UserTreeEntryRef usertreeentries::Add(UserTreeEntryRef entry) {
  try {
    UserTreeEntryRef existing;
    if (EntryExists(entry->NodeKey(), existing)) return existing;
    entries_.Add(entry, entry->NodeKey());
    return entry;
  } catch (...) {
    Report(box_, "Add(usrtrens)");
    return nullptr;
  }
}

int16_t usertreeentries::Count() const {
  try {
    return CheckedInt16(entries_.Count());
  } catch (...) {
    return 0;
  }
}

void usertreeentries::Delete(const EntryIndex& index) {
  try {
    if (const int32_t* position = std::get_if<int32_t>(&index))
      entries_.Remove(*position);
    else
      entries_.Remove(std::get<std::string>(index));
  } catch (...) {
  }
}

UserTreeEntryRef usertreeentries::Item(const EntryIndex& index) const {
  if (entries_.Empty()) return nullptr;
  try {
    if (const int32_t* position = std::get_if<int32_t>(&index)) return entries_.Item(*position);
    const std::string& key = std::get<std::string>(index);
    if (key.empty()) return nullptr;
    const UserTreeEntryRef* found = entries_.Find(key);
    return found ? *found : nullptr;
  } catch (...) {
    return nullptr;
  }
}

void ParseUserList(std::string_view text, std::vector<std::string>& items) {
  try {
    items = Split(text, "|");
  } catch (...) {
    ReportError("ParseUserList(ExpressionBuilder)");
  }
}

void UserLists::KXExpressionBuilder_AddList(const std::string& parent_key, const std::string& name,
                                            const std::string& key, const std::string& thelist) {
  try {
    std::vector<std::string> items;
    ParseUserList(thelist, items);
    AddUserListToTree(parent_key, name, key, items);
  } catch (...) {
    Report(box_, "Addlist(ExpressionBuilder)");
  }
}

void UserLists::AddUserListToTree(const std::string& parent_key, const std::string& name,
                                  const std::string& key, const std::vector<std::string>& items) {
  try {
    if (!entries_) entries_ = std::make_shared<usertreeentries>(box_);
    auto entry = std::make_shared<usertreeentry>();
    entry->ParentKey(parent_key);
    entry->NodeName(name);
    entry->NodeKey(key);
    entry->SetList(items);
    entries_->Add(entry);
  } catch (...) {
    Report(box_, "AddUserListToTree(ExpressionBuilder)");
  }
}

void UserLists::BuildUserTree(const AddNode& add_node) const {
  try {
    if (!entries_) return;
    for (int32_t i = 1; i <= entries_->Count(); ++i) {
      UserTreeEntryRef entry = entries_->Item(i);
      add_node(entry->NodeKey(), entry->NodeName(), "user");
    }
  } catch (...) {
    Report(box_, "BuildUserTree(ExpressionBuilder)");
  }
}

}  // namespace kx
