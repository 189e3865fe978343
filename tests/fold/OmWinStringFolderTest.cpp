// The string folder: measuring, character splitting, word-wrapping with line
// breaks, widening and cutting, joining back into rows, padding; the cases
// the description leaves open; and agreement with a step-by-step model on
// generated texts in the three encodings.
#include <gtest/gtest.h>

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
constexpr std::int32_t kMax = std::numeric_limits<std::int32_t>::max();
constexpr std::int32_t kMin = std::numeric_limits<std::int32_t>::min();

class EncodingScope {
 public:
  explicit EncodingScope(OmEncoding encoding) { OmSetEncoding(encoding); }
  ~EncodingScope() { OmSetEncoding(OmEncoding::Utf8); }
};

// Where a cell sits: the node's geometry.
struct Cell {
  std::int32_t rows = 1;
  std::int32_t columns = 1;
  std::int32_t extraWidth = 0;
};

OmStringFolder::Options MakeOptions(std::int32_t restriction = -1, std::string separator = "|") {
  OmStringFolder::Options options;
  options.columnSeparator = std::move(separator);
  options.rowSeparator = "-";
  options.widthRestriction = restriction;
  return options;
}

struct Folded {
  Lines lines;
  std::int32_t count = 0;
  std::int32_t newLines = 0;
};

Folded Fold(const std::string& text, std::int32_t width, Cell cell = {},
            const OmStringFolder::Options& options = MakeOptions(), bool pad = false) {
  OmWinStringFolder folder(options);
  std::unique_ptr<OmFormattedNode> node =
      folder.MakeNode(text, cell.columns, cell.rows, cell.extraWidth);
  Folded out;
  out.count = folder.SplitString(*node, width, out.lines, pad);
  out.newLines = node->NNewLines();
  return out;
}

Lines FoldLines(const std::string& text, std::int32_t width, Cell cell = {},
                const OmStringFolder::Options& options = MakeOptions()) {
  return Fold(text, width, cell, options).lines;
}

Lines PadLines(const std::string& text, std::int32_t width, Cell cell = {},
               const OmStringFolder::Options& options = MakeOptions()) {
  return Fold(text, width, cell, options, true).lines;
}

// ---------------------------------------------------------------------------
// The record's string operations.

TEST(OmWinStringFolder, MeasuresBytesNotCharacters) {
  OmWinStringFolder folder(MakeOptions());
  EXPECT_EQ(folder.GetStringLength(""), 0);
  EXPECT_EQ(folder.GetStringLength("\xC3\xA9"), 2);
  EXPECT_EQ(folder.GetStringLength("a\xE6\x97\xA5"), 4);
}

TEST(OmWinStringFolder, CountsCharactersWithoutTrailingBlanks) {
  OmWinStringFolder::Data data(MakeOptions());
  EXPECT_EQ(data.GetNumChars(""), 0);
  EXPECT_EQ(data.GetNumChars("ab  "), 2);
  EXPECT_EQ(data.GetNumChars("   "), 3);
  EXPECT_EQ(data.GetNumChars("ab  c"), 3);  // the last byte keeps the blanks counted
  EXPECT_EQ(data.GetNumChars("ab  cd"), 6);
  // The same rule counts a leading blank as trailing when one byte follows.
  EXPECT_EQ(data.GetNumChars(" a"), 1);
  EXPECT_EQ(data.GetNumChars(" ab"), 3);
  EXPECT_EQ(data.GetNumChars("\xC3\xA9\xC3\xA9 "), 2);
  // A two-byte last character does not start in the last byte.
  EXPECT_EQ(data.GetNumChars("a  \xC3\xA9"), 4);
  // A truncated lead byte in the last byte is read and nothing after it.
  EXPECT_EQ(data.GetNumChars("a \xF0"), 2);
  EncodingScope scope(OmEncoding::DoubleByte);
  EXPECT_EQ(data.GetNumChars("\x82\xA0\x82\xA0"), 2);
  EXPECT_EQ(data.GetNumChars("\x82\x20 "), 1);
}

