#include <gtest/gtest.h>

#include "component/usertree.h"
#include "ui/message_box.h"

namespace kx {
namespace {

std::vector<std::string> Parse(std::string_view text) {
  std::vector<std::string> items{"stale"};
  ParseUserList(text, items);
  return items;
}

// Each separator gives one more item, nothing is trimmed, and the text comes back whole.
TEST(UserTreeEntry, ListAccessAndPipedRoundTrip) {
  usertreeentry entry;
  EXPECT_EQ(entry.ListCount(), 0);
  EXPECT_EQ(entry.ListItem(0), "");
  const std::pair<std::string, int> lists[] = {
      {"", 1}, {"|", 2}, {"a|b|", 3}, {"a||b", 3}, {"NY|NJ||CT", 4}, {" x | y ", 2}, {"single", 1}};
  for (const auto& [text, count] : lists) {
    entry.SetList(Parse(text));
    EXPECT_EQ(entry.ListCount(), count) << text;
    EXPECT_EQ(entry.GetListAsPipedString(), text);
  }
  entry.SetList(Parse("a|b|c"));
  EXPECT_EQ(entry.ListItem(2), "c");
  EXPECT_EQ(entry.ListItem(-1), "");
  EXPECT_EQ(entry.ListItem(3), "");
  std::vector<std::string> out{"x", "y", "z", "w"};
  EXPECT_EQ(entry.GetList(out), 0);
  EXPECT_EQ(out, (std::vector<std::string>{"a", "b", "c"}));
}

TEST(UserLists, FirstListUnderAKeyWinsAndKeysAreCaseSensitive) {
  UserLists lists;
  EXPECT_EQ(lists.Entries(), nullptr);
  lists.KXExpressionBuilder_AddList("P", "States", "st", "NY|NJ");
  lists.KXExpressionBuilder_AddList("P", "Other", "st", "CA");
  lists.KXExpressionBuilder_AddList("P", "Upper", "ST", "TX|");
  auto& entries = *lists.Entries();
  ASSERT_EQ(entries.Count(), 2);
  EXPECT_EQ(entries.Item(std::string("st"))->NodeName(), "States");
  EXPECT_EQ(entries.Item(std::string("st"))->GetListAsPipedString(), "NY|NJ");
  EXPECT_EQ(entries.Item(std::string("ST"))->ListCount(), 2);
  EXPECT_EQ(entries.Item(2)->NodeKey(), "ST");
  EXPECT_EQ(entries.Item(std::string("")), nullptr);
  EXPECT_EQ(entries.Item(std::string("missing")), nullptr);
  EXPECT_EQ(entries.Item(7), nullptr);

  std::vector<std::string> nodes;
  lists.BuildUserTree([&](const std::string& key, const std::string& text, const std::string& tag) {
    nodes.push_back(key + "/" + text + "/" + tag);
  });
  EXPECT_EQ(nodes, (std::vector<std::string>{"st/States/user", "ST/Upper/user"}));

  entries.Delete(std::string("nothing"));  // a missing entry is no error
  entries.Delete(1);
  ASSERT_EQ(entries.Count(), 1);
  EXPECT_EQ(entries.Item(1)->NodeKey(), "ST");
}

TEST(UserLists, AddReturnsTheEntryHeldForTheKey) {
  usertreeentries entries;
  auto first = std::make_shared<usertreeentry>();
  first->NodeKey("k");
  auto second = std::make_shared<usertreeentry>();
  second->NodeKey("k");
  EXPECT_EQ(entries.Add(first), first);
  EXPECT_EQ(entries.Add(second), first);
  EXPECT_EQ(entries.Count(), 1);

  // Entries are matched by their NodeKey as it is now, not the key they were filed under.
  first->NodeKey("renamed");
  auto third = std::make_shared<usertreeentry>();
  third->NodeKey("renamed");
  EXPECT_EQ(entries.Add(third), first);
  ui::RecordingMessageBox box;
  ui::ScopedMessageBox guard(box);
  EXPECT_EQ(entries.Add(second), nullptr);  // "k" is still taken in the collection
  ASSERT_EQ(box.shown.size(), 1u);
  EXPECT_EQ(box.shown[0].text,
            "This key is already associated with an element of this collection (457)");
  EXPECT_EQ(entries.Count(), 1);
  EXPECT_EQ(entries.Item(std::string("k")), first);
}

}  // namespace
}  // namespace kx
