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

// Restores the default encoding when a test that changes it ends.
class EncodingScope {
 public:
  explicit EncodingScope(OmEncoding encoding) { OmSetEncoding(encoding); }
  ~EncodingScope() { OmSetEncoding(OmEncoding::Utf8); }
};

OmWinFormattedNode Scanned(const std::string& text) {
  return OmWinFormattedNode(text, 1, 1, 0, static_cast<std::int32_t>(text.size()));
}

TEST(OmFormattedNode, DefaultIsOneEmptyCell) {
  OmFormattedNode node;
  EXPECT_TRUE(node.IsEmpty());
  EXPECT_EQ(node.NColumns(), 1);
  EXPECT_EQ(node.NRows(), 1);
  EXPECT_EQ(node.ExtraWidth(), 0);
  EXPECT_EQ(node.NNewLines(), 0);
  EXPECT_EQ(node.Length(), 0);
  EXPECT_TRUE(node.FoldPoints().empty());
}

TEST(OmFormattedNode, StoresArgumentsInTheirOrderWithoutScanning) {
  OmFormattedNode node("a b  ", 3, 4, 5, 6);
  EXPECT_EQ(node.String(), "a b  ");
  EXPECT_EQ(node.NColumns(), 3);
  EXPECT_EQ(node.NRows(), 4);
  EXPECT_EQ(node.ExtraWidth(), 5);
  EXPECT_EQ(node.Length(), 6);
  EXPECT_TRUE(node.FoldPoints().empty());
  node.NNewLines(7);
  EXPECT_EQ(node.NNewLines(), 7);
}

TEST(OmWinFormattedNode, FoldPointsAreBlanksAndLineBreaksByOffset) {
  struct Case {
    std::string text;
    Folds folds;
  };
  const Case cases[] = {
      {"", {}},           {"a b", {1}},     {"a  b", {1, 2}}, {" a", {0}},       {"a\nb", {1}},
      {"a\r\nb", {1, 2}}, {"a \n", {1, 2}}, {"a\tb,c;d", {}}, {"\n\na", {0, 1}}, {" \n ", {0, 1}},
  };
  for (const Case& c : cases) {
    OmWinFormattedNode node = Scanned(c.text);
    EXPECT_EQ(node.FoldPoints(), c.folds) << "text '" << c.text << "'";
  }
  EXPECT_TRUE(Scanned("").IsEmpty());
  // A line feed ends the run of blanks, so nothing is trimmed.
  EXPECT_EQ(Scanned("a \n").String(), "a \n");
  // Only the trailing run goes; a blank before a line break stays.
  EXPECT_EQ(Scanned(" \n ").String(), " \n");
}

TEST(OmWinFormattedNode, TrimsTrailingBlanksButKeepsMeasuredLength) {
  OmWinFormattedNode node("ab  ", 2, 3, 4, 4);
  EXPECT_EQ(node.String(), "ab");
  EXPECT_TRUE(node.FoldPoints().empty());
  EXPECT_EQ(node.Length(), 4);
  EXPECT_EQ(node.NColumns(), 2);
  EXPECT_EQ(node.NRows(), 3);
  EXPECT_EQ(node.ExtraWidth(), 4);

  OmWinFormattedNode words = Scanned("a b   ");
  EXPECT_EQ(words.String(), "a b");
  EXPECT_EQ(words.FoldPoints(), Folds{1});
}

TEST(OmWinFormattedNode, TextOfBlanksOnlyKeepsBlanksWithoutFoldPoints) {
  OmWinFormattedNode node = Scanned("   ");
  EXPECT_EQ(node.String(), "   ");
  EXPECT_TRUE(node.FoldPoints().empty());
  EXPECT_FALSE(node.IsEmpty());
}

TEST(OmWinFormattedNode, StepsOverMultibyteCharacters) {
  // 0x82 0x20 is one double-byte character whose second byte is a blank;
  // in the one-byte readings the same bytes are two characters.
  const std::string text = "\x82\x20 b";
  {
    EncodingScope scope(OmEncoding::DoubleByte);
    EXPECT_EQ(Scanned(text).FoldPoints(), Folds{2});
    EXPECT_EQ(Scanned("\x82\xA0 \x82\xA1\nx").FoldPoints(), (Folds{2, 5}));
    // The character's blank byte is no trailing blank either.
    EXPECT_EQ(Scanned("a\x82\x20").String(), "a\x82\x20");
  }
  {
    EncodingScope scope(OmEncoding::SingleByte);
    EXPECT_EQ(Scanned(text).FoldPoints(), (Folds{1, 2}));
  }
  EXPECT_EQ(Scanned(text).FoldPoints(), (Folds{1, 2}));
  EXPECT_EQ(Scanned("\xC3\xA9 \xE6\x97\xA5 b").FoldPoints(), (Folds{2, 6}));
}

TEST(OmWinFormattedNode, TruncatedCharacterAtTheEndEndsTheScan) {
  // Lead bytes whose characters would run past the end: the scan reads no
  // further (AddressSanitizer builds check this) and keeps the bytes.
  EXPECT_EQ(Scanned("a \xE3").FoldPoints(), Folds{1});
  EXPECT_EQ(Scanned("a \xE3").String(), "a \xE3");
  // The blanks inside the would-be character are not fold points.
  EXPECT_TRUE(Scanned("\xF0  ").FoldPoints().empty());
  EXPECT_EQ(Scanned("\xF0  ").String(), "\xF0  ");
  EncodingScope scope(OmEncoding::DoubleByte);
  EXPECT_EQ(Scanned("ab \x81").FoldPoints(), Folds{2});
}

TEST(OmWinFormattedNode, MatchesReferenceScanOnGeneratedTexts) {
  const char* const pieces[] = {"a",        "bc",           " ",        "  ",   "\n", "\r",
                                "\xC3\xA9", "\xE6\x97\xA5", "\x82\x20", "\x81", "\t"};
  const OmEncoding encodings[] = {OmEncoding::Utf8, OmEncoding::SingleByte, OmEncoding::DoubleByte};
  std::uint32_t seed = 12345;
  auto next = [&seed](std::uint32_t n) {
    seed = seed * 1103515245u + 12345u;
    return (seed >> 16) % n;
  };
  for (const OmEncoding encoding : encodings) {
    EncodingScope scope(encoding);
    for (int round = 0; round < 2000; ++round) {
      std::string text;
      const std::uint32_t count = next(12);
      for (std::uint32_t i = 0; i < count; ++i)
        text += pieces[next(11)];
      const foldref::Node expected = foldref::Scan(text);
      OmWinFormattedNode node = Scanned(text);
      ASSERT_EQ(node.String(), expected.text) << "round " << round;
      ASSERT_EQ(node.FoldPoints(), expected.folds) << "round " << round;
    }
  }
}

}  // namespace