TEST(OmWinStringFolder, SplitsAtWholeCharacters) {
  OmWinStringFolder::Data data(MakeOptions());
  std::string head = "x";
  std::string tail = "y";
  auto split = [&](const std::string& s, std::int32_t n) {
    data.SplitAtLength(s, n, head, tail);
    return head + "|" + tail;
  };
  EXPECT_EQ(split("abcdef", 4), "abcd|ef");
  EXPECT_EQ(split("abcdef", 6), "abcdef|");
  EXPECT_EQ(split("abcdef", kMax), "abcdef|");
  EXPECT_EQ(split("abcdef", 0), "|abcdef");
  EXPECT_EQ(split("abcdef", -1), "|abcdef");
  EXPECT_EQ(split("abcdef", kMin), "|abcdef");
  EXPECT_EQ(split("", 0), "|");
  EXPECT_EQ(split("", -1), "|");
  // A two-byte character that would be the third goes whole into the tail;
  // n counts characters, not bytes.
  EXPECT_EQ(split("ab\xC3\xA9z", 2), "ab|\xC3\xA9z");
  EXPECT_EQ(split("\xC3\xA9\xC3\xA9z", 2), "\xC3\xA9\xC3\xA9|z");
  // A character running past the end goes to the tail, whatever n is.
  EXPECT_EQ(split("ab\xE3", 10), "ab|\xE3");
  EXPECT_EQ(split("\xE3", 10), "|\xE3");
  // The tail may be the string being split.
  std::string rest = "abcdef";
  data.SplitAtLength(rest, 2, head, rest);
  EXPECT_EQ(head, "ab");
  EXPECT_EQ(rest, "cdef");
  {
    EncodingScope scope(OmEncoding::DoubleByte);
    EXPECT_EQ(split("\x82\xA0\x82\xA1\x82\xA2", 2), "\x82\xA0\x82\xA1|\x82\xA2");
  }
  {
    EncodingScope scope(OmEncoding::SingleByte);
    EXPECT_EQ(split("\x82\xA0\x82\xA1\x82\xA2", 2), "\x82\xA0|\x82\xA1\x82\xA2");
  }
}

// ---------------------------------------------------------------------------
// Word-wrapping.

TEST(OmWinStringFolder, KeepsRoomForTheJoiningBlank) {
  const Folded at11 = Fold("hello world", 11);
  EXPECT_EQ(at11.lines, Lines{"hello world"});
  EXPECT_EQ(at11.count, 1);
  // At 10 the words go on two lines and are joined back for the one row; the
  // join's length becomes the padding width.
  EXPECT_EQ(FoldLines("hello world", 10), Lines{"hello world"});
  EXPECT_EQ(PadLines("hello world", 10), Lines{"hello world|"});
  // With two rows they stay apart and pad to the width.
  EXPECT_EQ(FoldLines("hello world", 10, Cell{2}), (Lines{"hello", "world"}));
  EXPECT_EQ(PadLines("hello world", 10, Cell{2}), (Lines{"hello     |", "world     |"}));
}

TEST(OmWinStringFolder, CollapsesBlankRunsAndDropsLeadingBlanks) {
  EXPECT_EQ(FoldLines("a  b", 20), Lines{"a b"});
  EXPECT_EQ(FoldLines(" a", 20), Lines{"a"});
  EXPECT_EQ(FoldLines("   a   b  c  ", 20), Lines{"a b c"});
  // A text of blanks only has no fold points and is one word.
  EXPECT_EQ(FoldLines("   ", 1), Lines{"   "});
}

