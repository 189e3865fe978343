// The line joiner: the tree method against the direct scan and against the
// step-by-step model on strings, including the break-line rules.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "FoldReference.h"
#include "fold/OmLineJoiner.h"

namespace {

using Lengths = std::vector<std::int64_t>;
using Indices = std::vector<std::int32_t>;
using Method = OmLineJoiner::Method;

struct Outcome {
  std::int64_t width;
  Indices starts;
  Lengths lengths;
};

Outcome JoinWith(Method method, const Lengths& lengths, const Indices& breaks, std::int32_t rows,
                 std::int32_t restriction, std::int64_t width = 99) {
  OmLineJoiner joiner;
  Outcome out;
  out.width = joiner.Join(lengths, breaks, rows, restriction, width, method);
  out.starts = joiner.Starts();
  out.lengths = joiner.Lengths();
  return out;
}

// The model's result, as starts and lengths, from lines of the given lengths.
Outcome Model(const Lengths& lengths, const Indices& breaks, std::int32_t rows,
              std::int32_t restriction, std::int64_t width = 99) {
  std::vector<std::string> lines;
  for (const std::int64_t length : lengths) {
    lines.emplace_back(static_cast<std::size_t>(length), 'x');
  }
  std::vector<std::string> joined = lines;
  Outcome out;
  out.width = foldref::Adjust(foldref::Folder{"|", restriction}, rows,
                              static_cast<std::int32_t>(width), joined, breaks);
  // Each output line is a run of input lines joined by blanks, so the runs
  // can be read back from the lengths: every input line adds at least one.
  std::size_t next = 0;
  for (const std::string& line : joined) {
    if (next >= lines.size())
      break;  // the empty lines added for rows
    out.starts.push_back(static_cast<std::int32_t>(next));
    out.lengths.push_back(static_cast<std::int64_t>(line.size()));
    std::size_t rebuilt = lines[next++].size();
    while (rebuilt < line.size() && next < lines.size())
      rebuilt += 1 + lines[next++].size();
  }
  return out;
}

void ExpectSame(const Outcome& a, const Outcome& b, const std::string& context) {
  ASSERT_EQ(a.width, b.width) << context;
  ASSERT_EQ(a.starts, b.starts) << context;
  ASSERT_EQ(a.lengths, b.lengths) << context;
}

TEST(OmLineJoiner, LeavesLinesAloneWhenTheyFit) {
  const Outcome out = JoinWith(Method::Auto, {3, 0, 5}, {1}, 2, -1, 42);
  EXPECT_EQ(out.width, 42);
  EXPECT_EQ(out.starts, (Indices{0, 1, 2}));
  EXPECT_EQ(out.lengths, (Lengths{3, 0, 5}));
}

TEST(OmLineJoiner, JoinsShortestPairEarliestFirstUntilRestriction) {
  for (const Method method : {Method::Scan, Method::Queue}) {
    // Joins of 6, 4, 5: the middle pair first; then 8 and 8, of which the
    // earlier wins.
    Outcome out = JoinWith(method, {3, 2, 1, 3}, {}, 2, -1);
    EXPECT_EQ(out.starts, (Indices{0, 3})) << static_cast<int>(method);
    EXPECT_EQ(out.lengths, (Lengths{8, 3}));
    EXPECT_EQ(out.width, 8);
    // The restriction stops before the first join longer than it, leaving
    // more lines than rows.
    out = JoinWith(method, {3, 2, 1, 3}, {}, 2, 7);
    EXPECT_EQ(out.starts, (Indices{0, 1, 3}));
    EXPECT_EQ(out.lengths, (Lengths{3, 4, 3}));
    EXPECT_EQ(out.width, 4);
  }
}

TEST(OmLineJoiner, BreakLinesKeepTheirIndicesAndDoNotCount) {
  for (const Method method : {Method::Scan, Method::Queue}) {
    // 'a', break, 'b' into one row: 'b' pairs with 'a' (3) but joins onto the
    // break line at index 1, which starts the joined line with a blank.
    Outcome out = JoinWith(method, {1, 0, 1}, {1}, 1, -1);
    EXPECT_EQ(out.starts, (Indices{0, 1}));
    EXPECT_EQ(out.lengths, (Lengths{1, 2}));
    EXPECT_EQ(out.width, 3);
    // Break lines at 1 and 2: the first join puts the third word onto the
    // break line at 2, which is then passed over in its turn, and the last
    // word joins it there too. Three lines for one row.
    out = JoinWith(method, {1, 0, 0, 1, 1}, {1, 2}, 1, -1);
    EXPECT_EQ(out.starts, (Indices{0, 1, 2}));
    EXPECT_EQ(out.lengths, (Lengths{1, 0, 4}));
    EXPECT_EQ(out.width, 3);
  }
}

TEST(OmLineJoiner, WithoutCandidatesJoinsFirstPairOrStops) {
  for (const Method method : {Method::Scan, Method::Queue}) {
    Outcome out = JoinWith(method, {4}, {}, 0, -1, 7);
    EXPECT_EQ(out.starts, Indices{0});
    EXPECT_EQ(out.width, 7);
    out = JoinWith(method, {1, 0, 0, 0}, {1, 2, 3}, 0, -1, 7);
    EXPECT_EQ(out.starts, (Indices{0, 2, 3}));
    EXPECT_EQ(out.lengths, (Lengths{2, 0, 0}));
    EXPECT_EQ(out.width, 0);
    out = JoinWith(method, {}, {}, -1, -1, 7);
    EXPECT_TRUE(out.starts.empty());
  }
}

TEST(OmLineJoiner, HonoursUnorderedBreakListsAsGiven) {
  const Lengths lengths{2, 0, 3, 0, 1, 4};
  const Indices breaks{3, 1, 9};
  ExpectSame(JoinWith(Method::Queue, lengths, breaks, 1, -1), Model(lengths, breaks, 1, -1),
             "unordered");
  ExpectSame(JoinWith(Method::Auto, lengths, {-2, 3}, 1, -1), Model(lengths, {-2, 3}, 1, -1),
             "negative");
}

class Generator {
 public:
  explicit Generator(std::uint32_t seed) : mSeed(seed) {}
  std::uint32_t Next(std::uint32_t n) {
    mSeed = mSeed * 1103515245u + 12345u;
    return (mSeed >> 16) % n;
  }

