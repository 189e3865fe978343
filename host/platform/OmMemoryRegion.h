// A source of memory blocks for containers that manage their own storage
// (OmVector). Blocks are aligned for any fundamental type. The region keeps
// track of the blocks it handed out: a block not given back by Release is
// freed when the region is destroyed. Not thread-safe.
#pragma once

#include <cstddef>
#include <memory>

class OmMemoryRegion {
 public:
  // With zeroFill, every block handed out starts zero-filled.
  explicit OmMemoryRegion(bool zeroFill);
  OmMemoryRegion(const OmMemoryRegion&) = delete;
  OmMemoryRegion& operator=(const OmMemoryRegion&) = delete;
  // Frees every block not released.
  ~OmMemoryRegion();

  // A block of at least bytes bytes (a distinct block for 0). Throws
  // std::bad_alloc when memory runs out.
  void* Allocate(std::size_t bytes);
  // Gives back a block from Allocate of this region; null is ignored.
  void Release(void* block);

  // The blocks and bytes handed out and not yet released.
  std::size_t BlocksInUse() const;
  std::size_t BytesInUse() const;

 private:
  struct Data;
  std::unique_ptr<Data> mData;
};