TEST(OmWinStringFolder, LineBreaksGiveEmptyLines) {
  const Folded leading = Fold("\na", 10);
  EXPECT_EQ(leading.lines, Lines{"a"});
  EXPECT_EQ(leading.newLines, 0);

  const Folded twice = Fold("\n\na", 10);
  EXPECT_EQ(twice.lines, (Lines{"", "a"}));
  EXPECT_EQ(twice.newLines, 1);

  const Folded three = Fold("a\n\nb", 10, Cell{3});
  EXPECT_EQ(three.lines, (Lines{"a", "", "b"}));
  EXPECT_EQ(three.newLines, 1);
  EXPECT_EQ(FoldLines("a\r\nb", 10, Cell{3}), (Lines{"a", "", "b"}));
  // A single break starts a new line without an empty one.
  EXPECT_EQ(FoldLines("a\nb", 10, Cell{2}), (Lines{"a", "b"}));

  // The record sees the break-line indices.
  OmWinStringFolder::Data data(MakeOptions());
  OmWinFormattedNode node("\n\na\n\nb", 1, 5, 0, 6);
  data.Fold(node, 10);
  EXPECT_EQ(data.breakLines, (std::vector<std::int32_t>{0, 2}));
  EXPECT_EQ(node.NNewLines(), 2);
}

TEST(OmWinStringFolder, WordAfterBreakAndBlankJoinsTheEmptyLine) {
  // The word after a blank goes onto the current last line, which here is
  // the empty line of the break, measured by the line before it.
  EXPECT_EQ(FoldLines("a\n b", 10), (Lines{"a", " b"}));
  // After two breaks the word lands on the second empty line.
  EXPECT_EQ(FoldLines("a\n\n b", 10), (Lines{"a", "", " b"}));
}

TEST(OmWinStringFolder, JoinAcrossBreakLineStartsWithBlank) {
  // The break line's index is not shifted, and the join after it pairs the
  // line before it with the break line itself.
  EXPECT_EQ(FoldLines("a\n\nb", 10), (Lines{"a", " b"}));
  // Break lines do not count against the rows, so more lines than rows stay.
  EXPECT_EQ(FoldLines("a\n\n\n\nb", 10), (Lines{"a", "", "", " b"}));
}

TEST(OmWinStringFolder, JoinsShortestNeighboursFirst) {
  // Width 0 puts every word on its own line; two rows keep one join back.
  EXPECT_EQ(FoldLines("aaa bb c dddd", 0, Cell{3}), (Lines{"aaa", "bb c", "dddd"}));
  // Equal joins: the earliest pair wins.
  EXPECT_EQ(FoldLines("a b c d", 0, Cell{3}), (Lines{"a b", "c", "d"}));
  EXPECT_EQ(FoldLines("a b c d", 0, Cell{2}), (Lines{"a b", "c d"}));
}

TEST(OmWinStringFolder, WidensUpToRestrictionThenCutsByCharacters) {
  EXPECT_EQ(FoldLines("abcdefghij", 4, Cell{2}, MakeOptions(6)), (Lines{"abcdef", "ghij"}));
  // One row: the join (11) would exceed the restriction, so two lines stay.
  const Folded one = Fold("abcdefghij", 4, Cell{1}, MakeOptions(6));
  EXPECT_EQ(one.lines, (Lines{"abcdef", "ghij"}));
  EXPECT_EQ(one.count, 2);
  // The widened width stays for the rest of the text and is padded to.
  EXPECT_EQ(PadLines("abcdefghij x", 4, Cell{3}, MakeOptions(6)),
            (Lines{"abcdef|", "ghij x|", "      |"}));
  // Without a restriction a long word simply overflows.
  EXPECT_EQ(FoldLines("abcdefghij", 4), Lines{"abcdefghij"});
  // A restriction narrower than the width narrows it.
  EXPECT_EQ(FoldLines("abc def", 10, Cell{2}, MakeOptions(3)), (Lines{"abc", "def"}));
}

TEST(OmWinStringFolder, SpanningCellUsesSeparatorsAndExtraWidth) {
  // Three columns with a one-byte separator and 3 extra give 2 + 2 + 3 = 7
  // beyond the width 2 of the first; 'abc def' needs 7 and one more.
  EXPECT_EQ(FoldLines("abc def", 2, Cell{1, 3, 3}), Lines{"abc def"});
  EXPECT_EQ(FoldLines("abc def", 2, Cell{2, 3, 2}), (Lines{"abc", "def"}));
  EXPECT_EQ(PadLines("ab", 2, Cell{1, 3, 1}), Lines{"ab   |"});
  // A two-byte separator counts two positions per boundary.
  EXPECT_EQ(FoldLines("a de", 2, Cell{1, 2, 0}, MakeOptions(-1, "||")), Lines{"a de"});
  EXPECT_EQ(FoldLines("a de", 2, Cell{2, 2, 0}, MakeOptions(-1, "|")), (Lines{"a", "de"}));
}

