// Character lengths in the three host encodings.
#include "host/OmPlatform.h"

#include <gtest/gtest.h>

namespace {

class Encoding : public ::testing::Test {
 protected:
  void TearDown() override { OmSetEncoding(OmEncoding::Utf8); }
  static int Length(unsigned char byte) {
    const char text[2] = {static_cast<char>(byte), 0};
    return VELDMBmbclen_A(text);
  }
};

TEST_F(Encoding, Utf8LeadBytesGiveTheirSequenceLength) {
  EXPECT_EQ(qUTF8mode(), 1);
  EXPECT_EQ(Length('a'), 1);
  EXPECT_EQ(Length(0x7F), 1);
  EXPECT_EQ(Length(0x80), 1);  // a continuation byte on its own
  EXPECT_EQ(Length(0xBF), 1);
  EXPECT_EQ(Length(0xC0), 2);
  EXPECT_EQ(Length(0xDF), 2);
  EXPECT_EQ(Length(0xE0), 3);
  EXPECT_EQ(Length(0xEF), 3);
  EXPECT_EQ(Length(0xF0), 4);
  EXPECT_EQ(Length(0xF7), 4);
  EXPECT_EQ(Length(0xF8), 1);
  EXPECT_EQ(Length(0xFF), 1);
}

TEST_F(Encoding, SingleByteIsAlwaysOne) {
  OmSetEncoding(OmEncoding::SingleByte);
  EXPECT_EQ(qUTF8mode(), 0);
  for (int byte = 1; byte < 256; ++byte) EXPECT_EQ(Length(static_cast<unsigned char>(byte)), 1);
}

TEST_F(Encoding, DoubleByteLeadBytesGiveTwo) {
  OmSetEncoding(OmEncoding::DoubleByte);
  EXPECT_EQ(qUTF8mode(), 0);
  EXPECT_EQ(Length(0x80), 1);
  EXPECT_EQ(Length(0x81), 2);
  EXPECT_EQ(Length(0xFE), 2);
  EXPECT_EQ(Length(0xFF), 1);
  EXPECT_EQ(Length('A'), 1);
}

TEST(HostSettings, PageLengthAndLineWidthDefaultsAndSetters) {
  EXPECT_EQ(getlinemax_(), 60);
  EXPECT_EQ(getlinwid_(), 80);
  OmSetPageLength(0);
  OmSetLineWidth(-1);
  EXPECT_EQ(getlinemax_(), 0);
  EXPECT_EQ(getlinwid_(), -1);
  OmSetPageLength(60);
  OmSetLineWidth(80);
}

}  // namespace
