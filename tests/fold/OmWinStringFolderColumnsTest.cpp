// The string folder counting terminal columns: wrapping, cutting and padding
// of text with wide characters, combining marks and emoji, by example and by
// property over generated cells.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "fold/OmFormattedNode.h"
#include "fold/OmTextMeasure.h"
#include "fold/OmWinStringFolder.h"

namespace {

using Lines = std::vector<std::string>;

struct Fold {
  OmDisplayWidth measure = OmDisplayWidth::Columns;
  std::int32_t restriction = -1;
  std::int32_t rows = 1;
  std::int32_t columns = 1;
  std::string separator = "|";

  OmStringFolder::Options Options() const {
    OmStringFolder::Options options;
    options.columnSeparator = separator;
    options.widthRestriction = restriction;
    options.displayWidth = measure;
    return options;
  }
  Lines Split(const std::string& text, std::int32_t width, bool pad = false) const {
    OmWinStringFolder folder(Options());
    std::unique_ptr<OmFormattedNode> node = folder.MakeNode(text, columns, rows, 0);
    Lines lines;
    folder.SplitString(*node, width, lines, pad);
    return lines;
  }
  std::int32_t MinimumWidth(const std::string& text) const {
    OmWinStringFolder folder(Options());
    std::unique_ptr<OmFormattedNode> node = folder.MakeNode(text, columns, rows, 0);
    return folder.GetMinimumColumnWidth(*node, 0);
  }
};

std::int64_t Columns(const std::string& text) {
  return OmTextMeasure::Columns(text.data(), text.size());
}

TEST(OmWinStringFolderColumns, MeasuresTerminalColumns) {
  OmWinStringFolder folder(Fold{}.Options());
  EXPECT_EQ(folder.GetStringLength("Zürich"), 6);
  EXPECT_EQ(folder.GetStringLength("東京"), 4);
  OmWinStringFolder bytes(Fold{OmDisplayWidth::Bytes}.Options());
  EXPECT_EQ(bytes.GetStringLength("東京"), 6);
}

TEST(OmWinStringFolderColumns, WrapsWordsByColumns) {
  // 6 + 6 columns and a blank fit in 14 columns, though not in 14 bytes.
  const Fold twoRows{OmDisplayWidth::Columns, -1, 2};
  EXPECT_EQ(twoRows.Split("Zürich Kraków", 14), (Lines{"Zürich Kraków", ""}));
  EXPECT_EQ((Fold{OmDisplayWidth::Bytes, -1, 2}.Split("Zürich Kraków", 14)),
            (Lines{"Zürich", "Kraków"}));
  EXPECT_EQ((Fold{OmDisplayWidth::Columns, -1, 2}.MinimumWidth("東京 大阪")), 4);
  EXPECT_EQ((Fold{OmDisplayWidth::Bytes, -1, 2}.MinimumWidth("東京 大阪")), 6);
}

TEST(OmWinStringFolderColumns, PadsToColumnsNotBytes) {
  EXPECT_EQ(Fold{}.Split("東京", 6, true), (Lines{"東京  |"}));
  EXPECT_EQ(Fold{}.Split("Zürich", 8, true), (Lines{"Zürich  |"}));
  // A separator of one column in three bytes counts once per spanned
  // boundary, as one column.
  Fold span;
  span.columns = 3;
  span.separator = "│";
  EXPECT_EQ(span.MinimumWidth("abcdefgh"), 6);
  EXPECT_EQ(span.Split("ab", 2, true), (Lines{"ab  │"}));
}

TEST(OmWinStringFolderColumns, MovesAWideCharacterThatMissesTheLastPosition) {
  // 東京 takes columns 1 to 4; 大 would need 5 and 6, so it starts the next
  // line, and the short line is padded to the column's 5.
  const Fold cut{OmDisplayWidth::Columns, 5};
  EXPECT_EQ(cut.Split("東京大阪", 5, true), (Lines{"東京 |", "大阪 |"}));
}

TEST(OmWinStringFolderColumns, CutsALongWordOfWideCharactersIntoWholeCharacters) {
  const Fold cut{OmDisplayWidth::Columns, 4, 4};
  EXPECT_EQ(cut.Split("東京大阪名古屋", 4), (Lines{"東京", "大阪", "名古", "屋"}));
  EXPECT_EQ(cut.Split("東京大阪名古屋", 4, true), (Lines{"東京|", "大阪|", "名古|", "屋  |"}));
  // One column cannot hold a wide character: it stands alone, unpadded.
  const Fold narrow{OmDisplayWidth::Columns, 1, 2};
  EXPECT_EQ(narrow.Split("東a", 1, true), (Lines{"東|", "a|"}));
}

TEST(OmWinStringFolderColumns, KeepsACombiningMarkWithItsBaseAcrossACut) {
  // "aé b" with é as e and a combining acute: the cut after two columns
  // falls after the mark, not between it and its e.
  const std::string e = "e\xCC\x81";
  const Fold cut{OmDisplayWidth::Columns, 2, 2};
  EXPECT_EQ(cut.Split("a" + e + "b", 2), (Lines{"a" + e, "b"}));
  EXPECT_EQ(cut.Split(e + e + e + e, 2, true), (Lines{e + e + "|", e + e + "|"}));
}

// Cells of words drawn from several scripts, folded at random widths as a
// column of that width folds them.
TEST(OmWinStringFolderColumns, FoldedLinesFitTheirColumnAndKeepEveryCharacter) {
  const std::vector<std::string> words = {"a",
                                          "Zürich",
                                          "Kraków",
                                          "東京",
                                          "서울",
                                          "Москва",
                                          "Αθήνα",
                                          "e\xCC\x81t\xC3\xA9",
                                          "😀",
                                          "👍🏽",
                                          "naïve",
                                          "大阪府",
                                          "ｆｕｌｌ",
                                          "x̧y̆",
                                          "ok",
                                          "2023",
                                          "नमस्ते",
                                          "ไทย",
                                          "‐",
                                          "abcdefghijkl",
                                          "東京大阪名古屋京都"};
  std::mt19937 random(18);
  for (int round = 0; round < 2000; ++round) {
    std::string text;
    const int count = 1 + static_cast<int>(random() % 6);
    for (int i = 0; i < count; ++i) {
      if (i > 0)
        text += random() % 5 == 0 ? "\n" : " ";
      text += words[random() % words.size()];
    }
    const auto width = static_cast<std::int32_t>(2 + random() % 14);
    const Fold column{OmDisplayWidth::Columns, width, static_cast<std::int32_t>(1 + random() % 3)};
    SCOPED_TRACE("'" + text + "' at width " + std::to_string(width));
    const Lines lines = column.Split(text, width);
    for (const std::string& line : lines)
      EXPECT_LE(Columns(line), width) << "'" << line << "'";
    // Lines joined across a line break pad to the join, in either measure;
    // without breaks every line pads to the column.
    const bool breaks = text.find('\n') != std::string::npos;
    for (const std::string& line : column.Split(text, width, true)) {
      ASSERT_FALSE(line.empty());
      EXPECT_EQ(line.back(), '|');
      if (!breaks) {
        EXPECT_EQ(Columns(line.substr(0, line.size() - 1)), width) << "'" << line << "'";
      }
    }
    // Nothing is lost or split: the lines hold the text's characters, in
    // order, less the blanks and line breaks.
    std::string kept;
    std::string expected;
    for (const std::string& line : lines)
      kept += line;
    for (const char c : text) {
      if (c != ' ' && c != '\n')
        expected += c;
    }
    kept.erase(std::remove(kept.begin(), kept.end(), ' '), kept.end());
    EXPECT_EQ(kept, expected);
  }
}

}  // namespace
