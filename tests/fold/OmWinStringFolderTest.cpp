// The string folder: measuring, character splitting, wrapping with line
// breaks, widening and cutting, joining back into rows, padding; inputs the
// description leaves open; and agreement with the step-by-step model on
// generated texts in the three encodings.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "FoldReference.h"
#include "fold/OmFormattedNode.h"
#include "fold/OmWinFormattedNode.h"
#include "fold/OmWinStringFolder.h"
#include "fold/OmWinStringFolderPrivate.h"
#include "host/OmPlatform.h"

namespace {

using Lines = std::vector<std::string>;
using foldref::Cell;
using foldref::Settings;
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
  OmWinStringFolder::Data data(MakeOptions({}));
  EXPECT_EQ(OmWinStringFolder(MakeOptions({})).GetStringLength("a\xC3\xA9"), 3);
  EXPECT_EQ(data.GetNumChars(""), 0);
  EXPECT_EQ(data.GetNumChars("ab  "), 2);
  EXPECT_EQ(data.GetNumChars("   "), 3);
  // A character in the last byte leaves the run of blanks counted.
  EXPECT_EQ(data.GetNumChars("ab  c"), 3);
  EXPECT_EQ(data.GetNumChars(" a"), 1);
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
  EXPECT_EQ(Fold("a\nb", 10, {2}), (Lines{"a", "b"}));
  // Joining into one row pairs 'b' with 'a' but joins it onto the break
  // line, and break lines do not count against the rows.
  EXPECT_EQ(Fold("a\n\nb", 10), (Lines{"a", " b"}));
  EXPECT_EQ(Fold("a\n\n\n\nb", 10), (Lines{"a", "", "", " b"}));
  // A word after a blank goes onto the last line, here a break's.
  EXPECT_EQ(Fold("a\n b", 10), (Lines{"a", " b"}));