TEST(OmWinStringFolder, PadsEveryLineAndClosesWithSeparator) {
  EXPECT_EQ(PadLines(" ", 5), Lines{"     |"});
  EXPECT_EQ(PadLines("", 5), Lines{"     |"});
  // An empty or blank text ignores the width restriction.
  EXPECT_EQ(PadLines("", 5, Cell{}, MakeOptions(2)), Lines{"     |"});
  // A line longer than the cell is not cut.
  EXPECT_EQ(PadLines("abcdefgh", 3, Cell{2}), (Lines{"abcdefgh|", "   |"}));
  EXPECT_EQ(PadLines("ab", 3, Cell{}, MakeOptions(-1, "")), Lines{"ab "});
  // Without pad nothing is added.
  EXPECT_EQ(FoldLines("ab", 5), Lines{"ab"});
}

TEST(OmWinStringFolder, AddsEmptyLinesUpToRows) {
  const Folded folded = Fold("word", 10, Cell{3});
  EXPECT_EQ(folded.lines, (Lines{"word", "", ""}));
  EXPECT_EQ(folded.count, 3);
  EXPECT_EQ(PadLines("word", 4, Cell{3}), (Lines{"word|", "    |", "    |"}));
}

TEST(OmWinStringFolder, AppendsAfterExistingLines) {
  OmWinStringFolder folder(MakeOptions());
  std::unique_ptr<OmFormattedNode> node = folder.MakeNode("a b", 1, 2, 0);
  Lines lines{"kept"};
  EXPECT_EQ(folder.SplitString(*node, 0, lines, false), 2);
  EXPECT_EQ(lines, (Lines{"kept", "a", "b"}));
}

TEST(OmWinStringFolder, ArgumentlessNodeIsEmptyPlainNode) {
  OmWinStringFolder folder(MakeOptions());
  std::unique_ptr<OmFormattedNode> node = folder.MakeNode();
  EXPECT_TRUE(node->IsEmpty());
  EXPECT_EQ(dynamic_cast<OmWinFormattedNode*>(node.get()), nullptr);
  EXPECT_NE(dynamic_cast<OmWinFormattedNode*>(folder.MakeNode("x", 1, 1, 0).get()), nullptr);
  EXPECT_EQ(folder.MakeNode("ab  ", 1, 1, 0)->Length(), 4);
  Lines lines;
  EXPECT_EQ(folder.SplitString(*node, 3, lines, true), 1);
  EXPECT_EQ(lines, Lines{"   |"});
}

// ---------------------------------------------------------------------------
// Minimum column width.

TEST(OmWinStringFolder, MinimumWidthOfSpanningCellDeductsSeparatorsAndExtra) {
  OmWinStringFolder folder(MakeOptions());
  std::unique_ptr<OmFormattedNode> node = folder.MakeNode("abcdefgh", 3, 1, 0);
  EXPECT_EQ(folder.GetMinimumColumnWidth(*node, 1), 6);
  std::unique_ptr<OmFormattedNode> extra = folder.MakeNode("abcdefgh", 3, 1, 4);
  EXPECT_EQ(folder.GetMinimumColumnWidth(*extra, 1), 2);
  std::unique_ptr<OmFormattedNode> roomy = folder.MakeNode("ab", 3, 1, 4);
  EXPECT_EQ(folder.GetMinimumColumnWidth(*roomy, 1), -4);
}

