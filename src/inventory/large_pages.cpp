#include "inventory/large_pages.h"

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
}  // namespace

void* AllocateLargePages(size_t bytes) {
  const size_t size = WholeBlocks(bytes);
  if (size < bytes) throw std::bad_alloc();
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

void FreeLargePages(void* p, size_t bytes) noexcept {
#if defined(__linux__)
  munmap(p, WholeBlocks(bytes));
#elif defined(_WIN32)
  (void)bytes;
  _aligned_free(p);
#else
  (void)bytes;
  std::free(p);
#endif
}

}  // namespace kx
