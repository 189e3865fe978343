// The formatted layout where plain renderings cannot show it: exact narrowing
// cuts, odd widths, the kept filling quirks, batched folding, short pages,
// empty layers and narrowing in terminal columns. Expected matrices are
// worked out by hand from the layout rules.

#include "PivotLayerTest.h"
#include "fold/OmWinStringFolder.h"

namespace {

class FormatTest : public PivotLayerTest {
 protected:
  Data& Planned(std::int32_t linesOnPage = 0) { return Make(linesOnPage); }

  // A planned record set back to where planning starts measuring: blank
  // matrix, zero widths, single-line bands (the heading columns are kept).
  Data& Unplanned() {
    Data& d = Planned();
    const std::size_t rows = d.mRowHeights.size();
    d.mMatrix.Resize(options.RowSeparator().empty() ? rows : 2 * rows + 1, d.mColumnWidths.size());
    d.mColumnWidths.assign(d.mColumnWidths.size(), 0);
    d.mRowHeights.assign(rows, 1);
    return d;
  }

  // What the layer's body prints.
  std::string Body(std::int32_t linesOnPage = 0) {
    Planned(linesOnPage).FrmtExport();
    return out.str();
  }
};

// Width planning.

TEST_F(FormatTest, NarrowingKeepsTheLoopsExactCuts) {
  struct Case {
    std::vector<std::int32_t> natural;  // a row label, then column headings
    std::int32_t width;
    const char* separator;
    std::vector<std::int32_t> planned;
  };
  const Case cases[] = {
      // T = 50, F = 4, A = 16: the excess 14 comes off the widest column.
      {{30, 10, 10}, 40, "|", {16, 10, 10}},
      // No column above the average: nothing is cut and the table stays wide.
      {{20, 20, 20}, 30, "|", {20, 20, 20}},
      // Pass 1 (A = 8) cuts 4; pass 2 (A = 6) cuts the excess 3, to 5.
      {{12, 5}, 10, "", {5, 5}},
      // The excess is the surplus plus one: cut whole, one below A = 7.
      {{10, 10, 1}, 17, "", {6, 10, 1}},
      {{10, 10, 1}, 18, "", {7, 10, 1}},
      // Only -1 means no limit.
      {{12, 5}, 0, "", {5, 5}},
  };
  for (const Case& c : cases) {
    // Hidden labels keep the corner a single blank.
    std::vector<std::string> texts;
    for (const std::int32_t width : c.natural)
      texts.emplace_back(static_cast<std::size_t>(width), 'x');
    table = Grid({texts[0]}, Lines(texts.begin() + 1, texts.end()),
                 {std::vector<const char*>(texts.size() - 1, "1")});
    options.MaxLineWidth(c.width);
    options.ColumnSeparator(c.separator);
    EXPECT_EQ(Planned().mColumnWidths, c.planned) << c.width;
  }
}

TEST_F(FormatTest, NarrowingCutsStraightToASmallAverage) {
  // A row label of 3 beside an empty data column: A = 1, so the label's
  // column goes to 1 although an excess of 1 would have left it at 2.
  Flat(*table, OmAxis::Row, "R", {"abc"}, false);
  options.HideEmptyRowsAndColumns(false);
  options.ColumnSeparator("");
  options.MaxLineWidth(2);
  EXPECT_EQ(Planned().mColumnWidths, (std::vector<std::int32_t>{1, 0}));
}

TEST_F(FormatTest, OnlyAPositiveWidthFoldsEachColumnAtItsOwnWidth) {
  // Narrowed to widths {1, 1} in both cases; with a width of 0 the
  // table-wide folder (no restriction) lets the long word overflow, with 1
  // the column's own folder cuts it into single characters.
  table = Grid({"a"}, {"p"}, {{"abcdefghij"}});
  options.MaxLineWidth(0);
  EXPECT_EQ(Matrix(Planned()), (Lines{"|_|_|", "| |p|", "|_|_|", "|a|abcdefghij|", "|_|_|"}));
  options.MaxLineWidth(1);
  Lines expected = {"|_|_|", "| |p|", "|_|_|", "|a|a|"};
  for (const char c : std::string("bcdefghij"))
    expected.push_back(std::string("| |") + c + "|");
  expected.push_back("|_|_|");
  EXPECT_EQ(Matrix(Planned()), expected);
}

TEST_F(FormatTest, RowLabelWithoutTextLeavesNoNodeAndShiftsTheBands) {
  OmDimension& rows = table->AddDimension(OmAxis::Row, "R");
  rows.SetShowLabel(false);
  rows.AddCategory("first");
  rows.AddCategory(std::unique_ptr<OmCellText>());
  rows.AddCategory("third");
  Flat(*table, OmAxis::Column, "C", {"c"}, false);
  for (std::int32_t r = 0; r < 3; ++r)
    table->SetText({r, 0}, "v" + std::to_string(r));
  // "third" lands in the band of the row without a label, and the last
  // band's rules in that column are never drawn.
  EXPECT_EQ(Matrix(Planned()), (Lines{"|_____|__|", "|     |c |", "|_____|__|", "|first|v0|",
                                      "|_____|__|", "|third|v1|", "__|", "v2|", "__|"}));
}

// Column filling.

TEST_F(FormatTest, BlankContinuationCopiesTheByteLengthOfTheFirstLine) {
  // "é" is two bytes in a column of width 1: the line it ends is a byte
  // longer, and so are the blanks that continue it.
  table = Grid({"a", "b"}, {"p", "q"}, {{"two words", "\xC3\xA9"}, {"1", "1"}});
  options.MaxLineWidth(20);
  Data& d = Unplanned();
  d.mColumnWidths = {1, 5, 1};
  for (const std::int32_t col : {2, 1, 0})
    d.FillColumn(col);
  EXPECT_EQ(Matrix(d), (Lines{"|_|_____|_|", "| |p    |q|", "|_|_____|_|", "|a|two  |\xC3\xA9|",
                              "| |words|  |", "|_|_____|_|", "|b|1    |1|", "|_|_____|_|"}));
}

TEST_F(FormatTest, DataColumnKeepsTextAlreadyAtTheStartOfABand) {
  table = Grid({"a", "b"}, {"p"}, {{"1"}, {"2"}});
  Data& d = Unplanned();
  d.mColumnWidths = {1, 1};
  d.mMatrix.SetPiece(3, 1, "kept|");
  d.FillColumn(1);
  const Lines pieces = {"_|", "p|", "", "kept|", "_|", "2|", "_|"};
  for (std::size_t i = 0; i < pieces.size(); ++i)
    EXPECT_EQ(d.mMatrix.Piece(i, 1), pieces[i]) << i;
}

TEST_F(FormatTest, OneLineCellsFillTheirBandsAndTheLeftEdgeWithoutFolding) {
  // Without row labels the first data column draws the left edge; the band
  // is two lines high, so one-line cells continue blank below their text.
  Flat(*table, OmAxis::Column, "C", {"First", "Second", "Third"}, false);
  table->SetText({0}, "a");
  table->SetText({1}, "two lines");
  table->SetText({2}, "1.50");
  options.MaxLineWidth(20);
  Data& d = Planned();
  EXPECT_FALSE(d.mPlainNodes.empty());
  EXPECT_EQ(Matrix(d),
            (Lines{"|_____|______|_____|", "|First|Second|Third|", "|_____|______|_____|",
                   "|a    |two   |1.50 |", "|     |lines |     |", "|_____|______|_____|"}));
}

TEST_F(FormatTest, BottomRuleTakesItsWidthFromTheLastBandWithText) {
  table = Grid({"a", "b"}, {"p", "q"}, {{"1", "22"}, {"3", ""}});
  EXPECT_EQ(Matrix(Planned()),
            (Lines{"|_|_|__|", "| |p|q |", "|_|_|__|", "|a|1|22|", "|_|_|", "|b|3|", "|_|_|__|"}));
}

// A long column is folded a batch of rows at a time; it must come out as
// if all its nodes had been made at once, footnote markers included.
TEST_F(FormatTest, LongColumnsComeOutAsIfFoldedInOneGo) {
  table->AddFootnote("note");
  OmDimension& outer = table->AddDimension(OmAxis::Row, "Outer");
  OmDimension& inner = table->AddDimension(OmAxis::Row, "Inner");
  for (int g = 0; g < 25; ++g)
    outer.AddCategory("Group " + std::to_string(g));
  for (int i = 0; i < 120; ++i)
    inner.AddCategory(i % 7 == 0 ? "" : "Item " + std::to_string(i));
  Flat(*table, OmAxis::Column, "Stat", {"Mean", "Comment"});
  for (std::int32_t g = 0; g < 25; ++g) {
    for (std::int32_t i = 0; i < 120; ++i) {
      const std::int32_t row = g * 120 + i;
      if (row % 5 != 0)
        table->SetNumber({g, i, 0}, row * 1.25, 2);
      if (row % 11 == 0) {
        table->SetText({g, i, 1}, row % 3 == 0 ? "" : "a remark that folds at a narrow width")
            .AddFootnote(0);
      }
    }
  }
  options.HideEmptyRowsAndColumns(false);
  options.MaxLineWidth(30);
  const Lines batched = Matrix(Planned());
  ASSERT_GT(batched.size(), 6000u);
  // The same columns at the same widths, each pre-formatted whole and then
  // filled.
  const std::vector<std::int32_t> widths = data->mColumnWidths;
  Data& d = Unplanned();
  d.mColumnWidths = widths;
  for (auto col = static_cast<std::int32_t>(widths.size()) - 1; col >= 0; --col) {
    OmStringFolder::Options folder;
    folder.columnSeparator = options.ColumnSeparator();
    folder.rowSeparator = options.RowSeparator();
    folder.widthRestriction = widths[static_cast<std::size_t>(col)];
    d.mStringFolder = std::make_unique<OmWinStringFolder>(folder);
    Data::NodeList nodes;
    std::int32_t w = 0;
    if (col < d.mRowHeading.NColumns()) {
      // Unplanned, the labels take full nodes, where the batches give the
      // labels that stay one line plain nodes.
      w = widths[static_cast<std::size_t>(col)];
      d.mColumnWidths[static_cast<std::size_t>(col)] = 0;
      d.PreFormatCornerText(col, w, &nodes);
      d.PreFormatRowHeadColumn(col, w, &nodes);
      ASSERT_EQ(w, widths[static_cast<std::size_t>(col)]);
    } else {
      w = d.PreFormatTableColumn(col, &nodes);
    }
    d.FillBands(nodes, w, col, col >= d.mRowHeading.NColumns(), nullptr);
  }
  EXPECT_EQ(Matrix(d), batched);
}

// Printing and paging.

TEST_F(FormatTest, PagesBreakWhereTheyFillAndRepeatTheHeadingOnlyInTheBody) {
  // A heading band of three lines (its top rule, the heading row and the
  // rule under it) over three rows.
  const std::string head = "|_|_|\n| |p|\n|_|_|\n";
  const std::string again = "\f\n" + head;
  struct Case {
    const char* what;
    std::int32_t pageLength;
    std::int32_t linesOnPage;
    std::string body;
  };
  const Case cases[] = {
      {"fills in the body", 6, 0,
       "\n" + head + "|a|1|\n|_|_|\n" + again + "|b|2|\n|_|_|\n|c|3|\n" + again + "|_|_|\n"},
      {"heading fits exactly, the page ends with it: no repeat", 6, 2,
       "\n" + head + "\f\n|a|1|\n|_|_|\n|b|2|\n|_|_|\n|c|3|\n|_|_|\n"},
      {"heading would not fit the rest of the page", 6, 3,
       "\n\f\n" + head + "|a|1|\n|_|_|\n|b|2|\n" + again + "|_|_|\n|c|3|\n|_|_|\n"},
      {"the empty line fills the page", 9, 8,
       "\n\f\n" + head + "|a|1|\n|_|_|\n|b|2|\n|_|_|\n|c|3|\n|_|_|\n"},
      {"heading longer than a page starts here", 2, 0,
       "\n|_|_|\n\f\n| |p|\n|_|_|\n\f\n|a|1|\n|_|_|\n" + again + "|b|2|\n" + again + "|_|_|\n" +
           again + "|c|3|\n" + again + "|_|_|\n"},
      {"... unless the page is full", 2, 1,
       "\n\f\n|_|_|\n| |p|\n\f\n|_|_|\n|a|1|\n" + again + "|_|_|\n" + again + "|b|2|\n" + again +
           "|_|_|\n" + again + "|c|3|\n" + again + "|_|_|\n"},
  };
  table = Grid({"a", "b", "c"}, {"p"}, {{"1"}, {"2"}, {"3"}});
  options.InsertPageBreak(true);
  for (const Case& c : cases) {
    options.NumLinesPerPage(c.pageLength);
    out.str("");
    EXPECT_EQ(Body(c.linesOnPage), c.body) << c.what;
  }
  // Without page breaks the count still drops where a break would be: the
  // last break at page length 6 leaves three heading lines and the rule.
  options.NumLinesPerPage(6);
  options.InsertPageBreak(false);
  out.str("");
  EXPECT_EQ(Body(0), "\n" + head + "|a|1|\n|_|_|\n|b|2|\n|_|_|\n|c|3|\n|_|_|\n");
  EXPECT_EQ(data->mPage.LinesOnPage(), 4);
}

TEST_F(FormatTest, TableWithoutColumnHeadingNeverRepeatsItsTopRule) {
  Flat(*table, OmAxis::Row, "R", {"a", "b", "c"}, false);
  for (std::int32_t r = 0; r < 3; ++r)
    table->SetText({r}, std::to_string(r + 1));
  options.InsertPageBreak(true);
  options.NumLinesPerPage(3);
  EXPECT_EQ(Body(0), "\n|_|_|\n|a|1|\n\f\n|_|_|\n|b|2|\n|_|_|\n\f\n|c|3|\n|_|_|\n");
}

// Odd layers and options.

TEST_F(FormatTest, RowsWithoutColumnsSpanTheEmptyHeadingColumn) {
  // No heading band, so the corner label has nowhere to go; "b" spans the
  // empty heading column beside it. A table without dimensions, or without
  // rows, is a case of the bad-input corpus.
  OmDimension& rows = Flat(*table, OmAxis::Row, "Rows", {});
  rows.AddCategory(rows.AddCategory("a"), "x");
  rows.AddCategory("b");
  table->SetText({0}, "1");
  table->SetText({1}, "2");
  EXPECT_EQ(Matrix(Planned()), (Lines{"|_|_|_|", "|a|x|1|", "|___|_|", "|b  |2|", "|___|_|"}));
}

// In terminal columns. Rules and blank continuation lines of wide
// characters, and the alignment of whole tables, are the kept renderings'.

TEST_F(FormatTest, ARuleOfNoWidthStillEnds) {
  // A zero-width space as the rule: each repetition counts as one position.
  options.DisplayWidth(OmDisplayWidth::Columns);
  options.RowSeparator("\xE2\x80\x8B");
  table = Grid({"ab"}, {"c"}, {{"1"}});
  const Lines lines = Matrix(Planned());
  ASSERT_FALSE(lines.empty());
  EXPECT_EQ(lines.front(), "|\xE2\x80\x8B\xE2\x80\x8B|\xE2\x80\x8B|");
}

TEST_F(FormatTest, NarrowingNeverLeavesAWideCharacterWithoutRoom) {
  // Narrowed to the average of one, the column of wide characters keeps two
  // columns; the ASCII column keeps the one it was given.
  options.DisplayWidth(OmDisplayWidth::Columns);
  options.RowSeparator("");
  options.MaxLineWidth(1);
  table = Grid({"a"}, {"東京", "xyz"}, {{"東", "xy"}});
  Data& d = Planned();
  EXPECT_EQ(d.mColumnWidths, (std::vector<std::int32_t>{1, 2, 1}));
  EXPECT_EQ(Matrix(d), (Lines{"| |東|x|", "| |京|y|", "| |  |z|", "|a|東|x|", "| |  |y|"}));
}

}  // namespace