TEST(OmWinStringFolder, MinimumWidthIsWidestFoldedLine) {
  OmWinStringFolder folder(MakeOptions());
  std::unique_ptr<OmFormattedNode> two = folder.MakeNode("Cumulative Percent", 1, 2, 0);
  EXPECT_EQ(folder.GetMinimumColumnWidth(*two, 0), 10);
  std::unique_ptr<OmFormattedNode> one = folder.MakeNode("Cumulative Percent", 1, 1, 0);
  EXPECT_EQ(folder.GetMinimumColumnWidth(*one, 0), 18);
  std::unique_ptr<OmFormattedNode> breaks = folder.MakeNode("ab\n\ncd", 1, 3, 0);
  EXPECT_EQ(folder.GetMinimumColumnWidth(*breaks, 0), 2);
  EXPECT_EQ(breaks->NNewLines(), 1);
  std::unique_ptr<OmFormattedNode> empty = folder.MakeNode();
  EXPECT_EQ(folder.GetMinimumColumnWidth(*empty, 7), 0);
}

// ---------------------------------------------------------------------------
// Multibyte text.

TEST(OmWinStringFolder, CutsLongWordsBetweenCharactersInEveryEncoding) {
  // Pieces hold at most the width in characters, whatever their bytes.
  EXPECT_EQ(FoldLines("\xC3\xA9\xC3\xA9\xC3\xA9", 2, Cell{}, MakeOptions(2)),
            (Lines{"\xC3\xA9\xC3\xA9", "\xC3\xA9"}));
  EXPECT_EQ(FoldLines("\xE6\x97\xA5\xE6\x97\xA5x", 1, Cell{}, MakeOptions(1)),
            (Lines{"\xE6\x97\xA5", "\xE6\x97\xA5", "x"}));
  const std::string dbcs = "\x82\xA0\x82\xA1\x82\xA2";
  {
    EncodingScope scope(OmEncoding::DoubleByte);
    EXPECT_EQ(FoldLines(dbcs, 2, Cell{}, MakeOptions(2)), (Lines{"\x82\xA0\x82\xA1", "\x82\xA2"}));
  }
  {
    EncodingScope scope(OmEncoding::SingleByte);
    EXPECT_EQ(FoldLines(dbcs, 2, Cell{}, MakeOptions(2)),
              (Lines{"\x82\xA0", "\x82\xA1", "\x82\xA2"}));
  }
}

TEST(OmWinStringFolder, TruncatedCharacterNeverReadsPastText) {
  // A lead byte at the end that claims more bytes than are left: the cut
  // takes it as the last piece, and ASan builds check that nothing past the
  // text is read.
  EXPECT_EQ(FoldLines("ab\xF0", 1, Cell{}, MakeOptions(1)), (Lines{"a", "b", "\xF0"}));
  EXPECT_EQ(FoldLines("abc\xE3", 3, Cell{}, MakeOptions(3)), (Lines{"abc", "\xE3"}));
  EXPECT_EQ(FoldLines("x \xE3", 10), Lines{"x \xE3"});
  EncodingScope scope(OmEncoding::DoubleByte);
  EXPECT_EQ(FoldLines("a\x81", 1, Cell{}, MakeOptions(1)), (Lines{"a", "\x81"}));
}

// ---------------------------------------------------------------------------
// Inputs the description leaves open, and extreme values.

TEST(OmWinStringFolder, WidthBelowOneCutsSingleCharacters) {
  EXPECT_EQ(FoldLines("abc", 0, Cell{3}, MakeOptions(0)), (Lines{"a", "b", "c"}));
  EXPECT_EQ(FoldLines("abc", 5, Cell{3}, MakeOptions(-7)), (Lines{"a", "b", "c"}));
  EXPECT_EQ(FoldLines("ab", kMin, Cell{3}, MakeOptions(kMin)), (Lines{"a", "b", ""}));
  EXPECT_EQ(FoldLines("\xC3\xA9\xC3\xA9", 0, Cell{2}, MakeOptions(0)),
            (Lines{"\xC3\xA9", "\xC3\xA9"}));
  // A negative restriction other than -1 also stops every join.
  EXPECT_EQ(FoldLines("abc", 5, Cell{1}, MakeOptions(-7)), (Lines{"a", "b", "c"}));
}

