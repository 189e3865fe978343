// The formatted layout of a pivot-table layer: width planning and the
// narrowing loop, pre-formatting of corner, row heading, column heading and
// data columns, column filling with rules, spans and extra lines, printing
// with page breaks, and layers that are tiny, empty or oddly configured.
// Expected matrices are worked out by hand from the layout rules.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <cstdint>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "export/OmTextExportOptions.h"
#include "fold/OmWinStringFolder.h"
#include "host/OmDisplayLayerHeading.h"
#include "host/OmPivotTable.h"
#include "pivot/OmPivotTableTxtExport.h"
#include "pivot/OmPivotTableTxtExportPrivate.h"

namespace {

using Data = OmPivotTableTxtExport::Data;
using Lines = std::vector<std::string>;

// A dimension with top-level leaves; the label is hidden when show is false.
OmDimension& Flat(OmPivotTable& table, OmAxis axis, const std::string& label,
                  const std::vector<std::string>& leaves, bool show = true) {
  OmDimension& dimension = table.AddDimension(axis, label);
  dimension.SetShowLabel(show);
  for (const std::string& leaf : leaves)
    dimension.AddCategory(leaf);
  return dimension;
}

// Rows and columns of single leaves with hidden labels, and a cell text per
// (row, column); a null text leaves the cell out.
std::unique_ptr<OmPivotTable> Grid(const std::vector<std::string>& rows,
                                   const std::vector<std::string>& columns,
                                   const std::vector<std::vector<const char*>>& cells) {
  auto table = std::make_unique<OmPivotTable>();
  Flat(*table, OmAxis::Row, "R", rows, false);
  Flat(*table, OmAxis::Column, "C", columns, false);
  for (std::size_t r = 0; r < cells.size(); ++r) {
    for (std::size_t c = 0; c < cells[r].size(); ++c) {
      if (cells[r][c] != nullptr) {
        table->SetText({static_cast<std::int32_t>(r), static_cast<std::int32_t>(c)}, cells[r][c]);
      }
    }
  }
  return table;
}

class FormatTest : public ::testing::Test {
 protected:
  // A record over the table's current layer that has planned nothing: it
  // is made tab-separated, then switched to formatted, and set up as
  // planning sets it up before measuring (sizes, node columns, folder).
  Data& Unplanned() {
    MakeLayer();
    const bool tab = options.TabSeparated();
    options.TabSeparated(true);
    data = std::make_unique<Data>(*layer, options, out, 0);
    options.TabSeparated(tab);
    Data& d = *data;
    OmStringFolder::Options folder;
    folder.columnSeparator = options.ColumnSeparator();
    folder.rowSeparator = options.RowSeparator();
    folder.widthRestriction = options.WidthRestriction();
    d.mStringFolder = std::make_unique<OmWinStringFolder>(folder);
    const std::int32_t r = d.mRowHeading.NColumns();
    const std::int32_t c = d.mColumnHeading.NColumns();
    const std::int32_t rows = d.mRowHeading.NRows();
    const std::int32_t n = d.mColumnHeading.NRows() + rows + (rows == 0 ? 1 : 0);
    const std::int32_t m = r + c + (c == 0 ? 1 : 0);
    d.mMatrix.Resize(static_cast<std::size_t>(options.RowSeparator().empty() ? n : 2 * n + 1),
                     static_cast<std::size_t>(m));
    d.mColumnWidths.assign(static_cast<std::size_t>(m), 0);
    d.mRowHeights.assign(static_cast<std::size_t>(n), 1);
    for (std::int32_t i = 0; i < r; ++i)
      d.mRowHeadColumns.PushBack(d.mRowHeading.Column(i));
    for (std::int32_t j = 0; j < c; ++j)
      d.mColHeadColumns.PushBack(d.mColumnHeading.Column(j));
    return d;
  }

  // A record made formatted, which plans the whole layer.
  Data& Planned(std::int32_t linesOnPage = 0) {
    MakeLayer();
    data = std::make_unique<Data>(*layer, options, out, linesOnPage);
    return *data;
  }

