// Formatted nodes: stored geometry, and the fold-point scan with trailing
// blank trimming in the three encodings.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "FoldReference.h"
#include "fold/OmFormattedNode.h"
#include "fold/OmWinFormattedNode.h"
#include "host/OmPlatform.h"

namespace {

using Folds = std::vector<std::int32_t>;

class EncodingScope {
 public:
  explicit EncodingScope(OmEncoding encoding) { OmSetEncoding(encoding); }
  ~EncodingScope() { OmSetEncoding(OmEncoding::Utf8); }
};

// The scanned text and its fold points, as "text" [f1,f2,...].
std::string Scanned(const std::string& text) {
  OmWinFormattedNode node(text, 1, 1, 0, static_cast<std::int32_t>(text.size()));
  std::string out = "'" + node.String() + "' [";
  for (const std::int32_t f : node.FoldPoints())
    out += std::to_string(f) + ",";
  return out + "]";
}

std::string Geometry(const OmFormattedNode& node) {
  return std::to_string(node.NColumns()) + " columns, " + std::to_string(node.NRows()) +
         " rows, extra " + std::to_string(node.ExtraWidth()) + ", length " +
         std::to_string(node.Length());
}

TEST(OmFormattedNode, StoresArgumentsInTheirOrderWithoutScanning) {
  OmFormattedNode empty;
  EXPECT_TRUE(empty.IsEmpty());
  EXPECT_EQ(Geometry(empty), "1 columns, 1 rows, extra 0, length 0");
  OmFormattedNode node("a b  ", 3, 4, 5, 6);
  EXPECT_FALSE(node.IsEmpty());
  EXPECT_EQ(node.String(), "a b  ");
  EXPECT_EQ(Geometry(node), "3 columns, 4 rows, extra 5, length 6");
  EXPECT_TRUE(node.FoldPoints().empty());
  EXPECT_EQ(node.NNewLines(), 0);
  node.NNewLines(7);
  EXPECT_EQ(node.NNewLines(), 7);
}

TEST(OmWinFormattedNode, FoldsAtBlanksAndBreaksAndTrimsTrailingBlanks) {
  EXPECT_EQ(Scanned(""), "'' []");
  EXPECT_EQ(Scanned("a b"), "'a b' [1,]");
  EXPECT_EQ(Scanned("a  b"), "'a  b' [1,2,]");
  EXPECT_EQ(Scanned(" a"), "' a' [0,]");
  EXPECT_EQ(Scanned("a\nb"), "'a\nb' [1,]");
  EXPECT_EQ(Scanned("a\r\nb"), "'a\r\nb' [1,2,]");
  EXPECT_EQ(Scanned("a\tb,c"), "'a\tb,c' []");
  EXPECT_EQ(Scanned("a \n"), "'a \n' [1,2,]");  // the break ends the blanks
  EXPECT_EQ(Scanned("a b   "), "'a b' [1,]");
  // Blanks only: the text stays, the fold points go.
  EXPECT_EQ(Scanned("   "), "'   ' []");
  OmWinFormattedNode trimmed("ab  ", 2, 3, 4, 4);
  EXPECT_EQ(trimmed.String(), "ab");
  // The length stays as measured before trimming.
  EXPECT_EQ(Geometry(trimmed), "2 columns, 3 rows, extra 4, length 4");
}

TEST(OmWinFormattedNode, StepsOverMultibyteCharacters) {
  EXPECT_EQ(Scanned("\xC3\xA9 \xE6\x97\xA5 b"), "'\xC3\xA9 \xE6\x97\xA5 b' [2,6,]");
  // A lead byte at the end claiming more bytes than are left is read and
  // nothing after it (checked by AddressSanitizer builds).
  EXPECT_EQ(Scanned("a \xE3"), "'a \xE3' [1,]");
  // The blanks inside the would-be character are neither fold points nor
  // trailing blanks.
  EXPECT_EQ(Scanned("\xF0  "), "'\xF0  ' []");
  // 0x82 0x20 is one double-byte character whose second byte is a blank.
  EXPECT_EQ(Scanned("\x82\x20 b"), "'\x82\x20 b' [1,2,]");
  EncodingScope scope(OmEncoding::DoubleByte);
  EXPECT_EQ(Scanned("\x82\x20 b"), "'\x82\x20 b' [2,]");
  EXPECT_EQ(Scanned("a\x82\x20"), "'a\x82\x20' []");
  EXPECT_EQ(Scanned("ab \x81"), "'ab \x81' [2,]");
}

TEST(OmWinFormattedNode, MatchesModelScanOnGeneratedTexts) {
  const char* const pieces[] = {"a",        "bc",           " ",        "  ",  "\n", "\r",
                                "\xC3\xA9", "\xE6\x97\xA5", "\x82\x20", "\x81"};
  std::uint32_t seed = 12345;
  auto next = [&seed](std::uint32_t n) {
    seed = seed * 1103515245u + 12345u;
    return (seed >> 16) % n;
  };
  for (const OmEncoding encoding :
       {OmEncoding::Utf8, OmEncoding::SingleByte, OmEncoding::DoubleByte}) {
    EncodingScope scope(encoding);
    for (int round = 0; round < 2000; ++round) {
      std::string text;
      for (std::uint32_t i = next(12); i > 0; --i)
        text += pieces[next(10)];
      Folds folds;
      const std::string expected = foldref::Scan(text, folds);
      OmWinFormattedNode node(text, 1, 1, 0, 0);
      ASSERT_EQ(node.String(), expected) << "round " << round;
      ASSERT_EQ(node.FoldPoints(), folds) << "round " << round;
    }
  }
}

}  // namespace
