#include "inventory/record_arena.h"

#include <cstdint>
#include <cstdlib>
#include <new>

#include "inventory/large_pages.h"

namespace kx {

namespace {

constexpr size_t kHeader = 64;  // keeps records cache-line aligned after the block header
// A record finds its block by rounding its address down to the block size.
static_assert(RecordArena::kBlockSize == kLargePageSize);

}  // namespace

template <typename T>
class ArenaAllocator {
 public:
  using value_type = T;
  explicit ArenaAllocator(RecordArena* arena) : arena_(arena) {}
  template <typename U>
  ArenaAllocator(const ArenaAllocator<U>& other) : arena_(other.arena_) {}

  T* allocate(size_t n) { return static_cast<T*>(arena_->Allocate(n * sizeof(T))); }
  // Never touches the arena, which may be gone by now.
  void deallocate(T* p, size_t) { RecordArena::Release(p); }

  template <typename U>
  bool operator==(const ArenaAllocator<U>& other) const {
    return arena_ == other.arena_;
  }

 private:
  template <typename U>
  friend class ArenaAllocator;
  RecordArena* arena_;
};

RecordArena::~RecordArena() {
  if (current_) Drop(current_);
}

RecordArena& RecordArena::operator=(RecordArena&& other) noexcept {
  if (this != &other) {
    if (current_) Drop(current_);
    current_ = std::exchange(other.current_, nullptr);
  }
  return *this;
}

std::shared_ptr<ExpressionInfo> RecordArena::NewRecord() {
#if KX_RECORD_ARENA
  return std::allocate_shared<ExpressionInfo>(ArenaAllocator<ExpressionInfo>(this));
#else
  return std::make_shared<ExpressionInfo>();
#endif
}

void* RecordArena::Allocate(size_t bytes) {
  static_assert(sizeof(Block) <= kHeader);
  bytes = (bytes + alignof(std::max_align_t) - 1) & ~(alignof(std::max_align_t) - 1);
  if (bytes > kBlockSize - kHeader) throw std::bad_alloc();
  // Only the arena holds the current block: nothing in it is live, so it starts over.
  if (current_ && current_->holds.load(std::memory_order_acquire) == 1) current_->used = kHeader;
  if (!current_ || current_->used + bytes > kBlockSize) {
    Block* block = new (AllocateLargePages(kBlockSize)) Block{{1}, kHeader};
    if (current_) Drop(current_);
    current_ = block;
  }
  void* p = reinterpret_cast<char*>(current_) + current_->used;
  current_->used += bytes;
  current_->holds.fetch_add(1, std::memory_order_relaxed);
  return p;
}

void RecordArena::Release(void* p) {
  Drop(reinterpret_cast<Block*>(reinterpret_cast<uintptr_t>(p) & ~uintptr_t{kBlockSize - 1}));
}

void RecordArena::Drop(Block* block) {
  if (block->holds.fetch_sub(1, std::memory_order_acq_rel) == 1) {
    block->~Block();
    FreeLargePages(block, kBlockSize);
  }
}

}  // namespace kx