  // The planned matrix, line by line.
  static Lines Matrix(const Data& d) {
    Lines lines;
    for (std::size_t i = 0; i < d.mMatrix.NumLines(); ++i) {
      std::string line;
      d.mMatrix.AppendLine(i, line);
      lines.push_back(line);
    }
    return lines;
  }

  // Fills every column of an unplanned record, the last first, as planning
  // ends.
  static void FillAll(Data& d) {
    for (auto col = static_cast<std::int32_t>(d.mColumnWidths.size()) - 1; col >= 0; --col) {
      d.FillColumn(col);
    }
  }

  // What the layer's body prints.
  std::string Body(std::int32_t linesOnPage = 0) {
    Planned(linesOnPage).FrmtExport();
    return out.str();
  }

  void MakeLayer() {
    data.reset();
    layer = std::make_unique<OmDisplayLayerHeading>(*table, options.HideEmptyRowsAndColumns());
    layer->LastLayer();
  }

  OmTextExportOptions options;
  std::ostringstream out;
  std::unique_ptr<OmPivotTable> table = std::make_unique<OmPivotTable>();
  std::unique_ptr<OmDisplayLayerHeading> layer;
  std::unique_ptr<Data> data;
};

// ---------------------------------------------------------------------------
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
      {{30, 10, 10}, 54, "|", {30, 10, 10}},
      // No column above the average: nothing is cut and the table stays wide.
      {{20, 20, 20}, 30, "|", {20, 20, 20}},
      // Pass 1 (A = 8) cuts 4; pass 2 (A = 6) cuts the excess 3, to 5.
      {{12, 5}, 10, "", {5, 5}},
      // The excess is the surplus plus one: cut whole, one below A = 7.
      {{10, 10, 1}, 17, "", {6, 10, 1}},
      {{10, 10, 1}, 18, "", {7, 10, 1}},
      // Only -1 means no limit.
      {{12, 5}, 0, "", {5, 5}},
      {{12, 5}, -5, "", {5, 5}},
      {{12, 5}, INT_MIN, "", {5, 5}},
      {{12, 5}, INT_MAX, "", {12, 5}},
  };
  for (const Case& c : cases) {
    std::vector<std::string> columns;
    for (std::size_t i = 1; i < c.natural.size(); ++i) {
      columns.push_back(
          std::string(static_cast<std::size_t>(c.natural[i]), static_cast<char>('a' + i)));
    }
    // Hidden labels keep the corner a single blank.
    table = Grid({std::string(static_cast<std::size_t>(c.natural[0]), 'x')}, columns,
                 {std::vector<const char*>(columns.size(), "1")});
    options.MaxLineWidth(c.width);
    options.ColumnSeparator(c.separator);
    Data& d = Unplanned();
    d.PreCalculateColumnWidths();
    EXPECT_EQ(d.mColumnWidths, c.planned) << c.width;
  }
}

TEST_F(FormatTest, NarrowingCutsStraightToASmallAverage) {
  // A row label of 3 beside an empty data column: A = 1, so the label's
  // column goes to 1 although an excess of 1 would have left it at 2.
  Flat(*table, OmAxis::Row, "R", {"abc"}, false);
  options.HideEmptyRowsAndColumns(false);
  options.ColumnSeparator("");
  options.MaxLineWidth(2);
  Data& d = Unplanned();
  d.PreCalculateColumnWidths();
  EXPECT_EQ(d.mColumnWidths, (std::vector<std::int32_t>{1, 0}));
}

TEST_F(FormatTest, OnlyAPositiveWidthFoldsEachColumnAtItsOwnWidth) {
  // Narrowed to widths {1, 1} in both cases; with a width of 0 or less the
  // table-wide folder (no restriction) lets the long word overflow, with 1
  // the column's own folder cuts it into single characters.
  table = Grid({"a"}, {"p"}, {{"abcdefghij"}});
  for (const std::int32_t width : {0, -5}) {
    options.MaxLineWidth(width);
    EXPECT_EQ(Matrix(Planned()), (Lines{"|_|_|", "| |p|", "|_|_|", "|a|abcdefghij|", "|_|_|"}))
        << width;
  }
  options.MaxLineWidth(1);
  Lines expected = {"|_|_|", "| |p|", "|_|_|", "|a|a|"};
  for (const char c : std::string("bcdefghij"))
    expected.push_back(std::string("| |") + c + "|");
  expected.push_back("|_|_|");
  EXPECT_EQ(Matrix(Planned()), expected);
}

