#include "inventory/record_arena.h"

#include <cstdint>
#include <cstdlib>
#include <new>

#if defined(__linux__)
#include <sys/mman.h>
#elif defined(_WIN32)
#include <malloc.h>
#endif

// Under AddressSanitizer each record keeps its own heap allocation, so that a use after
// release is still caught.
#if defined(__SANITIZE_ADDRESS__)
#define KX_RECORD_ARENA 0
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define KX_RECORD_ARENA 0
#endif
#endif
#ifndef KX_RECORD_ARENA
#define KX_RECORD_ARENA 1
#endif

namespace kx {

namespace {

constexpr size_t kHeader = 64;  // keeps records cache-line aligned after the block header

void* AllocateBlock() {
  constexpr size_t size = RecordArena::kBlockSize;
#if defined(__linux__)
  // Twice the size, then the unaligned ends are given back.
  void* raw = mmap(nullptr, 2 * size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (raw == MAP_FAILED) throw std::bad_alloc();
  const auto start = reinterpret_cast<uintptr_t>(raw);
  const uintptr_t aligned = (start + size - 1) & ~(size - 1);
  if (aligned > start) munmap(raw, aligned - start);
  if (const uintptr_t tail = start + 2 * size - (aligned + size))
    munmap(reinterpret_cast<void*>(aligned + size), tail);
  void* block = reinterpret_cast<void*>(aligned);
  madvise(block, size, MADV_HUGEPAGE);  // advice only: refused where huge pages are off
  return block;
#elif defined(_WIN32)
  void* block = _aligned_malloc(size, size);
  if (!block) throw std::bad_alloc();
  return block;
#else
  void* block = std::aligned_alloc(size, size);
  if (!block) throw std::bad_alloc();
  return block;
#endif
}

void FreeBlock(void* block) {
#if defined(__linux__)
  munmap(block, RecordArena::kBlockSize);
#elif defined(_WIN32)
  _aligned_free(block);
#else
  std::free(block);
#endif
}

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
    Block* block = new (AllocateBlock()) Block{{1}, kHeader};
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
    FreeBlock(block);
  }
}

}  // namespace kx
