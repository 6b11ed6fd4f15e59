#include <gtest/gtest.h>

#include "error_of.h"

#include <random>

#include "inventory/record_table.h"
#include "runtime/error.h"
#include "runtime/format.h"
#include "runtime/text.h"

namespace kx {
namespace {

TEST(RecordTableTest, KeysStayFindableThroughGrowthAndRemoval) {
  RecordTable table;
  std::vector<RecordTable::Record> records;
  for (int i = 0; i < 5000; ++i) {
    records.push_back(std::make_shared<ExpressionInfo>());
    table.Add(records.back(), "k" + std::to_string(i));
  }
  EXPECT_EQ(ErrorTextOf([&] { table.Add(records[0], "k4999"); }),
            std::to_string(kErrDuplicateKey) +
                ": This key is already associated with an element of this collection: \"k4999\"")
      << "the error names the key it met";
  EXPECT_EQ(table.Count(), 5000);
  EXPECT_EQ(table.Find("K1"), nullptr) << "keys compare exactly";
  table.Remove(2);  // "k1"
  EXPECT_EQ(table.Find("k1"), nullptr);
  for (int i : {0, 2, 3, 4999}) {
    const RecordTable::Record* found = table.Find("k" + std::to_string(i));
    ASSERT_NE(found, nullptr) << i;
    EXPECT_EQ(*found, records[static_cast<size_t>(i)]);
  }
  EXPECT_EQ(table.Item(2), records[2]) << "positions close up";
  table.Add(records[1], "k1");
  EXPECT_EQ(table.Item(table.Count()), records[1]);
  EXPECT_EQ(ErrorOf([&] { table.Item(0); }), kErrSubscript);
  EXPECT_EQ(ErrorOf([&] { table.Remove(5001); }), kErrSubscript);
  // Keys are copied into shared chunks: one longer than a chunk, and enough after it to fill
  // several more, must all keep their own bytes.
  const std::string long_key(200000, 'x');
  table.Add(records[2], long_key);
  // Past several blocks of entries, with a record that tells neighbours apart.
  const auto pooled = [&](int i) { return records[static_cast<size_t>(i % 7)]; };
  for (int i = 5000; i < 140000; ++i) table.Add(pooled(i), "k" + std::to_string(i));
  ASSERT_NE(table.Find(long_key), nullptr);
  EXPECT_EQ(*table.Find(long_key), records[2]);
  EXPECT_EQ(table.Find(long_key.substr(1)), nullptr);
  for (int i : {0, 4999, 5000, 21000, 70000, 139999})
    EXPECT_NE(table.Find("k" + std::to_string(i)), nullptr) << i;
  const int before = table.Count();
  table.Remove(3);  // every later entry moves down one, across the blocks' edges
  EXPECT_EQ(table.Count(), before - 1);
  for (int position : {65534, 65535, 65536, 65537, 131072, before - 1}) {
    const int i = position - 1;  // k<i> was at i + 2, behind k1 and the long key
    EXPECT_EQ(table.Item(position), pooled(i)) << position;
    ASSERT_NE(table.Find("k" + std::to_string(i)), nullptr) << i;
    EXPECT_EQ(*table.Find("k" + std::to_string(i)), pooled(i)) << i;
  }
  table.Clear();
  EXPECT_EQ(table.Find("k3"), nullptr);
  table.Add(records[0], "");
  EXPECT_NE(table.Find(""), nullptr) << "the empty key is a key like any other";
}

// The formatter's one-pass shortcut must give what replacing "%1", "%2" ... in turn gives.
TEST(FormatMessageTest, OnePassAgreesWithReplacingInTurn) {
  std::mt19937 rng(20261122);
  const std::string alphabet = "%12345678ab9";
  auto random_text = [&](size_t length) {
    std::string s;
    for (size_t i = 0; i < length; ++i) s += alphabet[rng() % alphabet.size()];
    return s;
  };
  for (int n = 0; n < 200000; ++n) {
    const std::string text = random_text(rng() % 10);
    std::vector<std::string> args;
    for (unsigned k = rng() % 12; k > 0; --k) args.push_back(random_text(rng() % 4));
    std::string expected = text;
    for (size_t i = 0; i < args.size(); ++i)
      expected = ReplaceAll(expected, "%" + std::to_string(i + 1), args[i]);
    ASSERT_EQ(FormatMessageText(text, args), expected) << text;
  }
}

}  // namespace
}  // namespace kx