// ---------------------------------------------------------------------------
// Pre-formatting.

TEST_F(FormatTest, CornerIsOneTextNodeOverTheBandThenBlanks) {
  table = std::make_unique<OmPivotTable>();
  Flat(*table, OmAxis::Row, "Rows", {"r"});
  OmDimension& columns = table->AddDimension(OmAxis::Column, "Cols");
  const auto group = columns.AddCategory("G");
  columns.AddCategory(group, "c");
  table->SetText({0, 0}, "1");
  Data& d = Unplanned();
  d.mRowHeights = {2, 1, 3, 1};
  Data::NodeList nodes;
  std::int32_t width = 0;
  d.PreFormatCornerText(0, width, &nodes);
  ASSERT_EQ(nodes.size(), 3u);
  EXPECT_EQ(nodes[0]->String(), "Rows");
  // The three heading bands and the two rules between them.
  EXPECT_EQ(nodes[0]->NRows(), 8);
  EXPECT_EQ(nodes[0]->NColumns(), 1);
  EXPECT_TRUE(nodes[1]->IsEmpty());
  EXPECT_TRUE(nodes[2]->IsEmpty());
  EXPECT_EQ(width, 4);
  EXPECT_EQ(d.mColumnWidths[0], 0);  // the corner never stores a width

  // A corner without text is a single blank.
  table = Grid({"row"}, {"col"}, {{"1"}});
  Data::NodeList blank;
  width = 0;
  Unplanned().PreFormatCornerText(0, width, &blank);
  ASSERT_EQ(blank.size(), 1u);
  EXPECT_EQ(blank[0]->String(), " ");
  EXPECT_EQ(width, 1);
}

TEST_F(FormatTest, PlannedWidthComesBackEvenWhenCellsNeedMore) {
  table = Grid({"a long row label"}, {"col"}, {{"a long cell"}});
  Data& d = Unplanned();
  d.mColumnWidths = {3, 4};
  Data::NodeList nodes;
  std::int32_t width = 0;
  d.PreFormatCornerText(0, width, &nodes);
  EXPECT_EQ(width, 3);
  width = 50;
  d.PreFormatRowHeadColumn(0, width, &nodes);
  EXPECT_EQ(width, 3);
  EXPECT_EQ(d.PreFormatTableColumn(1, &nodes), 4);
  EXPECT_EQ(d.mColumnWidths, (std::vector<std::int32_t>{3, 4}));
  ASSERT_EQ(nodes.size(), 4u);
  EXPECT_EQ(nodes[1]->String(), "a long row label");
  EXPECT_EQ(nodes[3]->String(), "a long cell");
}

TEST_F(FormatTest, RowLabelWithoutTextLeavesNoNodeAndShiftsTheBands) {
  table = std::make_unique<OmPivotTable>();
  OmDimension& rows = table->AddDimension(OmAxis::Row, "R");
  rows.SetShowLabel(false);
  rows.AddCategory("first");
  rows.AddCategory(std::unique_ptr<OmCellText>());
  rows.AddCategory("third");
  Flat(*table, OmAxis::Column, "C", {"c"}, false);
  for (std::int32_t r = 0; r < 3; ++r)
    table->SetText({r, 0}, "v" + std::to_string(r));
  Data& d = Unplanned();
  Data::NodeList nodes;
  std::int32_t width = 0;
  d.PreFormatRowHeadColumn(0, width, &nodes);
  ASSERT_EQ(nodes.size(), 2u);
  EXPECT_EQ(nodes[0]->String(), "first");
  EXPECT_EQ(nodes[1]->String(), "third");
  // Filled, "third" lands in the band of the row without a label, and the
  // last band's rules in that column are never drawn.
  FillAll(d);
  EXPECT_EQ(Matrix(d), (Lines{"|_____|__|", "|     |c |", "|_____|__|", "|first|v0|", "|_____|__|",
                              "|third|v1|", "__|", "v2|", "__|"}));
}