 private:
  std::uint32_t mSeed;
};

TEST(OmLineJoiner, TreeAgreesWithScanAndModelOnGeneratedLines) {
  Generator gen(99);
  for (int round = 0; round < 4000; ++round) {
    const std::uint32_t n = 1 + gen.Next(round < 2000 ? 12 : 90);
    Lengths lengths;
    Indices breaks;
    for (std::uint32_t i = 0; i < n; ++i) {
      // Break lines are empty; some other lines are empty too.
      const bool isBreak = gen.Next(4) == 0;
      if (isBreak)
        breaks.push_back(static_cast<std::int32_t>(i));
      lengths.push_back(isBreak ? 0 : static_cast<std::int64_t>(gen.Next(9)));
    }
    const std::int32_t rows = static_cast<std::int32_t>(gen.Next(7)) - 1;
    const std::int32_t restrictions[] = {-1, -1, 0, 5, 12, 40, -4};
    const std::int32_t restriction = restrictions[gen.Next(7)];
    const std::string context = "round " + std::to_string(round);
    const Outcome scan = JoinWith(Method::Scan, lengths, breaks, rows, restriction);
    ExpectSame(JoinWith(Method::Queue, lengths, breaks, rows, restriction), scan, context);
    if (n <= 40)
      ExpectSame(scan, Model(lengths, breaks, rows, restriction), context);
  }
}

TEST(OmLineJoiner, TreeAgreesWithScanOnLongRunsOfBreakLines) {
  Generator gen(5);
  for (int round = 0; round < 200; ++round) {
    Lengths lengths;
    Indices breaks;
    const std::uint32_t n = 50 + gen.Next(300);
    for (std::uint32_t i = 0; i < n; ++i) {
      // Long runs of break lines between few words, and the reverse.
      const bool isBreak = gen.Next(10) < (round % 2 == 0 ? 7u : 1u);
      if (isBreak)
        breaks.push_back(static_cast<std::int32_t>(i));
      lengths.push_back(isBreak ? 0 : 1 + static_cast<std::int64_t>(gen.Next(5)));
    }
    const std::int32_t rows = static_cast<std::int32_t>(gen.Next(4));
    ExpectSame(JoinWith(Method::Queue, lengths, breaks, rows, -1),
               JoinWith(Method::Scan, lengths, breaks, rows, -1), "round " + std::to_string(round));
  }
}

}  // namespace
