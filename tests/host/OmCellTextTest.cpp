// Cell texts: numbers format exactly as C printf does in the C locale.
#include "host/OmCellText.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <limits>
#include <random>

namespace {

std::string Printf(const char* format, double value) {
  char buffer[512];
  std::snprintf(buffer, sizeof buffer, format, value);
  return buffer;
}

std::string PrintfDecimals(int decimals, double value) {
  char buffer[512];
  std::snprintf(buffer, sizeof buffer, "%.*f", decimals, value);
  return buffer;
}

const double kValues[] = {0.0,
                          -0.0,
                          1.0,
                          -1.0,
                          0.5,
                          1.5,
                          2.5,
                          -2.5,
                          0.125,
                          0.1,
                          1.0 / 3.0,
                          2.0 / 3.0,
                          53.6,
                          46.2257,
                          -0.9,
                          123456789012345.0,
                          1234567890123456.0,
                          1e15,
                          1e16,
                          1e21,
                          9.999999999999999e22,
                          1e-4,
                          1e-5,
                          0.00001234,
                          1e-300,
                          std::numeric_limits<double>::denorm_min(),
                          std::numeric_limits<double>::min(),
                          std::numeric_limits<double>::max(),
                          -std::numeric_limits<double>::max(),
                          std::numeric_limits<double>::infinity(),
                          -std::numeric_limits<double>::infinity(),
                          std::numeric_limits<double>::quiet_NaN()};

TEST(OmNumberCell, WithoutDecimalsFormatsAsPrintfG15) {
  for (const double value : kValues) {
    EXPECT_EQ(OmNumberCell(value).GetText(), Printf("%.15g", value)) << value;
  }
  EXPECT_EQ(OmNumberCell(-0.0).GetText(), "-0");
  EXPECT_EQ(OmNumberCell(812).GetText(), "812");
  EXPECT_EQ(OmNumberCell(1e16).GetText(), "1e+16");
}

TEST(OmNumberCell, WithDecimalsFormatsAsPrintfFixed) {
  for (const double value : kValues) {
    for (int decimals = 0; decimals <= 20; ++decimals) {
      EXPECT_EQ(OmNumberCell(value, decimals).GetText(), PrintfDecimals(decimals, value))
          << value << " with " << decimals;
    }
  }
  EXPECT_EQ(OmNumberCell(2.5, 0).GetText(), "2");
  EXPECT_EQ(OmNumberCell(-0.0, 1).GetText(), "-0.0");
  EXPECT_EQ(OmNumberCell(100, 1).GetText(), "100.0");
}

// Up to 3 decimals take a shorter path than the general conversion: ties,
// signs that round to zero, the edge of its range and arbitrary bit patterns
// must still come out as printf has them.
TEST(OmNumberCell, FewDecimalsMatchPrintfOnTiesEdgesAndRandomValues) {
  const double edges[] = {0.375,  0.0625, 1.005, 0.045,     -0.001,  -0.00004, 0.00005,
                          2.5e-5, 8.5,    9.5,   899999999999999.5, 4503599627370495.5, 4503599627370496.0,
                          9.0e18, 5e-324, 2.2250738585072014e-308};
  std::mt19937_64 random(7);
  for (int i = 0; i < 50000; ++i) {
    double value = 0;
    if (i < static_cast<int>(std::size(edges))) {
      value = edges[i];
    } else if (i % 2 == 0) {
      const std::uint64_t bits = random();
      std::memcpy(&value, &bits, sizeof value);
    } else {
      // Values on a grid of halves of the last decimal, where ties live.
      value = static_cast<double>(static_cast<std::int64_t>(random() % 2000001) - 1000000) /
              static_cast<double>(std::int64_t{1} << (random() % 16));
    }
    for (int decimals = 0; decimals <= 4; ++decimals) {
      ASSERT_EQ(OmNumberCell(value, decimals).GetText(), PrintfDecimals(decimals, value))
          << value << " with " << decimals;
    }
  }
}

TEST(OmNumberCell, DecimalsOutsideTheRangeAreClamped) {
  EXPECT_EQ(OmNumberCell(1.25, -3).GetText(), "1");
  EXPECT_EQ(OmNumberCell(1.25, 99).GetText(), PrintfDecimals(20, 1.25));
  EXPECT_EQ(OmNumberCell(1.25).Decimals(), -1);
}

TEST(OmCellText, FootnotesAndMarkersKeepTheirOrder) {
  OmStringCell cell("text");
  EXPECT_TRUE(cell.Footnotes().empty());
  EXPECT_TRUE(cell.getMarkers().empty());
  cell.AddFootnote(2);
  cell.AddFootnote(0);
  cell.AddMarker("x");
  cell.AddMarker("y");
  EXPECT_EQ(cell.Footnotes(), (std::vector<std::int16_t>{2, 0}));
  EXPECT_EQ(cell.getMarkers(), (std::vector<std::string>{"x", "y"}));
  EXPECT_EQ(cell.GetText(), "text");
}

}  // namespace