// ---------------------------------------------------------------------------
// Column filling.

TEST_F(FormatTest, RuleOfASpanningHeadingRunsOverTheColumnsItCovers) {
  table = std::make_unique<OmPivotTable>();
  Flat(*table, OmAxis::Row, "R", {"a"}, false);
  Flat(*table, OmAxis::Column, "C", {"p", "q", "r"});
  for (std::int32_t c = 0; c < 3; ++c)
    table->SetText({0, c}, std::to_string(c + 1));
  Data& d = Planned();
  EXPECT_EQ(Matrix(d), (Lines{"|_|_____|", "| |C    |", "| |_|_|_|", "| |p|q|r|", "|_|_|_|_|",
                              "|a|1|2|3|", "|_|_|_|_|"}));
  // The covered columns' own pieces on the rule above the label are empty.
  EXPECT_TRUE(d.mMatrix.IsEmpty(0, 2));
  EXPECT_TRUE(d.mMatrix.IsEmpty(0, 3));
  EXPECT_EQ(d.mMatrix.Piece(0, 1), "_____|");
  // The label is made once, in its first column, with its span; the
  // columns it covers get blank nodes.
  Data::NodeList first;
  Data::NodeList second;
  d.PreFormatTableColumn(1, &first);
  d.PreFormatTableColumn(2, &second);
  ASSERT_EQ(first.size(), 3u);
  EXPECT_EQ(first[0]->String(), "C");
  EXPECT_EQ(first[0]->NColumns(), 3);
  EXPECT_EQ(first[0]->ExtraWidth(), 2);
  ASSERT_EQ(second.size(), 3u);
  EXPECT_TRUE(second[0]->IsEmpty());
  EXPECT_EQ(second[1]->String(), "q");
}

TEST_F(FormatTest, CellFoldingPastItsBandAddsALineToEveryColumn) {
  table = Grid({"a", "b"}, {"p", "q"}, {{"1", "two words"}, {"1", "1"}});
  options.MaxLineWidth(20);
  Data& d = Unplanned();
  d.mColumnWidths = {1, 1, 5};
  FillAll(d);
  EXPECT_EQ(Matrix(d), (Lines{"|_|_|_____|", "| |p|q    |", "|_|_|_____|", "|a|1|two  |",
                              "| | |words|", "|_|_|_____|", "|b|1|1    |", "|_|_|_____|"}));
  EXPECT_EQ(d.mRowHeights, (std::vector<std::int32_t>{1, 2, 1}));
}

