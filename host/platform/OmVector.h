// A growing array whose storage comes from an OmMemoryRegion. When full, its
// capacity becomes 4 if it held fewer than 4 elements, otherwise the
// smallest power of two greater than its element count; the elements are
// then move-constructed into the new block and the old block goes back to
// the region. Elements may be of any movable type. The region must outlive
// the vector. Not thread-safe.
#pragma once

#include <cstddef>
#include <new>
#include <utility>

#include "host/platform/OmMemoryRegion.h"

template <class T>
class OmVector {
 public:
  explicit OmVector(OmMemoryRegion& region) : mRegion(&region) {}
  OmVector(const OmVector&) = delete;
  OmVector& operator=(const OmVector&) = delete;
  OmVector(OmVector&& other) noexcept
      : mRegion(other.mRegion),
        mData(std::exchange(other.mData, nullptr)),
        mSize(std::exchange(other.mSize, 0)),
        mCapacity(std::exchange(other.mCapacity, 0)) {}
  OmVector& operator=(OmVector&& other) noexcept {
    if (this != &other) {
      Clear();
      mRegion = other.mRegion;
      mData = std::exchange(other.mData, nullptr);
      mSize = std::exchange(other.mSize, 0);
      mCapacity = std::exchange(other.mCapacity, 0);
    }
    return *this;
  }
  ~OmVector() { Clear(); }

  // Appends an element made from args and returns it. Throws what the
  // region or T's constructors throw. If making the element throws, the
  // vector is unchanged; if moving an element into a new block throws, the
  // elements stay in the old block, some of them moved from.
  template <class... Args>
  T& EmplaceBack(Args&&... args) {
    if (mSize < mCapacity) {
      T* element = new (mData + mSize) T(std::forward<Args>(args)...);
      ++mSize;
      return *element;
    }
    const std::size_t capacity = NextCapacity(mSize);
    if (capacity > static_cast<std::size_t>(-1) / sizeof(T))
      throw std::bad_alloc();
    T* block = static_cast<T*>(mRegion->Allocate(capacity * sizeof(T)));
    std::size_t moved = 0;
    try {
      // The new element first: args may refer to an element of this vector.
      new (block + mSize) T(std::forward<Args>(args)...);
      try {
        for (; moved < mSize; ++moved)
          new (block + moved) T(std::move(mData[moved]));
      } catch (...) {
        block[mSize].~T();
        throw;
      }
    } catch (...) {
      for (std::size_t i = 0; i < moved; ++i)
        block[i].~T();
      mRegion->Release(block);
      throw;
    }
    for (std::size_t i = 0; i < mSize; ++i)
      mData[i].~T();
    mRegion->Release(mData);
    mData = block;
    mCapacity = capacity;
    return mData[mSize++];
  }
  void PushBack(const T& value) { EmplaceBack(value); }
  void PushBack(T&& value) { EmplaceBack(std::move(value)); }

  // Destroys the elements and gives the block back to the region.
  void Clear() {
    for (std::size_t i = 0; i < mSize; ++i)
      mData[i].~T();
    mRegion->Release(mData);
    mData = nullptr;
    mSize = 0;
    mCapacity = 0;
  }

  std::size_t Size() const { return mSize; }
  std::size_t Capacity() const { return mCapacity; }
  bool Empty() const { return mSize == 0; }
  // Element i; i must be less than Size().
  T& operator[](std::size_t i) { return mData[i]; }
  const T& operator[](std::size_t i) const { return mData[i]; }
  T* begin() { return mData; }
  T* end() { return mData + mSize; }
  const T* begin() const { return mData; }
  const T* end() const { return mData + mSize; }

  // The capacity after growing a full vector of size elements.
  static std::size_t NextCapacity(std::size_t size) {
    if (size < 4)
      return 4;
    if (size >= (static_cast<std::size_t>(-1) >> 1))
      throw std::bad_alloc();
    std::size_t capacity = 1;
    while (capacity <= size)
      capacity <<= 1;
    return capacity;
  }

 private:
  OmMemoryRegion* mRegion;
  T* mData = nullptr;
  std::size_t mSize = 0;
  std::size_t mCapacity = 0;
};