TEST(OmWinStringFolder, RowsBelowOneStopAtTheLastLine) {
  EXPECT_EQ(FoldLines("abc", 10, Cell{0}), Lines{"abc"});
  EXPECT_EQ(FoldLines("a b c", 0, Cell{-3}), Lines{"a b c"});
  EXPECT_EQ(FoldLines(" ", 3, Cell{0}), Lines{" "});
  // Only break lines left as candidates: the first two lines are joined.
  EXPECT_EQ(FoldLines("a\n\n\n", 10, Cell{0}), (Lines{"a ", "", ""}));
}

TEST(OmWinStringFolder, ExtremeWidthsDoNotOverflow) {
  // Sanitizer builds turn any signed overflow here into a failure.
  EXPECT_EQ(FoldLines("a b", kMax, Cell{1, kMax, kMax}, MakeOptions(kMax, "||")), Lines{"a b"});
  EXPECT_EQ(FoldLines("a b", kMax, Cell{2, kMin, kMin}, MakeOptions(-1, "||")), (Lines{"a", "b"}));
  // A negative room cuts single characters, which then join back.
  EXPECT_EQ(FoldLines("abc", kMax, Cell{1, kMin, kMin}, MakeOptions(kMax)), Lines{"a b c"});
  OmWinStringFolder folder(MakeOptions(-1, "||"));
  std::unique_ptr<OmFormattedNode> huge = folder.MakeNode("abc", kMax, 1, kMax);
  EXPECT_EQ(folder.GetMinimumColumnWidth(*huge, 0), kMin);
  std::unique_ptr<OmFormattedNode> tiny = folder.MakeNode("abc", kMin, 1, kMin);
  EXPECT_EQ(folder.GetMinimumColumnWidth(*tiny, kMax), kMax);
}

TEST(OmWinStringFolder, IgnoresFoldPointsOutsideTheText) {
  OmWinStringFolder folder(MakeOptions());
  std::unique_ptr<OmFormattedNode> node = folder.MakeNode("ab cd", 1, 2, 0);
  node->FoldPoints() = {-4, 2, 1, 2, 99, 5};
  Lines lines;
  EXPECT_EQ(folder.SplitString(*node, 0, lines, false), 2);
  EXPECT_EQ(lines, (Lines{"ab", "cd"}));
  node->String() = "";
  lines.clear();
  EXPECT_EQ(folder.SplitString(*node, 0, lines, false), 2);
  EXPECT_EQ(lines, (Lines{"", ""}));
}

// ---------------------------------------------------------------------------
// The record's join on strings.

TEST(OmWinStringFolder, AdjustJoinsStringsAndKeepsBreakIndicesUnshifted) {
  OmWinStringFolder::Data data(MakeOptions());
  OmFormattedNode node("", 1, 1, 0, 0);
  Lines lines{"a", "", "b", "cc"};
  // First join: the break line at 1 is passed over and 'b' pairs with 'a'
  // (3), joining at index 1, the break line, into ' b'. Index 1 is still a
  // break index, so ' b' is passed over next and 'cc' pairs with 'a' (4),
  // again joining at index 1.
  EXPECT_EQ(data.AdjustNumberOfStrings(node, 9, lines, {1}), 4);
  EXPECT_EQ(lines, (Lines{"a", " b cc"}));

  Lines untouched{"x", "y"};
  OmFormattedNode two("", 1, 2, 0, 0);
  EXPECT_EQ(data.AdjustNumberOfStrings(two, 9, untouched, {}), 9);
  EXPECT_EQ(untouched, (Lines{"x", "y"}));
}

// ---------------------------------------------------------------------------
// Agreement with the step-by-step model.

class Generator {
 public:
  explicit Generator(std::uint32_t seed) : mSeed(seed) {}
  std::uint32_t Next(std::uint32_t n) {
    mSeed = mSeed * 1103515245u + 12345u;
    return (mSeed >> 16) % n;
  }
  std::int32_t Between(std::int32_t low, std::int32_t high) {
    return low + static_cast<std::int32_t>(Next(static_cast<std::uint32_t>(high - low + 1)));
  }

  std::string Text(std::uint32_t tokens) {
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
    std::string text;
    if (Next(4) == 0)
      text += kGaps[Next(10)];
    for (std::uint32_t i = 0; i < tokens; ++i) {
      if (i > 0)
        text += kGaps[Next(10)];
      text += kWords[Next(10)];
    }
    if (Next(4) == 0)
      text += kGaps[Next(10)];
    return text;
  }

