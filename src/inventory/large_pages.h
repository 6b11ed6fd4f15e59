#pragma once
// Memory for the inventory's big arrays in aligned blocks that the system may back with
// huge pages. A large conversion's records and their index are touched all over; on small
// pages the translation misses grow faster than the conversion does.

#include <cstddef>
#include <new>

namespace kx {

// The block size and alignment of AllocateLargePages.
inline constexpr size_t kLargePageSize = size_t{2} << 20;

// At least `bytes`, rounded up to whole blocks and aligned to kLargePageSize; released with
// FreeLargePages and the same `bytes`, which keeps the memory for a later request of that
// size rather than giving it back to the system.
void* AllocateLargePages(size_t bytes);
void FreeLargePages(void* p, size_t bytes) noexcept;

// A container allocator that takes requests of a block or more from AllocateLargePages and
// smaller ones from the general heap.
template <typename T>
class LargePageAllocator {
 public:
  using value_type = T;
  LargePageAllocator() = default;
  template <typename U>
  LargePageAllocator(const LargePageAllocator<U>&) {}

  T* allocate(size_t n) {
    const size_t bytes = n * sizeof(T);
    if (bytes >= kLargePageSize) return static_cast<T*>(AllocateLargePages(bytes));
    return static_cast<T*>(::operator new (bytes, std::align_val_t{alignof(T)}));
  }
  void deallocate(T* p, size_t n) noexcept {
    const size_t bytes = n * sizeof(T);
    if (bytes >= kLargePageSize)
      FreeLargePages(p, bytes);
    else
      ::operator delete (p, std::align_val_t{alignof(T)});
  }
  template <typename U>
  bool operator==(const LargePageAllocator<U>&) const {
    return true;
  }
};

}  // namespace kx
