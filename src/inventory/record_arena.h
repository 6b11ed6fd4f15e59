#pragma once
// Storage for the records a walk creates. A large conversion yields hundreds of thousands
// of them; taken one by one from the general heap they end up scattered over many small
// pages, and the time per record grows with the size of the conversion. The arena packs
// them into large aligned blocks instead, which the system may back with huge pages. A
// block is free again when its last record is released, so records may outlive the arena
// and be released from any thread; free blocks are kept for the next arena.

#include <atomic>
#include <cstddef>
#include <memory>
#include <utility>

#include "inventory/expression_info.h"

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

class RecordArena {
 public:
  RecordArena() = default;
  RecordArena(const RecordArena&) = delete;
  RecordArena& operator=(const RecordArena&) = delete;
  RecordArena(RecordArena&& other) noexcept : current_(std::exchange(other.current_, nullptr)) {}
  RecordArena& operator=(RecordArena&& other) noexcept;
  ~RecordArena();

  // A new, empty record.
  std::shared_ptr<ExpressionInfo> NewRecord();

  // Bytes in one block; blocks are aligned to it, so a record finds its block by address.
  static constexpr size_t kBlockSize = size_t{2} << 20;

 private:
  struct Block {
    // One hold per live allocation, plus one while the block is the arena's current one.
    std::atomic<size_t> holds;
    size_t used;
  };
  template <typename T>
  friend class ArenaAllocator;

  void* Allocate(size_t bytes);
  // Gives back one hold on the block holding `p`.
  static void Release(void* p);
  static void Drop(Block* block);

  Block* current_ = nullptr;
};

}  // namespace kx
