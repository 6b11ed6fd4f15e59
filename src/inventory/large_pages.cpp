#include "inventory/large_pages.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>

#if defined(__linux__)
#include <sys/mman.h>
#elif defined(_WIN32)
#include <malloc.h>
#endif

namespace kx {

namespace {
size_t WholeBlocks(size_t bytes) {
  return (bytes + kLargePageSize - 1) & ~(kLargePageSize - 1);
}

void* SystemAllocate(size_t size) {
#if defined(__linux__)
  // One block more than needed, then the unaligned ends are given back.
  void* raw = mmap(nullptr, size + kLargePageSize, PROT_READ | PROT_WRITE,
                   MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (raw == MAP_FAILED) throw std::bad_alloc();
  const auto start = reinterpret_cast<uintptr_t>(raw);
  const uintptr_t aligned = (start + kLargePageSize - 1) & ~(kLargePageSize - 1);
  if (aligned > start) munmap(raw, aligned - start);
  if (const uintptr_t tail = start + size + kLargePageSize - (aligned + size))
    munmap(reinterpret_cast<void*>(aligned + size), tail);
  void* block = reinterpret_cast<void*>(aligned);
  madvise(block, size, MADV_HUGEPAGE);  // advice only: refused where huge pages are off
  return block;
#elif defined(_WIN32)
  void* block = _aligned_malloc(size, kLargePageSize);
  if (!block) throw std::bad_alloc();
  return block;
#else
  void* block = std::aligned_alloc(kLargePageSize, size);
  if (!block) throw std::bad_alloc();
  return block;
#endif
}

void SystemFree(void* p, size_t size) noexcept {
#if defined(__linux__)
  munmap(p, size);
#elif defined(_WIN32)
  (void)size;
  _aligned_free(p);
#else
  (void)size;
  std::free(p);
#endif
}

// Released memory waits here for a request of the same size instead of going back to the
// system. Fresh memory costs a fault and the zeroing of every page, and far more on a virtual
// machine that hands free memory back to its host, where large requests meet such memory
// first; rebuilding a large inventory paid that for all of it again. The sizes a build asks
// for (record blocks, arrays doubling) recur from one build to the next, so what is kept is
// about what the largest build so far used. A cap keeps a long-lived host that built one
// huge inventory, or many of different sizes, from holding on to all of it.
constexpr size_t kMaxKept = size_t{512} << 20;
struct FreeRegion {
  FreeRegion* next;
  size_t size;
};
// A spin lock: held for a few pointer moves, and std::mutex is missing from some
// Windows toolchains.
std::atomic_flag free_lock;
struct FreeListLock {
  FreeListLock() {
    while (free_lock.test_and_set(std::memory_order_acquire)) {
    }
  }
  ~FreeListLock() { free_lock.clear(std::memory_order_release); }
  FreeListLock(const FreeListLock&) = delete;
  FreeListLock& operator=(const FreeListLock&) = delete;
};
FreeRegion* free_regions = nullptr;
size_t kept = 0;

}  // namespace

void* AllocateLargePages(size_t bytes) {
  const size_t size = WholeBlocks(bytes);
  if (size < bytes) throw std::bad_alloc();
  {
    FreeListLock lock;
    for (FreeRegion** link = &free_regions; *link; link = &(*link)->next) {
      if ((*link)->size != size) continue;
      FreeRegion* region = *link;
      *link = region->next;
      kept -= size;
      return region;
    }
  }
  return SystemAllocate(size);
}

void FreeLargePages(void* p, size_t bytes) noexcept {
  const size_t size = WholeBlocks(bytes);
  {
    FreeListLock lock;
    if (kept + size <= kMaxKept) {
      free_regions = new (p) FreeRegion{free_regions, size};
      kept += size;
      return;
    }
  }
  SystemFree(p, size);
}

}  // namespace kx