TEST_F(FormatTest, BlankContinuationCopiesTheByteLengthOfTheFirstLine) {
  // "é" is two bytes in a column of width 1: the line it ends is a byte
  // longer, and so are the blanks that continue it.
  table = Grid({"a", "b"}, {"p", "q"}, {{"two words", "\xC3\xA9"}, {"1", "1"}});
  options.MaxLineWidth(20);
  Data& d = Unplanned();
  d.mColumnWidths = {1, 5, 1};
  FillAll(d);
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

TEST_F(FormatTest, BottomRuleTakesItsWidthFromTheLastBandWithText) {
  table = Grid({"a", "b"}, {"p", "q"}, {{"1", "22"}, {"3", ""}});
  EXPECT_EQ(Matrix(Planned()),
            (Lines{"|_|_|__|", "| |p|q |", "|_|_|__|", "|a|1|22|", "|_|_|", "|b|3|", "|_|_|__|"}));
}

TEST_F(FormatTest, RuleOfASpanningRowLabelClearsTheColumnsItReaches) {
  // "Total" has no node in the second heading column and takes its room;
  // its rules replace the second column's own pieces, the bottom one
  // included. Its width less the room it reaches widens the first column.
  OmDimension& rows = table->AddDimension(OmAxis::Row, "R");
  rows.SetShowLabel(false);
  const auto group = rows.AddCategory("G");
  rows.AddCategory(group, "x");
  rows.AddCategory(group, "yy");
  rows.AddCategory("Total");
  Flat(*table, OmAxis::Column, "C", {"p"}, false);
  for (std::int32_t r = 0; r < 3; ++r)
    table->SetText({r, 0}, "1");
  EXPECT_EQ(Matrix(Planned()),
            (Lines{"|__|__|_|", "|  |  |p|", "|__|__|_|", "|G |x |1|", "|  |__|_|", "|  |yy|1|",
                   "|_____|_|", "|Total|1|", "|_____|_|"}));
}

TEST_F(FormatTest, RowSeparatorIsRepeatedWholeAndEmptySeparatorsDrawNothing) {
  table = Grid({"abc"}, {"xyz"}, {{"1"}});
  options.RowSeparator("-=");
  EXPECT_EQ(Matrix(Planned()),
            (Lines{"|-=-=|-=-=|", "|   |xyz|", "|-=-=|-=-=|", "|abc|1  |", "|-=-=|-=-=|"}));
  options.RowSeparator("");
  options.ColumnSeparator("");
  EXPECT_EQ(Matrix(Planned()), (Lines{"   xyz", "abc1  "}));
}

// A long column is folded a batch of rows at a time; it must come out as
// if all its nodes had been made at once, footnote markers included.
TEST_F(FormatTest, LongColumnsComeOutAsIfFoldedInOneGo) {
  table = std::make_unique<OmPivotTable>();
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
  for (const std::int32_t width : {-1, 30}) {
    options.MaxLineWidth(width);
    const Lines batched = Matrix(Planned());
    ASSERT_GT(batched.size(), 6000u);
    // The same columns, each pre-formatted whole and then filled.
    Data& d = Unplanned();
    if (width != -1)
      d.PreCalculateColumnWidths();
    for (auto col = static_cast<std::int32_t>(d.mColumnWidths.size()) - 1; col >= 0; --col) {
      if (width > 0) {
        OmStringFolder::Options folder;
        folder.columnSeparator = options.ColumnSeparator();
        folder.rowSeparator = options.RowSeparator();
        folder.widthRestriction = d.mColumnWidths[static_cast<std::size_t>(col)];
        d.mStringFolder = std::make_unique<OmWinStringFolder>(folder);
      }
      Data::NodeList nodes;
      std::int32_t w = 0;
      if (col < d.mRowHeading.NColumns()) {
        d.PreFormatCornerText(col, w, &nodes);
        d.PreFormatRowHeadColumn(col, w, &nodes);
      } else {
        w = d.PreFormatTableColumn(col, &nodes);
      }
      d.FillBands(nodes, w, col, col >= d.mRowHeading.NColumns(), nullptr);
    }
    EXPECT_EQ(Matrix(d), batched) << width;
  }
}

// ---------------------------------------------------------------------------
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
      {"fills in the body, at its first line and later", 5, 0,
       "\n" + head + "|a|1|\n" + again + "|_|_|\n|b|2|\n" + again + "|_|_|\n|c|3|\n" + again +
           "|_|_|\n"},
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
  // Three repeated heading lines and the last rule.
  options.NumLinesPerPage(6);
  out.str("");
  Body(0);
  EXPECT_EQ(data->mLinesOnPage, 4);
  // Without page breaks the count still drops where a break would be.
  options.InsertPageBreak(false);
  out.str("");
  EXPECT_EQ(Body(0), "\n" + head + "|a|1|\n|_|_|\n|b|2|\n|_|_|\n|c|3|\n|_|_|\n");
  EXPECT_EQ(data->mLinesOnPage, 4);
}

TEST_F(FormatTest, TableWithoutColumnHeadingNeverRepeatsItsTopRule) {
  Flat(*table, OmAxis::Row, "R", {"a", "b", "c"}, false);
  for (std::int32_t r = 0; r < 3; ++r)
    table->SetText({r}, std::to_string(r + 1));
  options.InsertPageBreak(true);
  options.NumLinesPerPage(3);
  EXPECT_EQ(Body(0), "\n|_|_|\n|a|1|\n\f\n|_|_|\n|b|2|\n|_|_|\n\f\n|c|3|\n|_|_|\n");
}

