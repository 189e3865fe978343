// Number cells format exactly as C printf does in the C locale, whichever
// path the conversion takes.
#include "host/output/OmCellText.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>

namespace {

std::string Printf(int decimals, double value) {
  char buffer[512];
  decimals < 0 ? std::snprintf(buffer, sizeof buffer, "%.15g", value)
               : std::snprintf(buffer, sizeof buffer, "%.*f", decimals, value);
  return buffer;
}

using Limits = std::numeric_limits<double>;
const double kTiny = Limits::denorm_min(), kMin = Limits::min(), kMax = Limits::max();
const double kInf = Limits::infinity(), kNaN = Limits::quiet_NaN();

TEST(OmNumberCell, FormatsAsPrintfG15OrFixedOnEdgeValues) {
  // Ties, signs that round to zero and the edges of the short path for few
  // decimals among them.
  // clang-format off
  const double values[] = {0.0, -0.0, 1.0, -1.0, 0.5, 1.5, 2.5, -2.5, 0.125, 0.1, 1.0 / 3.0,
      2.0 / 3.0, 53.6, 46.2257, -0.9, 123456789012345.0, 1234567890123456.0, 1e15, 1e16, 1e21,
      9.999999999999999e22, 1e-4, 1e-5, 0.00001234, 1e-300, kTiny, kMin, kMax, -kMax, kInf, -kInf,
      kNaN, 0.375, 0.0625, 1.005, 0.045, -0.001, -0.00004, 0.00005, 2.5e-5, 8.5, 9.5,
      899999999999999.5, 4503599627370495.5, 4503599627370496.0, 9.0e18, 2.2250738585072014e-308};
  // clang-format on
  for (const double value : values) {
    EXPECT_EQ(OmNumberCell(value).GetText(), Printf(-1, value)) << value;
    for (int decimals = 0; decimals <= 20; ++decimals) {
      EXPECT_EQ(OmNumberCell(value, decimals).GetText(), Printf(decimals, value))
          << value << " with " << decimals;
    }
  }
  // Decimals outside 0 to 20 are clamped.
  EXPECT_EQ(OmNumberCell(1.25, -3).GetText(), "1");
  EXPECT_EQ(OmNumberCell(1.25, 99).GetText(), Printf(20, 1.25));
}

// A few decimals take a shorter path than the general conversion:
// arbitrary bit patterns and values where ties live must still come out as
// printf has them.
TEST(OmNumberCell, FewDecimalsMatchPrintfOnRandomValues) {
  std::mt19937_64 random(7);
  for (int i = 0; i < 50000; ++i) {
    double value = 0;
    if (i % 2 == 0) {
      const std::uint64_t bits = random();
      std::memcpy(&value, &bits, sizeof value);
    } else {
      // Values on a grid of halves of the last decimal, where ties live.
      value = static_cast<double>(static_cast<std::int64_t>(random() % 2000001) - 1000000) /
              static_cast<double>(std::int64_t{1} << (random() % 16));
    }
    for (int decimals = 0; decimals <= 4; ++decimals) {
      ASSERT_EQ(OmNumberCell(value, decimals).GetText(), Printf(decimals, value))
          << value << " with " << decimals;
    }
  }
}

}  // namespace