 private:
  std::uint32_t mSeed;
};

struct Setting {
  std::int32_t width;
  std::int32_t restriction;
  Cell cell;
  std::string separator;
};

void ExpectSameAsModel(const std::string& text, const Setting& s, bool pad,
                       const std::string& context) {
  OmWinStringFolder folder(MakeOptions(s.restriction, s.separator));
  std::unique_ptr<OmFormattedNode> node =
      folder.MakeNode(text, s.cell.columns, s.cell.rows, s.cell.extraWidth);
  foldref::Node model = foldref::Scan(text);
  model.columns = s.cell.columns;
  model.rows = s.cell.rows;
  model.extraWidth = s.cell.extraWidth;
  const foldref::Split expected =
      foldref::SplitString(foldref::Folder{s.separator, s.restriction}, model, s.width, pad);
  Lines lines;
  const std::int32_t count = folder.SplitString(*node, s.width, lines, pad);
  ASSERT_EQ(lines, expected.lines) << context;
  ASSERT_EQ(count, expected.count) << context;
  ASSERT_EQ(node->NNewLines(), expected.newLines) << context;

  std::unique_ptr<OmFormattedNode> again =
      folder.MakeNode(text, s.cell.columns, s.cell.rows, s.cell.extraWidth);
  std::int64_t widest = 0;
  for (const std::string& line :
       foldref::SplitString(foldref::Folder{s.separator, s.restriction}, model, s.width, false)
           .lines) {
    widest = std::max<std::int64_t>(widest, static_cast<std::int64_t>(line.size()));
  }
  const std::int64_t minimum =
      widest - s.cell.extraWidth -
      (std::int64_t{s.cell.columns} - 1) * static_cast<std::int64_t>(s.separator.size());
  ASSERT_EQ(folder.GetMinimumColumnWidth(*again, s.width), minimum) << context;
}

TEST(OmWinStringFolder, MatchesModelOnGeneratedTexts) {
  const OmEncoding encodings[] = {OmEncoding::Utf8, OmEncoding::SingleByte, OmEncoding::DoubleByte};
  const char* const separators[] = {"|", "", "||"};
  Generator gen(2024);
  for (const OmEncoding encoding : encodings) {
    EncodingScope scope(encoding);
    for (int round = 0; round < 3000; ++round) {
      const std::string text = gen.Text(gen.Next(9));
      Setting s;
      s.width = gen.Between(-1, 14);
      const std::int32_t restrictions[] = {-1, -1, -1, 0, -3, gen.Between(1, 14), kMax};
      s.restriction = restrictions[gen.Next(7)];
      s.cell.rows = gen.Between(0, 5);
      s.cell.columns = gen.Between(1, 3);
      s.cell.extraWidth = gen.Between(-2, 3);
      s.separator = separators[gen.Next(3)];
      ExpectSameAsModel(text, s, gen.Next(2) == 0,
                        "round " + std::to_string(round) + " text '" + text + "'");
    }
  }
}

TEST(OmWinStringFolder, MatchesModelOnLongTexts) {
  // Many lines joined back into a few rows: the tree-based join, with and
  // without break lines, against the model's rescans.
  Generator gen(77);
  for (int round = 0; round < 300; ++round) {
    EncodingScope scope(round % 3 == 0 ? OmEncoding::DoubleByte : OmEncoding::Utf8);
    const std::string text = gen.Text(40 + gen.Next(160));
    Setting s;
    s.width = gen.Between(0, 12);
    const std::int32_t restrictions[] = {-1, -1, gen.Between(1, 30), gen.Between(30, 300)};
    s.restriction = restrictions[gen.Next(4)];
    s.cell.rows = gen.Between(1, 6);
    s.cell.columns = 1;
    s.cell.extraWidth = 0;
    s.separator = "|";
    ExpectSameAsModel(text, s, gen.Next(2) == 0,
                      "round " + std::to_string(round) + " text '" + text + "'");
  }
}

}  // namespace
