// Memory regions and vectors over them: the growth rule, moving
// non-trivial elements, giving blocks back, and failures while growing.
#include "host/platform/OmVector.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <stdexcept>
#include <string>

#include "host/platform/OmMemoryRegion.h"

namespace {

TEST(OmVector, GrowingKeepsTheElementsAndOnlyTheNewestBlock) {
  OmMemoryRegion region(false);
  OmVector<int> vector(region);
  for (int i = 0; i < 33; ++i)
    vector.PushBack(i);
  for (int i = 0; i < 33; ++i)
    EXPECT_EQ(vector[static_cast<std::size_t>(i)], i);
  // Four, then doubled: 33 elements take 64 places in one block.
  EXPECT_EQ(vector.Capacity(), 64U);
  EXPECT_EQ(region.BlocksInUse(), 1U);
  EXPECT_EQ(region.BytesInUse(), 64 * sizeof(int));
}

// Counts what happens to its instances; it cannot be copied, and its move
// throws when asked to.
struct Counted {
  explicit Counted(int v) : value(v) { ++made; }
  Counted(const Counted&) = delete;
  Counted(Counted&& other) : value(other.value) {
    if (value == throwAt)
      throw std::runtime_error("move");
    other.value = -1;
    ++moved;
  }
  ~Counted() { ++destroyed; }
  int value;
  static inline int made = 0, moved = 0, destroyed = 0, throwAt = -1;
};

TEST(OmVector, MovesElementsWhenGrowingAndDestroysEveryOne) {
  Counted::made = Counted::moved = Counted::destroyed = 0;
  {
    OmMemoryRegion region(false);
    OmVector<Counted> vector(region);
    for (int i = 0; i < 5; ++i)
      vector.EmplaceBack(i);
    EXPECT_EQ(Counted::moved, 4);  // four moved when the fifth arrived
    EXPECT_EQ(Counted::destroyed, 4);
    for (int i = 0; i < 5; ++i)
      EXPECT_EQ(vector[static_cast<std::size_t>(i)].value, i);
    OmVector<Counted> target(region);
    target.EmplaceBack(9);
    target = std::move(vector);
    EXPECT_EQ(target[4].value, 4);
    EXPECT_EQ(region.BlocksInUse(), 1U);
  }
  EXPECT_EQ(Counted::made + Counted::moved, Counted::destroyed);
}

TEST(OmVector, AppendingItsOwnElementWhileGrowingIsSafe) {
  OmMemoryRegion region(false);
  OmVector<std::string> vector(region);
  for (int i = 0; i < 4; ++i)
    vector.PushBack("element too long to be kept in place " + std::to_string(i));
  vector.PushBack(vector[0]);
  EXPECT_EQ(vector[4], "element too long to be kept in place 0");
  EXPECT_EQ(vector[0], vector[4]);
}

TEST(OmVector, FailedGrowthKeepsTheElementsAndReturnsTheNewBlock) {
  OmMemoryRegion region(false);
  OmVector<Counted> vector(region);
  for (int i = 0; i < 4; ++i)
    vector.EmplaceBack(i);
  Counted::throwAt = 2;
  EXPECT_THROW(vector.EmplaceBack(4), std::runtime_error);
  Counted::throwAt = -1;
  EXPECT_EQ(vector.Size(), 4U);
  EXPECT_EQ(vector.Capacity(), 4U);
  EXPECT_EQ(vector[3].value, 3);
  EXPECT_EQ(region.BlocksInUse(), 1U);
}

TEST(OmMemoryRegion, BlocksAreAlignedCountedAndOptionallyZeroed) {
  OmMemoryRegion zeroed(true);
  auto* bytes = static_cast<unsigned char*>(zeroed.Allocate(100));
  for (int i = 0; i < 100; ++i)
    EXPECT_EQ(bytes[i], 0);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(bytes) % alignof(std::max_align_t), 0U);
  void* empty = zeroed.Allocate(0);
  EXPECT_NE(empty, nullptr);
  zeroed.Release(bytes);
  zeroed.Release(nullptr);
  EXPECT_EQ(zeroed.BlocksInUse(), 1U);  // the empty block, freed with the region
  EXPECT_EQ(zeroed.BytesInUse(), 0U);
  EXPECT_THROW(zeroed.Allocate(static_cast<std::size_t>(-1)), std::bad_alloc);
  EXPECT_EQ(zeroed.BlocksInUse(), 1U);
}

}  // namespace
