// Where the inventory keeps its records: the arena's blocks, the large pages under them and
// the keyed table over them.

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "error_of.h"
#include "inventory/large_pages.h"
#include "inventory/record_arena.h"
#include "inventory/record_table.h"
#include "runtime/error.h"
#include "runtime/format.h"
#include "runtime/text.h"

namespace kx {
namespace {

// Enough records to fill several blocks.
constexpr int kMany = 3 * static_cast<int>(RecordArena::kBlockSize / sizeof(ExpressionInfo));

std::string Text(int i) {
  return "Records(\"L" + std::to_string(i) + "\").Fields(\"F\") & \"a text past the short size\"";
}

TEST(RecordArenaTest, RecordsOutliveTheArenaAndTheirNeighbours) {
  std::vector<std::shared_ptr<ExpressionInfo>> kept;
  {
    RecordArena arena;
    std::vector<std::shared_ptr<ExpressionInfo>> all;
    for (int i = 0; i < kMany; ++i) {
      all.push_back(arena.NewRecord());
      all.back()->OrdinalPosition = i;
      all.back()->ExpressionText = Text(i);
    }
    // Every 1000th survives; whole blocks around them are released.
    for (int i = 0; i < kMany; i += 1000) kept.push_back(all[static_cast<size_t>(i)]);
  }
  ASSERT_EQ(kept.size(), static_cast<size_t>((kMany + 999) / 1000));
  for (size_t k = 0; k < kept.size(); ++k) {
    EXPECT_EQ(kept[k]->OrdinalPosition, static_cast<int32_t>(k * 1000));
    EXPECT_EQ(kept[k]->ExpressionText, Text(static_cast<int>(k * 1000)));
  }
  // Released on another thread than the one that made them.
  std::thread([&] { kept.clear(); }).join();
}

TEST(RecordArenaTest, ReusesItsBlockOnlyWhenNothingInItLives) {
  RecordArena arena;
  auto a = arena.NewRecord();
  a->Description = "first";
  auto b = arena.NewRecord();
  EXPECT_NE(a.get(), b.get());
  b.reset();
  auto c = arena.NewRecord();
  EXPECT_NE(c.get(), a.get());
  EXPECT_EQ(a->Description, "first") << "a live record is never handed out again";
  a.reset();
  c.reset();
  auto d = arena.NewRecord();
  EXPECT_TRUE(d->Description.empty()) << "a new record starts empty";

  RecordArena moved(std::move(arena));
  auto e = moved.NewRecord();
  e->Description = "after move";
  RecordArena other;
  other = std::move(moved);
  EXPECT_EQ(e->Description, "after move");
}

TEST(RecordArenaTest, AReleasedBlockServesTheNextArenaInsteadOfGoingBackToTheSystem) {
#if !KX_RECORD_ARENA
  GTEST_SKIP() << "each record is its own heap allocation under AddressSanitizer";
#endif
  const auto block_of = [](const void* p) {
    return reinterpret_cast<const char*>(reinterpret_cast<uintptr_t>(p) &
                                         ~uintptr_t{RecordArena::kBlockSize - 1});
  };
  // The system hands the same addresses back after a release, but zeroed: only memory that
  // was kept still holds what the second record of the last arena left there.
  ptrdiff_t offset = 0;
  {
    RecordArena arena;
    auto first = arena.NewRecord();
    auto second = arena.NewRecord();
    second->SelColEnd = 0x5EED;
    offset = reinterpret_cast<const char*>(&second->SelColEnd) - block_of(second.get());
  }
  RecordArena next;
  auto record = next.NewRecord();
  int32_t left = 0;
  std::memcpy(&left, block_of(record.get()) + offset, sizeof left);
  EXPECT_EQ(left, 0x5EED);
}

TEST(LargePagesTest, BigArraysComeAlignedAndKeepTheirContentsThroughGrowth) {
  std::vector<uint64_t, LargePageAllocator<uint64_t>> big;
  for (uint64_t i = 0; i < 700000; ++i) big.push_back(i * 3);  // grows past 2 and 4 MB
  EXPECT_EQ(reinterpret_cast<uintptr_t>(big.data()) % kLargePageSize, 0u);
  for (uint64_t i = 0; i < big.size(); i += 9973) ASSERT_EQ(big[i], i * 3);
  EXPECT_EQ(big.back(), 699999u * 3);
  std::vector<std::string, LargePageAllocator<std::string>> small(3, "kept");
  small.resize(100);
  EXPECT_EQ(small[2], "kept");
  // Released memory is kept for the next request of its size, contents and all.
  const uint64_t* const old = big.data();
  const size_t capacity = big.capacity();
  big.clear();
  big.shrink_to_fit();
  std::vector<uint64_t, LargePageAllocator<uint64_t>> again;
  again.reserve(capacity);
  ASSERT_EQ(again.data(), old);
  EXPECT_EQ(old[9973], 9973u * 3);
}

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
