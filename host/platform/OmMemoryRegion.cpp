// Memory regions.
#include "host/platform/OmMemoryRegion.h"

#include <cassert>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace {

// Put in front of every block: the links of the region's list of blocks in
// use and the block's size. Its alignment keeps the block behind it aligned
// for any fundamental type.
struct alignas(std::max_align_t) Header {
  Header* previous;
  Header* next;
  std::size_t bytes;
  const void* region;
};

}  // namespace

struct OmMemoryRegion::Data {
  explicit Data(bool zero) : zeroFill(zero) {}

  bool zeroFill;
  Header* first = nullptr;
  std::size_t blocks = 0;
  std::size_t bytes = 0;
};

OmMemoryRegion::OmMemoryRegion(bool zeroFill) : mData(std::make_unique<Data>(zeroFill)) {}

OmMemoryRegion::~OmMemoryRegion() {
  for (Header* header = mData->first; header != nullptr;) {
    Header* next = header->next;
    std::free(header);
    header = next;
  }
}

void* OmMemoryRegion::Allocate(std::size_t bytes) {
  if (bytes > SIZE_MAX - sizeof(Header))
    throw std::bad_alloc();
  void* raw = mData->zeroFill ? std::calloc(1, sizeof(Header) + bytes)
                              : std::malloc(sizeof(Header) + bytes);
  if (raw == nullptr)
    throw std::bad_alloc();
  auto* header = new (raw) Header{nullptr, mData->first, bytes, this};
  if (mData->first != nullptr)
    mData->first->previous = header;
  mData->first = header;
  ++mData->blocks;
  mData->bytes += bytes;
  return header + 1;
}

void OmMemoryRegion::Release(void* block) {
  if (block == nullptr)
    return;
  Header* header = static_cast<Header*>(block) - 1;
  assert(header->region == this && "block released to a region that did not allocate it");
  if (header->previous != nullptr) {
    header->previous->next = header->next;
  } else {
    mData->first = header->next;
  }
  if (header->next != nullptr)
    header->next->previous = header->previous;
  --mData->blocks;
  mData->bytes -= header->bytes;
  std::free(header);
}

std::size_t OmMemoryRegion::BlocksInUse() const {
  return mData->blocks;
}
std::size_t OmMemoryRegion::BytesInUse() const {
  return mData->bytes;
}