  OmWinStringFolder::Data data(MakeOptions({}));
  OmWinFormattedNode node("\n\na\n\nb", 1, 5, 0, 6);
  data.Fold(node, 10);
  EXPECT_EQ(data.breakLines, (std::vector<std::int32_t>{0, 2}));
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

TEST(OmWinStringFolder, MinimumWidthIsWidestLineLessSpan) {
  EXPECT_EQ(MinimumWidth("abcdefgh", 1, {1, 3, 0}), 6);
  EXPECT_EQ(MinimumWidth("abcdefgh", 1, {1, 3, 4}), 2);
  EXPECT_EQ(MinimumWidth("ab", 1, {1, 3, 4}), -4);
  EXPECT_EQ(MinimumWidth("Cumulative Percent", 0, {2}), 10);
  EXPECT_EQ(MinimumWidth("Cumulative Percent", 0, {1}), 18);
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

// A small generator of texts of words, blanks and breaks in all encodings.
class Generator {
 public:
  explicit Generator(std::uint32_t seed) : mSeed(seed) {}
  std::int32_t Between(std::int32_t low, std::int32_t high) {
    mSeed = mSeed * 1103515245u + 12345u;
    return low +
           static_cast<std::int32_t>((mSeed >> 16) % static_cast<std::uint32_t>(high - low + 1));
  }
  std::string Text(std::int32_t tokens) {
    static const char* const kWords[] = {"a",
                                         "bb",
                                         "ccc",
                                         "dddddd",
                                         "eeeeeeeeeee",
                                         "\xC3\xA9",
                                         "x\xE6\x97\xA5y",
                                         "\x82\xA0\x82\xA1",
                                         "zz\xF0",
                                         "\x81"};
    static const char* const kGaps[] = {" ",    " ",    " ",   "  ",  "\n",
                                        "\n\n", "\r\n", " \n", "\n ", "\n\n\n"};
    std::string text = Between(0, 3) == 0 ? kGaps[Between(0, 9)] : "";
    for (std::int32_t i = 0; i < tokens; ++i) {
      text += kWords[Between(0, 9)];
      text += i + 1 < tokens || Between(0, 3) == 0 ? kGaps[Between(0, 9)] : "";
    }
    return text;
  }

 private:
  std::uint32_t mSeed;
};

void ExpectSameAsModel(const std::string& text, std::int32_t width, const Cell& cell,
                       const Settings& settings, bool pad, int round) {
  std::int32_t newLines = 0;
  std::int32_t expectedNewLines = 0;
  const Lines expected = foldref::Split(settings, cell, text, width, pad, expectedNewLines);
  ASSERT_EQ(Fold(text, width, cell, settings, pad, &newLines), expected)
      << "round " << round << " text '" << text << "'";
  ASSERT_EQ(newLines, expectedNewLines) << "round " << round;
  std::int64_t widest = 0;
  for (const std::string& line : foldref::Split(settings, cell, text, width, false, newLines)) {
    widest = std::max<std::int64_t>(widest, static_cast<std::int64_t>(line.size()));
  }
  ASSERT_EQ(
      MinimumWidth(text, width, cell, settings),
      widest - cell.extraWidth -
          (std::int64_t{cell.columns} - 1) * static_cast<std::int64_t>(settings.separator.size()))
      << "round " << round;
}

TEST(OmWinStringFolder, MatchesModelOnGeneratedTexts) {
  Generator gen(2024);
  const char* const separators[] = {"|", "", "||"};
  for (const OmEncoding encoding :
       {OmEncoding::Utf8, OmEncoding::SingleByte, OmEncoding::DoubleByte}) {
    EncodingScope scope(encoding);
    for (int round = 0; round < 3000; ++round) {
      const std::string text = gen.Text(gen.Between(0, 8));
      const std::int32_t restrictions[] = {-1, -1, -1, 0, -3, gen.Between(1, 14), kMax};
      const Settings settings{separators[gen.Between(0, 2)], restrictions[gen.Between(0, 6)]};
      const Cell cell{gen.Between(0, 5), gen.Between(1, 3), gen.Between(-2, 3)};
      ExpectSameAsModel(text, gen.Between(-1, 14), cell, settings, gen.Between(0, 1) == 1, round);
    }
  }
}

TEST(OmWinStringFolder, MatchesModelOnLongTexts) {
  // Many lines joined back into a few rows; with no or few line breaks the
  // join goes through the tree.
  Generator gen(77);
  for (int round = 0; round < 300; ++round) {
    EncodingScope scope(round % 4 == 0 ? OmEncoding::DoubleByte : OmEncoding::Utf8);
    std::string text = gen.Text(gen.Between(40, 200));
    std::size_t keep = round % 3 == 0 ? text.size() : static_cast<std::size_t>(round % 3 - 1);
    for (char& c : text) {
      if (c != '\n' && c != '\r')
        continue;
      if (keep == 0) {
        c = ' ';
      } else {
        --keep;
      }
    }
    const std::int32_t restrictions[] = {-1, -1, gen.Between(1, 30), gen.Between(30, 300)};
    ExpectSameAsModel(text, gen.Between(0, 12), Cell{gen.Between(1, 6)},
                      Settings{"|", restrictions[gen.Between(0, 3)]}, gen.Between(0, 1) == 1,
                      round);
  }
}

TEST(OmWinStringFolder, AdjustMatchesModelOnStringLists) {
  // The record's join on strings, also with break lists in any order.
  Generator gen(3);
  for (int round = 0; round < 2000; ++round) {
    Lines lines;
    std::vector<std::int32_t> breaks;
    for (std::int32_t i = gen.Between(0, 60); i > 0; --i) {
      if (gen.Between(0, 4) == 0)
        breaks.push_back(static_cast<std::int32_t>(lines.size()));
      lines.push_back(gen.Between(0, 4) == 0 ? "" : gen.Text(1));
    }
    if (round % 10 == 0)
      std::reverse(breaks.begin(), breaks.end());
    const std::int32_t rows = gen.Between(-1, 5);
    const Settings settings{"|", round % 2 == 0 ? -1 : gen.Between(0, 40)};
    Lines expected = lines;
    const std::int32_t width = foldref::Adjust(settings, rows, 7, expected, breaks);
    OmWinStringFolder::Data data(MakeOptions(settings));
    OmFormattedNode node("", 1, rows, 0, 0);
    ASSERT_EQ(data.AdjustNumberOfStrings(node, 7, lines, breaks), width) << "round " << round;
    ASSERT_EQ(lines, expected) << "round " << round;
  }
}

}  // namespace
