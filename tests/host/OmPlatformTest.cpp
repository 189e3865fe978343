// Character lengths in the three host encodings.
#include "host/platform/OmPlatform.h"

#include <gtest/gtest.h>

namespace {

int Length(unsigned char byte) {
  const char text[2] = {static_cast<char>(byte), 0};
  return VELDMBmbclen_A(text);
}

TEST(OmPlatform, LeadBytesGiveTheirCharacterLengthInEachEncoding) {
  EXPECT_EQ(qUTF8mode(), 1);
  // Continuation bytes and bytes that start no sequence count as one.
  const std::pair<unsigned char, int> utf8[] = {{'a', 1},  {0x7F, 1}, {0x80, 1}, {0xBF, 1},
                                                {0xC0, 2}, {0xDF, 2}, {0xE0, 3}, {0xEF, 3},
                                                {0xF0, 4}, {0xF7, 4}, {0xF8, 1}, {0xFF, 1}};
  for (const auto& [byte, length] : utf8)
    EXPECT_EQ(Length(byte), length) << int{byte};
  OmSetEncoding(OmEncoding::DoubleByte);
  EXPECT_EQ(qUTF8mode(), 0);
  const std::pair<unsigned char, int> dbcs[] = {
      {'A', 1}, {0x80, 1}, {0x81, 2}, {0xFE, 2}, {0xFF, 1}};
  for (const auto& [byte, length] : dbcs)
    EXPECT_EQ(Length(byte), length) << int{byte};
  OmSetEncoding(OmEncoding::SingleByte);
  EXPECT_EQ(qUTF8mode(), 0);
  for (int byte = 1; byte < 256; ++byte)
    EXPECT_EQ(Length(static_cast<unsigned char>(byte)), 1);
  OmSetEncoding(OmEncoding::Utf8);
}

}  // namespace
