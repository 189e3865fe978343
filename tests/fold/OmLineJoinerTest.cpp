// The line joiner: its tie and break-line rules, and the tree methods against
// the direct scan on generated lines, from few break lines to long runs, in
// repeating and in irregular patterns.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <tuple>
#include <vector>

#include "fold/OmLineJoiner.h"

namespace {

using Lengths = std::vector<std::int64_t>;
using Indices = std::vector<std::int32_t>;
using Method = OmLineJoiner::Method;

// The width to pad to, and the start and length of each joined line.
using Outcome = std::tuple<std::int64_t, Indices, Lengths>;

Outcome JoinWith(Method method, const Lengths& lengths, const Indices& breaks, std::int32_t rows,
                 std::int32_t restriction) {
  OmLineJoiner joiner;
  const std::int64_t width = joiner.Join(lengths, breaks, rows, restriction, 99, method);
  return Outcome{width, joiner.Starts(), joiner.Lengths()};
}

TEST(OmLineJoiner, JoinsShortestPairEarliestFirstWithBreakLineQuirks) {
  // Cycle needs a longer pattern; on these it answers as the scan does.
  for (const Method method : {Method::Scan, Method::Queue, Method::Cycle, Method::Bound}) {
    // Joins of 6, 4, 5: the middle first; then 8 and 8, the earlier wins.
    EXPECT_EQ(JoinWith(method, {3, 2, 1, 3}, {}, 2, -1), (Outcome{8, {0, 3}, {8, 3}}));
    // The restriction stops at the first join longer than it.
    EXPECT_EQ(JoinWith(method, {3, 2, 1, 3}, {}, 2, 7), (Outcome{4, {0, 1, 3}, {3, 4, 3}}));
    // 'b' pairs with 'a' past the break line (3) and joins onto index 1.
    EXPECT_EQ(JoinWith(method, {1, 0, 1}, {1}, 1, -1), (Outcome{3, {0, 1}, {1, 2}}));
    // The break index 2 is not shifted: the joined line there is passed over
    // in turn and the last word joins it too; three lines for one row.
    EXPECT_EQ(JoinWith(method, {1, 0, 0, 1, 1}, {1, 2}, 1, -1), (Outcome{3, {0, 1, 2}, {1, 0, 4}}));
    // No candidate at all: the first two lines join with length 0, or with
    // a single line left joining stops.
    EXPECT_EQ(JoinWith(method, {1, 0, 0, 0}, {1, 2, 3}, 0, -1), (Outcome{0, {0, 2, 3}, {2, 0, 0}}));
    EXPECT_EQ(JoinWith(method, {4}, {}, 0, -1), (Outcome{99, {0}, {4}}));
    EXPECT_EQ(JoinWith(method, {}, {}, -1, -1), (Outcome{99, {}, {}}));
  }
}

TEST(OmLineJoiner, TreeAgreesWithScanOnGeneratedLines) {
  std::uint32_t seed = 99;
  auto next = [&seed](std::uint32_t n) {
    seed = seed * 1103515245u + 12345u;
    return (seed >> 16) % n;
  };
  const std::int32_t restrictions[] = {-1, -1, 0, 5, 12, 40, -4};
  for (int round = 0; round < 5000; ++round) {
    // Mostly short inputs; every eighth a long one, with break lines from
    // rare to most of the lines. Unordered break lists go to the scan.
    const std::uint32_t n = 1 + next(round % 8 == 0 ? 400 : 40);
    const std::uint32_t breakShare = next(10);
    Lengths lengths;
    Indices breaks;
    for (std::uint32_t i = 0; i < n; ++i) {
      const bool isBreak = next(10) < breakShare;
      if (isBreak)
        breaks.push_back(static_cast<std::int32_t>(i));
      lengths.push_back(isBreak ? 0 : static_cast<std::int64_t>(next(9)));
    }
    if (round % 50 == 0 && breaks.size() > 1)
      std::swap(breaks.front(), breaks.back());
    const auto rows = static_cast<std::int32_t>(next(7)) - 1;
    const std::int32_t restriction = restrictions[next(7)];
    const Outcome scan = JoinWith(Method::Scan, lengths, breaks, rows, restriction);
    ASSERT_EQ(JoinWith(Method::Queue, lengths, breaks, rows, restriction), scan)
        << "round " << round;
    ASSERT_EQ(JoinWith(Method::Bound, lengths, breaks, rows, restriction), scan)
        << "round " << round;
  }
}

// Words between runs of break lines: the shape the cycle method is for.
// Each round takes a gap pattern repeating with a period of 1 to 9 (9 is
// past what the method takes, so the scan answers), puts irregular lines
// before and after it, and gives words of random lengths, some empty.
TEST(OmLineJoiner, CycleAgreesWithScanOnRepeatingBreakLines) {
  std::uint32_t seed = 7;
  auto next = [&seed](std::uint32_t n) {
    seed = seed * 1103515245u + 12345u;
    return (seed >> 16) % n;
  };
  const std::int32_t restrictions[] = {-1, -1, -1, 0, 6, 30, 200};
  int cycles = 0;
  for (int round = 0; round < 1500; ++round) {
    Lengths lengths;
    Indices breaks;
    auto line = [&](bool isBreak) {
      if (isBreak)
        breaks.push_back(static_cast<std::int32_t>(lengths.size()));
      lengths.push_back(isBreak ? 0 : static_cast<std::int64_t>(next(5) == 0 ? 0 : 1 + next(6)));
    };
    const std::uint32_t head = next(30);
    for (std::uint32_t i = 0; i < head; ++i)
      line(next(3) == 0);
    std::vector<bool> pattern(1 + next(9));
    for (std::size_t i = 0; i < pattern.size(); ++i)
      pattern[i] = i > 0 && next(3) != 0;  // at least one word a period
    const std::uint32_t repeats = 4 + next(round % 10 == 0 ? 300 : 40);
    for (std::uint32_t r = 0; r < repeats; ++r)
      for (const bool isBreak : pattern)
        line(isBreak);
    const std::uint32_t tail = next(4) == 0 ? next(60) : next(3);
    for (std::uint32_t i = 0; i < tail; ++i)
      line(next(4) == 0);
    const auto rows = static_cast<std::int32_t>(next(5)) - 1;
    const std::int32_t restriction = restrictions[next(7)];
    const Outcome scan = JoinWith(Method::Scan, lengths, breaks, rows, restriction);
    ASSERT_EQ(JoinWith(Method::Cycle, lengths, breaks, rows, restriction), scan)
        << "round " << round;
    // The bound method reuses what it learnt of lines that moved by a period.
    ASSERT_EQ(JoinWith(Method::Bound, lengths, breaks, rows, restriction), scan)
        << "round " << round;
    OmLineJoiner joiner;
    joiner.Join(lengths, breaks, rows, restriction, 99, Method::Auto);
    cycles += joiner.Used() == Method::Cycle ? 1 : 0;
  }
  // Most patterns are short enough and repeat often enough for the method.
  EXPECT_GT(cycles, 700);
}

// Words between runs of break lines that follow no pattern: runs of 1 to 2,
// or 1 to 8, or some 20 long, a run length kept for a few words and then
// changed, and words of up to 40 letters among short ones and empty ones.
// The bound method takes these, whatever the pattern, and agrees with the
// scan.
TEST(OmLineJoiner, BoundAgreesWithScanOnIrregularBreakLines) {
  std::uint32_t seed = 11;
  auto next = [&seed](std::uint32_t n) {
    seed = seed * 1103515245u + 12345u;
    return (seed >> 16) % n;
  };
  const std::int32_t restrictions[] = {-1, -1, -1, 2, 5, 12, 60};
  int bound = 0;
  for (int round = 0; round < 1200; ++round) {
    Lengths lengths;
    Indices breaks;
    const std::uint32_t shape = next(4);
    const std::uint32_t words = 20 + next(round % 10 == 0 ? 600 : 80);
    std::uint32_t run = 1;
    for (std::uint32_t w = 0; w < words; ++w) {
      const std::uint32_t size = next(8);
      lengths.push_back(size == 0 ? 0 : size < 6 || shape != 3 ? size % 4 : 5 + next(36));
      if (shape == 0)
        run = 1 + next(2);
      else if (shape == 1)
        run = 1 + next(8);
      else if (shape == 2 && next(4) == 0)
        run = 1 + next(4);
      else if (shape == 3)
        run = next(3) == 0 ? 20 + next(5) : next(3);
      for (std::uint32_t b = 0; b < run; ++b) {
        breaks.push_back(static_cast<std::int32_t>(lengths.size()));
        lengths.push_back(0);
      }
    }
    lengths.push_back(1 + next(3));
    const auto rows = static_cast<std::int32_t>(next(round % 3 == 0 ? 40 : 4));
    const std::int32_t restriction = restrictions[next(7)];
    const Outcome scan = JoinWith(Method::Scan, lengths, breaks, rows, restriction);
    ASSERT_EQ(JoinWith(Method::Bound, lengths, breaks, rows, restriction), scan)
        << "round " << round;
    OmLineJoiner joiner;
    const std::int64_t width = joiner.Join(lengths, breaks, rows, restriction, 99, Method::Auto);
    ASSERT_EQ((Outcome{width, joiner.Starts(), joiner.Lengths()}), scan) << "round " << round;
    bound += joiner.Used() == Method::Bound ? 1 : 0;
  }
  // Every round that joins and has no short repeating pattern.
  EXPECT_GT(bound, 800);
}

}  // namespace
