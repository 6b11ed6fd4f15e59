#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "inventory/large_pages.h"
#include "inventory/record_arena.h"

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

}  // namespace
}  // namespace kx