// ---------------------------------------------------------------------------
// Odd layers and options.

TEST_F(FormatTest, LayersWithoutDimensionsRowsOrColumnsStillPrintACellColumn) {
  table->SetText({}, "only");
  EXPECT_EQ(Matrix(Planned()), (Lines{"|____|", "|only|", "|____|"}));
  // Nothing at all: one blank cell of width 0.
  table = std::make_unique<OmPivotTable>();
  EXPECT_EQ(Matrix(Planned()), (Lines{"||", "| |", "||"}));
  // Rows only: no heading band, so the corner label has nowhere to go.
  table = std::make_unique<OmPivotTable>();
  Flat(*table, OmAxis::Row, "Rows", {"a", "b"});
  table->SetText({0}, "1");
  table->SetText({1}, "2");
  EXPECT_EQ(Matrix(Planned()), (Lines{"|_|_|", "|a|1|", "|_|_|", "|b|2|", "|_|_|"}));
  // No data rows: the heading over one blank row, without a cell lookup.
  options.HideEmptyRowsAndColumns(false);
  table = std::make_unique<OmPivotTable>();
  table->AddDimension(OmAxis::Row, "R");
  Flat(*table, OmAxis::Column, "C", {"p", "q"}, false);
  EXPECT_EQ(Matrix(Planned()), (Lines{"|_|_|", "|p|q|", "|_|_|", "| | |", "|_|_|"}));
  // No data columns: one more matrix column than row-heading columns.
  table = std::make_unique<OmPivotTable>();
  Flat(*table, OmAxis::Row, "R", {"a", "b"}, false);
  table->AddDimension(OmAxis::Column, "C");
  Data& d = Planned();
  EXPECT_EQ(d.mColumnWidths.size(), static_cast<std::size_t>(d.mRowHeading.NColumns()) + 1);
  EXPECT_EQ(d.mMatrix.NumColumns(), d.mColumnWidths.size());
}

// Every width from far negative to huge, with and without separators, on a
// table with spans, long words, line breaks, multibyte text and empty
// cells: the plan finishes and prints exactly its matrix.
TEST_F(FormatTest, AnyWidthAndSeparatorsGiveAPrintableTable) {
  table = std::make_unique<OmPivotTable>();
  OmDimension& rows = table->AddDimension(OmAxis::Row, "Rows with a long label");
  const auto group = rows.AddCategory("Gr\xC3\xB6up");
  rows.AddCategory(group, "a\n\nb");
  rows.AddCategory(group, "supercalifragilistic");
  rows.AddCategory("Total");
  OmDimension& columns = table->AddDimension(OmAxis::Column, "Columns");
  const auto span = columns.AddCategory("Spanning label over two");
  columns.AddCategory(span, "p");
  columns.AddCategory(span, "q");
  columns.AddCategory("r");
  table->SetText({0, 0}, "text with   blanks");
  table->SetText({0, 2}, "");
  table->SetText({1, 1}, "\xE2\x82\xAC\xE2\x82\xAC\xE2\x82\xAC \xE2\x82\xAC");
  table->SetText({2, 2}, "   ");
  for (const std::int32_t width : {INT_MIN, -7, -2, -1, 0, 1, 2, 3, 5, 12, 40, INT_MAX}) {
    for (const char* column : {"", "|", "abc"}) {
      for (const char* row : {"", "_", "-=+"}) {
        options.MaxLineWidth(width);
        options.ColumnSeparator(column);
        options.RowSeparator(row);
        out.str("");
        const std::string body = Body(0);
        const std::size_t lines = data->mMatrix.NumLines();
        EXPECT_EQ(static_cast<std::size_t>(std::count(body.begin(), body.end(), '\n')), lines + 1)
            << width << " '" << column << "' '" << row << "'";
        EXPECT_GE(lines, std::string(row).empty() ? 5u : 11u);
      }
    }
  }
}

}  // namespace
