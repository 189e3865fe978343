// Memory regions and vectors over them: the growth rule, moving
// non-trivial elements, giving blocks back, and failures while growing.
#include "host/OmVector.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <deque>
#include <stdexcept>
#include <string>

#include "host/OmMemoryRegion.h"

namespace {

TEST(OmVector, CapacityGrowsToFourThenToTheNextPowerOfTwo) {
  OmMemoryRegion region(false);
  OmVector<int> vector(region);
  EXPECT_EQ(vector.Capacity(), 0U);
  std::string capacities;
  for (int i = 0; i < 33; ++i) {
    vector.PushBack(i);
    capacities += std::to_string(vector.Capacity()) + " ";
  }
  EXPECT_EQ(capacities,
            "4 4 4 4 8 8 8 8 16 16 16 16 16 16 16 16 32 32 32 32 32 32 32 32 32 32 32 32 32 32 "
            "32 32 64 ");
  for (int i = 0; i < 33; ++i) EXPECT_EQ(vector[static_cast<std::size_t>(i)], i);
  EXPECT_EQ(region.BlocksInUse(), 1U);
  EXPECT_EQ(region.BytesInUse(), 64 * sizeof(int));
  EXPECT_EQ(OmVector<int>::NextCapacity(0), 4U);
  EXPECT_EQ(OmVector<int>::NextCapacity(3), 4U);
  EXPECT_EQ(OmVector<int>::NextCapacity(4), 8U);
  EXPECT_EQ(OmVector<int>::NextCapacity(5), 8U);
  EXPECT_EQ(OmVector<int>::NextCapacity(8), 16U);
}

// Counts what happens to its instances, to tell moves from copies.
struct Counted {
  explicit Counted(int v) : value(v) { ++made; }
  Counted(const Counted& other) : value(other.value) { ++copied; }
  Counted(Counted&& other) noexcept : value(other.value) {
    other.value = -1;
    ++moved;
  }
  Counted& operator=(const Counted&) = delete;
  ~Counted() { ++destroyed; }
  int value;
  static inline int made = 0, copied = 0, moved = 0, destroyed = 0;
};

TEST(OmVector, MovesElementsWhenGrowingAndDestroysEveryOne) {
  Counted::made = Counted::copied = Counted::moved = Counted::destroyed = 0;
  {
    OmMemoryRegion region(false);
    OmVector<Counted> vector(region);
    for (int i = 0; i < 5; ++i) vector.EmplaceBack(i);
    EXPECT_EQ(Counted::copied, 0);
    EXPECT_EQ(Counted::moved, 4);  // four moved when the fifth arrived
    EXPECT_EQ(Counted::destroyed, 4);
    for (int i = 0; i < 5; ++i) EXPECT_EQ(vector[static_cast<std::size_t>(i)].value, i);
  }
  EXPECT_EQ(Counted::made + Counted::moved, Counted::destroyed);
}

TEST(OmVector, HoldsDequesOfPointersAsTheExporterDoes) {
  OmMemoryRegion region(false);
  OmVector<std::deque<const int*>> columns(region);
  const int values[3] = {1, 2, 3};
  for (int i = 0; i < 10; ++i) {
    std::deque<const int*> column(static_cast<std::size_t>(i), &values[i % 3]);
    columns.PushBack(column);
  }
  ASSERT_EQ(columns.Size(), 10U);
  for (std::size_t i = 0; i < 10; ++i) {
    EXPECT_EQ(columns[i].size(), i);
    if (i > 0) {
      EXPECT_EQ(columns[i].back(), &values[i % 3]);
    }
  }
  columns.Clear();
  EXPECT_TRUE(columns.Empty());
  EXPECT_EQ(region.BlocksInUse(), 0U);
}

TEST(OmVector, AppendingItsOwnElementWhileGrowingIsSafe) {
  OmMemoryRegion region(false);
  OmVector<std::string> vector(region);
  for (int i = 0; i < 4; ++i) vector.PushBack("element that does not fit in place " + std::to_string(i));
  vector.PushBack(vector[0]);
  EXPECT_EQ(vector[4], "element that does not fit in place 0");
  EXPECT_EQ(vector[0], "element that does not fit in place 0");
}

struct ThrowsOnMove {
  explicit ThrowsOnMove(int v) : value(v) {}
  ThrowsOnMove(ThrowsOnMove&& other) : value(other.value) {
    if (value == throwAt) throw std::runtime_error("move");
  }
  ThrowsOnMove(const ThrowsOnMove&) = delete;
  int value;
  static inline int throwAt = -1;
};

TEST(OmVector, FailedGrowthKeepsTheElementsAndReturnsTheNewBlock) {
  OmMemoryRegion region(false);
  OmVector<ThrowsOnMove> vector(region);
  for (int i = 0; i < 4; ++i) vector.EmplaceBack(i);
  ThrowsOnMove::throwAt = 2;
  EXPECT_THROW(vector.EmplaceBack(4), std::runtime_error);
  ThrowsOnMove::throwAt = -1;
  EXPECT_EQ(vector.Size(), 4U);
  EXPECT_EQ(vector.Capacity(), 4U);
  EXPECT_EQ(vector[3].value, 3);
  EXPECT_EQ(region.BlocksInUse(), 1U);
  vector.EmplaceBack(4);
  EXPECT_EQ(vector.Size(), 5U);
}

TEST(OmVector, MoveLeavesTheSourceEmpty) {
  OmMemoryRegion region(false);
  OmVector<int> source(region);
  source.PushBack(7);
  OmVector<int> target(std::move(source));
  EXPECT_EQ(target.Size(), 1U);
  EXPECT_EQ(source.Size(), 0U);
  OmVector<int> other(region);
  other.PushBack(1);
  other = std::move(target);
  EXPECT_EQ(other[0], 7);
  EXPECT_EQ(region.BlocksInUse(), 1U);
  int sum = 0;
  for (const int v : other) sum += v;
  EXPECT_EQ(sum, 7);
}

TEST(OmMemoryRegion, BlocksAreAlignedCountedAndOptionallyZeroed) {
  OmMemoryRegion zeroed(true);
  auto* bytes = static_cast<unsigned char*>(zeroed.Allocate(100));
  for (int i = 0; i < 100; ++i) EXPECT_EQ(bytes[i], 0);
  void* empty = zeroed.Allocate(0);
  EXPECT_NE(empty, nullptr);
  EXPECT_NE(empty, bytes);
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(bytes) % alignof(std::max_align_t), 0U);
  EXPECT_EQ(zeroed.BlocksInUse(), 2U);
  EXPECT_EQ(zeroed.BytesInUse(), 100U);
  zeroed.Release(bytes);
  zeroed.Release(nullptr);
  EXPECT_EQ(zeroed.BlocksInUse(), 1U);
  EXPECT_EQ(zeroed.BytesInUse(), 0U);
  // The block still out is freed with the region.
}

TEST(OmMemoryRegion, AbsurdSizesFailAsLackOfMemory) {
  OmMemoryRegion region(false);
  EXPECT_THROW(region.Allocate(static_cast<std::size_t>(-1)), std::bad_alloc);
  EXPECT_EQ(region.BlocksInUse(), 0U);
}

}  // namespace
