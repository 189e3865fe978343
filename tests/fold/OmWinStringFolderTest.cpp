// The string folder: measuring, character splitting, wrapping with line
// breaks, widening and cutting, joining back into rows, padding, in the three
// encodings; and inputs the layout never passes, which must neither hang nor
// overflow.
#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "fold/OmFormattedNode.h"
#include "fold/OmWinStringFolder.h"
#include "fold/OmWinStringFolderPrivate.h"
#include "host/platform/OmPlatform.h"

namespace {

using Lines = std::vector<std::string>;

struct Cell {
  std::int32_t rows = 1;
  std::int32_t columns = 1;
  std::int32_t extraWidth = 0;
};

struct Settings {
  std::string separator = "|";
  std::int32_t restriction = -1;
};

constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();

class EncodingScope {
 public:
  explicit EncodingScope(OmEncoding encoding) { OmSetEncoding(encoding); }
  ~EncodingScope() { OmSetEncoding(OmEncoding::Utf8); }
};

OmStringFolder::Options MakeOptions(const Settings& settings) {
  OmStringFolder::Options options;
  options.columnSeparator = settings.separator;
  options.rowSeparator = "-";
  options.widthRestriction = settings.restriction;
  return options;
}

Lines Fold(const std::string& text, std::int32_t width, Cell cell = {}, Settings settings = {},
           bool pad = false, std::int32_t* newLines = nullptr) {
  OmWinStringFolder folder(MakeOptions(settings));
  std::unique_ptr<OmFormattedNode> node =
      folder.MakeNode(text, cell.columns, cell.rows, cell.extraWidth);
  Lines lines;
  const std::int32_t count = folder.SplitString(*node, width, lines, pad);
  EXPECT_EQ(count, static_cast<std::int32_t>(lines.size()));
  if (newLines != nullptr)
    *newLines = node->NNewLines();
  return lines;
}

Lines Pad(const std::string& text, std::int32_t width, Cell cell = {}, Settings settings = {}) {
  return Fold(text, width, cell, settings, true);
}

std::int32_t MinimumWidth(const std::string& text, std::int32_t width, Cell cell,
                          Settings settings = {}) {
  OmWinStringFolder folder(MakeOptions(settings));
  std::unique_ptr<OmFormattedNode> node =
      folder.MakeNode(text, cell.columns, cell.rows, cell.extraWidth);
  return folder.GetMinimumColumnWidth(*node, width);
}

TEST(OmWinStringFolder, MeasuresBytesAndSplitsWholeCharacters) {
  OmWinStringFolderPrivate::Data data(MakeOptions({}));
  EXPECT_EQ(OmWinStringFolder(MakeOptions({})).GetStringLength("a\xC3\xA9"), 3);
  EXPECT_EQ(data.GetNumChars(""), 0);
  EXPECT_EQ(data.GetNumChars("ab  "), 2);
  EXPECT_EQ(data.GetNumChars("   "), 3);
  // A character in the last byte leaves the run of blanks counted.
  EXPECT_EQ(data.GetNumChars("ab  c"), 3);
  EXPECT_EQ(data.GetNumChars("ab  cd"), 6);
  EXPECT_EQ(data.GetNumChars("a  \xC3\xA9"), 4);
  EXPECT_EQ(data.GetNumChars("a \xF0"), 2);  // truncated, in the last byte

  auto split = [&data](std::string s, std::int32_t n) {
    std::string head = "x";
    data.SplitAtLength(s, n, head, s);  // the tail may be the string split
    return head + "/" + s;
  };
  EXPECT_EQ(split("abcdef", 4), "abcd/ef");
  EXPECT_EQ(split("abcdef", 6), "abcdef/");
  EXPECT_EQ(split("abcdef", 0), "/abcdef");
  EXPECT_EQ(split("abcdef", kMin), "/abcdef");
  EXPECT_EQ(split("", -1), "/");
  // n counts characters; one that would be the (n+1)-th goes whole to the
  // tail, as does one whose length runs past the end.
  EXPECT_EQ(split("\xC3\xA9\xC3\xA9z", 1), "\xC3\xA9/\xC3\xA9z");
  EXPECT_EQ(split("ab\xE3", 10), "ab/\xE3");
  EncodingScope scope(OmEncoding::DoubleByte);
  EXPECT_EQ(split("\x82\xA0\x82\xA1\x82\xA2", 2), "\x82\xA0\x82\xA1/\x82\xA2");
  EXPECT_EQ(data.GetNumChars("\x82\x20 "), 1);
}

TEST(OmWinStringFolder, WrapsCollapsesBlanksAndJoinsBackIntoRows) {
  EXPECT_EQ(Fold("hello world", 11), Lines{"hello world"});
  // At 10 the words go on two lines and are joined back for the one row;
  // the join's length, 11, becomes the padding width.
  EXPECT_EQ(Pad("hello world", 10), Lines{"hello world|"});
  EXPECT_EQ(Pad("hello world", 10, {2}), (Lines{"hello     |", "world     |"}));
  EXPECT_EQ(Fold("   a  b c  ", 20), Lines{"a b c"});
  EXPECT_EQ(Fold("   ", 1), Lines{"   "});  // blanks only: one word
  // Shortest join first (4 of 6, 4, 6), then the earliest of equal joins.
  EXPECT_EQ(Fold("aaa bb c dddd", 0, {3}), (Lines{"aaa", "bb c", "dddd"}));
  EXPECT_EQ(Fold("a b c d", 0, {3}), (Lines{"a b", "c", "d"}));
  // A spanning cell adds its separators and extra width to the room:
  // 2 + (3 - 1) x 1 + 3 = 7 holds 'abc def', 6 does not.
  EXPECT_EQ(Fold("abc def", 2, {1, 3, 3}), Lines{"abc def"});
  EXPECT_EQ(Fold("abc def", 2, {2, 3, 2}), (Lines{"abc", "def"}));
  EXPECT_EQ(Fold("a de", 2, {1, 2, 0}, {"||"}), Lines{"a de"});
  EXPECT_EQ(Fold("a de", 2, {2, 2, 0}, {"|"}), (Lines{"a", "de"}));
}

TEST(OmWinStringFolder, LineBreaksGiveEmptyLinesThatRowsDoNotCount) {
  std::int32_t newLines = -1;
  EXPECT_EQ(Fold("\na", 10, {}, {}, false, &newLines), Lines{"a"});
  EXPECT_EQ(newLines, 0);
  EXPECT_EQ(Fold("\n\na", 10, {}, {}, false, &newLines), (Lines{"", "a"}));
  EXPECT_EQ(newLines, 1);
  EXPECT_EQ(Fold("a\n\nb", 10, {3}, {}, false, &newLines), (Lines{"a", "", "b"}));
  EXPECT_EQ(newLines, 1);
  EXPECT_EQ(Fold("a\r\nb", 10, {3}), (Lines{"a", "", "b"}));
  // Joining into one row pairs 'b' with 'a' but joins it onto the break
  // line, and break lines do not count against the rows.
  EXPECT_EQ(Fold("a\n\nb", 10), (Lines{"a", " b"}));
  EXPECT_EQ(Fold("a\n\n\n\nb", 10), (Lines{"a", "", "", " b"}));
  // A word after a blank goes onto the last line, here a break's.
  EXPECT_EQ(Fold("a\n b", 10), (Lines{"a", " b"}));
}

TEST(OmWinStringFolder, WidensUpToRestrictionAndCutsByCharacters) {
  EXPECT_EQ(Fold("abcdefghij", 4, {2}, {"|", 6}), (Lines{"abcdef", "ghij"}));
  // One row: the join (11) exceeds the restriction, so two lines stay.
  EXPECT_EQ(Fold("abcdefghij", 4, {1}, {"|", 6}), (Lines{"abcdef", "ghij"}));
  EXPECT_EQ(Fold("abcdefghij", 4), Lines{"abcdefghij"});
  // The widened width holds for the rest of the text and is padded to.
  EXPECT_EQ(Pad("abcdefghij x", 4, {3}, {"|", 6}), (Lines{"abcdef|", "ghij x|", "      |"}));
  EXPECT_EQ(Fold("abc def", 10, {2}, {"|", 3}), (Lines{"abc", "def"}));
  // Pieces hold the width in characters, whatever their bytes; a truncated
  // character at the end becomes the last piece, and nothing past the text
  // is read.
  EXPECT_EQ(Fold("\xC3\xA9\xC3\xA9\xC3\xA9", 2, {}, {"|", 2}),
            (Lines{"\xC3\xA9\xC3\xA9", "\xC3\xA9"}));
  EXPECT_EQ(Fold("abc\xE3", 3, {}, {"|", 3}), (Lines{"abc", "\xE3"}));
  const std::string dbcs = "\x82\xA0\x82\xA1\x82\xA2";
  {
    EncodingScope scope(OmEncoding::SingleByte);
    EXPECT_EQ(Fold(dbcs, 2, {}, {"|", 2}), (Lines{"\x82\xA0", "\x82\xA1", "\x82\xA2"}));
  }
  EncodingScope scope(OmEncoding::DoubleByte);
  EXPECT_EQ(Fold(dbcs, 2, {}, {"|", 2}), (Lines{"\x82\xA0\x82\xA1", "\x82\xA2"}));
  EXPECT_EQ(Fold("a\x81", 1, {}, {"|", 1}), (Lines{"a", "\x81"}));
}

TEST(OmWinStringFolder, PadsEveryLineAndAddsRows) {
  EXPECT_EQ(Pad(" ", 5), Lines{"     |"});
  EXPECT_EQ(Pad("", 5, {}, {"|", 2}), Lines{"     |"});              // not restricted
  EXPECT_EQ(Pad("abcdefgh", 3, {2}), (Lines{"abcdefgh|", "   |"}));  // never cut
  EXPECT_EQ(Pad("ab", 2, {1, 3, 1}), Lines{"ab   |"});
  EXPECT_EQ(Pad("ab", 3, {}, {""}), Lines{"ab "});
  EXPECT_EQ(Fold("word", 10, {3}), (Lines{"word", "", ""}));

  OmWinStringFolder folder(MakeOptions({}));
  std::unique_ptr<OmFormattedNode> empty = folder.MakeNode();
  Lines lines{"kept"};
  EXPECT_EQ(folder.SplitString(*empty, 3, lines, true), 1);
  EXPECT_EQ(lines, (Lines{"kept", "   |"}));
  EXPECT_EQ(folder.MakeNode("ab  ", 1, 1, 0)->Length(), 4);
}

TEST(OmWinStringFolder, AdjustJoinsGivenStringsAndFillsTheRows) {
  OmWinStringFolderPrivate::Data data(MakeOptions({}));
  OmFormattedNode node("", 1, 3, 0, 0);
  Lines lines{"aaa", "bb", "c", "dddd", "e"};
  EXPECT_EQ(data.AdjustNumberOfStrings(node, 7, lines, {}), 6);
  EXPECT_EQ(lines, (Lines{"aaa", "bb c", "dddd e"}));
  lines = {"x"};
  EXPECT_EQ(data.AdjustNumberOfStrings(node, 7, lines, {}), 7);
  EXPECT_EQ(lines, (Lines{"x", "", ""}));
}

TEST(OmWinStringFolder, MinimumWidthIsWidestLineLessSpan) {
  EXPECT_EQ(MinimumWidth("abcdefgh", 1, {1, 3, 0}), 6);
  EXPECT_EQ(MinimumWidth("abcdefgh", 1, {1, 3, 4}), 2);
  EXPECT_EQ(MinimumWidth("ab", 1, {1, 3, 4}), -4);
  EXPECT_EQ(MinimumWidth("Cumulative Percent", 0, {2}), 10);
  EXPECT_EQ(MinimumWidth("", 7, {}), 0);
}

TEST(OmWinStringFolder, OpenCasesNeitherHangNorOverflow) {
  // Room below 1 cuts single characters.
  EXPECT_EQ(Fold("abc", 0, {3}, {"|", 0}), (Lines{"a", "b", "c"}));
  EXPECT_EQ(Fold("abc", 5, {1}, {"|", -7}), (Lines{"a", "b", "c"}));
  EXPECT_EQ(Fold("ab", kMin, {3}, {"|", kMin}), (Lines{"a", "b", ""}));
  // Rows below 1 join down to one line, or join the first pair when only
  // break lines are left.
  EXPECT_EQ(Fold("abc", 10, {0}), Lines{"abc"});
  EXPECT_EQ(Fold("a b c", 0, {-3}), Lines{"a b c"});
  EXPECT_EQ(Fold("a\n\n\n", 10, {0}), (Lines{"a ", "", ""}));
  // Extreme widths, spans and restrictions (sanitizer builds catch any
  // signed overflow).
  EXPECT_EQ(Fold("a b", kMax, {1, kMax, kMax}, {"||", kMax}), Lines{"a b"});
  EXPECT_EQ(Fold("a b", kMax, {2, kMin, kMin}, {"||"}), (Lines{"a", "b"}));
  EXPECT_EQ(Fold("abc", kMax, {1, kMin, kMin}, {"|", kMax}), Lines{"a b c"});
  EXPECT_EQ(MinimumWidth("abc", 0, {1, kMax, kMax}, {"||"}), kMin);
  EXPECT_EQ(MinimumWidth("abc", kMax, {1, kMin, kMin}, {"||"}), kMax);
  // Fold points that do not ascend inside the text are ignored.
  OmWinStringFolder folder(MakeOptions({}));
  std::unique_ptr<OmFormattedNode> node = folder.MakeNode("ab cd", 1, 2, 0);
  node->FoldPoints() = {-4, 2, 1, 2, 99, 5};
  Lines lines;
  folder.SplitString(*node, 0, lines, false);
  EXPECT_EQ(lines, (Lines{"ab", "cd"}));
}

}  // namespace
