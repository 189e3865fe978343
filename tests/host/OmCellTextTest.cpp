// Cell texts: numbers format exactly as C printf does in the C locale.
#include "host/OmCellText.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>

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
