// Heading spans: repetition tests by node identity across every outer
// level, and the room a printed heading cell may take. The formatted
// queries are checked on a record whose plan (widths, heights and node
// columns) the test fills in itself.
#include <gtest/gtest.h>

#include <cstdint>
#include <utility>
#include <vector>

#include "TabTestTables.h"

namespace {

using tab_test::Flat;

class OmPivotTableTxtExportSpans : public tab_test::LayerFixture {
 protected:
  // Switches the record to formatted queries over a hand-made plan: node
  // columns copied from the headings, and the given widths and heights.
  void Plan(std::vector<std::int32_t> widths, std::vector<std::int32_t> heights) {
    options.TabSeparated(false);
    for (std::int32_t c = 0; c < data->mRowHeading.NColumns(); ++c) {
      data->mRowHeadColumns.EmplaceBack(data->mRowHeading.Column(c));
    }
    for (std::int32_t j = 0; j < data->mColumnHeading.NColumns(); ++j) {
      data->mColHeadColumns.EmplaceBack(data->mColumnHeading.Column(j));
    }
    data->mColumnWidths = std::move(widths);
    data->mRowHeights = std::move(heights);
  }

  // Mixed depths on both axes, all cells present:
  //   rows Status (label in the corner) {Valid {Married, Widowed}, Total}
  //   columns Stat (label hidden) {Group {A, B}, Sum}
  void MakeMixed() {
    OmDimension& status = table->AddDimension(OmAxis::Row, "Status");
    const auto valid = status.AddCategory("Valid");
    status.AddCategory(valid, "Married");
    status.AddCategory(valid, "Widowed");
    status.AddCategory("Total");
    OmDimension& stat = table->AddDimension(OmAxis::Column, "Stat");
    stat.SetShowLabel(false);
    const auto group = stat.AddCategory("Group");
    stat.AddCategory(group, "A");
    stat.AddCategory(group, "B");
    stat.AddCategory("Sum");
    for (std::int32_t r = 0; r < 3; ++r) {
      for (std::int32_t c = 0; c < 3; ++c) table->SetNumber({r, c}, 1);
    }
    Make();
  }
};

TEST_F(OmPivotTableTxtExportSpans, ColumnRepetitionComparesEveryOuterLevelByIdentity) {
  table = tab_test::Crosstab();
  Data& d = Make();
  // Columns Q3, Q4 (2025) and Q1 (2026); levels: Year, year, quarter.
  EXPECT_TRUE(d.SkipNodesInColumnHead(0, 0, 2));
  EXPECT_TRUE(d.SkipNodesInColumnHead(1, 0, 1));
  EXPECT_FALSE(d.SkipNodesInColumnHead(1, 1, 2));
  EXPECT_FALSE(d.SkipNodesInColumnHead(2, 0, 1));
  EXPECT_TRUE(d.SkipNodesInColumnHead(-1, 0, 2));
}

TEST_F(OmPivotTableTxtExportSpans, RowRepetitionComparesEveryColumnToTheLeft) {
  table = tab_test::Crosstab();
  Data& d = Make();
  // Rows: North Oslo Retail / North Oslo Online / North Bergen Retail /
  // South Arendal Retail / South Arendal Online.
  EXPECT_TRUE(d.SkipNodesInRowHead(1, 0, 1));
  EXPECT_FALSE(d.SkipNodesInRowHead(2, 0, 1));
  EXPECT_TRUE(d.SkipNodesInRowHead(0, 1, 2));
  EXPECT_FALSE(d.SkipNodesInRowHead(1, 1, 2));
  // Retail is one node in rows 2 and 3, but the columns to its left differ.
  EXPECT_FALSE(d.SkipNodesInRowHead(2, 2, 3));
  EXPECT_TRUE(d.SkipNodesInRowHead(-1, 0, 4));
}

TEST_F(OmPivotTableTxtExportSpans, EqualLabelsAreNotTheSameNodeButEmptyPositionsAre) {
  Flat(*table, OmAxis::Row, "Rows", {"Same", "Same"});
  OmDimension& columns = table->AddDimension(OmAxis::Column, "Columns");
  columns.SetShowLabel(false);
  columns.AddCategory("Twin");
  const auto group = columns.AddCategory("Twin");
  columns.AddCategory(group, "inner");
  columns.AddCategory("Flat");
  for (std::int32_t r = 0; r < 2; ++r) {
    for (std::int32_t c = 0; c < 3; ++c) table->SetNumber({r, c}, 1);
  }
  Data& d = Make();
  EXPECT_FALSE(d.SkipNodesInRowHead(0, 0, 1));
  EXPECT_FALSE(d.SkipNodesInColumnHead(0, 0, 1));
  // Level 1 is empty under both "Twin" (a leaf) and "Flat"; level 0 still
  // tells them apart.
  EXPECT_FALSE(d.SkipNodesInColumnHead(1, 0, 2));
  EXPECT_TRUE(d.SkipNodesInColumnHead(-5, 0, 2));
  // Out of range positions read as empty, never as stray memory.
  EXPECT_TRUE(d.SkipNodesInColumnHead(1, 7, 9));
}

TEST_F(OmPivotTableTxtExportSpans, PrintedCellsFollowThePlannedNodeColumns) {
  table = tab_test::Crosstab();
  Make();
  Plan({10, 11, 12, 20, 21, 22}, {1, 2, 3, 1, 1, 2, 1, 3});
  Data& d = *data;
  const auto& columns = d.mColHeadColumns;
  EXPECT_TRUE(d.IsColumnHeadingCellPrinted(columns[0], 3, 0));
  EXPECT_FALSE(d.IsColumnHeadingCellPrinted(columns[1], 4, 0));
  EXPECT_FALSE(d.IsColumnHeadingCellPrinted(columns[1], 4, 1));
  EXPECT_TRUE(d.IsColumnHeadingCellPrinted(columns[2], 5, 1));
  EXPECT_TRUE(d.IsColumnHeadingCellPrinted(columns[1], 4, 2));
  EXPECT_TRUE(d.IsRowHeadingCellPrinted(0, 0));
  EXPECT_FALSE(d.IsRowHeadingCellPrinted(0, 1));
  EXPECT_FALSE(d.IsRowHeadingCellPrinted(1, 1));
  EXPECT_TRUE(d.IsRowHeadingCellPrinted(2, 1));
  EXPECT_TRUE(d.IsRowHeadingCellPrinted(1, 2));
  EXPECT_TRUE(d.IsRowHeadingCellPrinted(2, 3));
  EXPECT_TRUE(d.IsRowHeadingCellPrinted(0, 3));

  // The formatted queries read the plan, not the headings: with Q4 and Q1
  // swapped in the plan, the first two columns no longer share a year, and
  // with the inner row heading columns swapped, row 1 starts a channel.
  std::swap(d.mColHeadColumns[1], d.mColHeadColumns[2]);
  EXPECT_FALSE(d.SkipNodesInColumnHead(1, 0, 1));
  EXPECT_TRUE(d.SkipNodesInColumnHead(1, 0, 2));
  std::swap(d.mRowHeadColumns[1], d.mRowHeadColumns[2]);
  EXPECT_TRUE(d.IsRowHeadingCellPrinted(1, 1));
}

TEST_F(OmPivotTableTxtExportSpans, EmptyPositionsAreNeverPrinted) {
  MakeMixed();
  Plan({5, 6, 7, 8, 9}, {1, 2, 1, 1, 1});
  Data& d = *data;
  // The column "Sum" has nothing at level 1; the row "Total" nothing in
  // heading column 1.
  EXPECT_FALSE(d.IsColumnHeadingCellPrinted(d.mColHeadColumns[2], 4, 1));
  EXPECT_TRUE(d.IsColumnHeadingCellPrinted(d.mColHeadColumns[2], 4, 0));
  EXPECT_FALSE(d.IsRowHeadingCellPrinted(1, 2));
  EXPECT_TRUE(d.IsRowHeadingCellPrinted(0, 2));
}

TEST_F(OmPivotTableTxtExportSpans, ColumnHeadingCellsSpanTheirCategoryWithExtraWidth) {
  table = tab_test::Crosstab();
  Make();
  Plan({10, 11, 12, 20, 21, 22}, {1, 2, 3, 1, 1, 2, 1, 3});
  std::int32_t extra = -1;
  EXPECT_EQ(data->GetNumberOfColumnsAvailableInColHead(3, 0, extra), 3);
  EXPECT_EQ(extra, 21 + 22);
  EXPECT_EQ(data->GetNumberOfColumnsAvailableInColHead(3, 1, extra), 2);
  EXPECT_EQ(extra, 21);
  EXPECT_EQ(data->GetNumberOfColumnsAvailableInColHead(4, 2, extra), 1);
  EXPECT_EQ(extra, 0);
  extra = -1;
  EXPECT_EQ(data->GetNumberOfColumnsAvailableInColHead(5, 1, extra), 1);
  EXPECT_EQ(extra, 0);
}

TEST_F(OmPivotTableTxtExportSpans, OneTableColumnSpansOnlyItself) {
  Flat(*table, OmAxis::Column, "Only", {"c"});
  table->SetNumber({0}, 1);
  Make();
  Plan({4}, {1, 1, 1});
  std::int32_t extra = -1;
  for (std::int32_t level = 0; level < 2; ++level) {
    EXPECT_TRUE(data->IsColumnHeadingCellPrinted(data->mColHeadColumns[0], 0, level));
    EXPECT_EQ(data->GetNumberOfColumnsAvailableInColHead(0, level, extra), 1);
    EXPECT_EQ(extra, 0);
  }
}

TEST_F(OmPivotTableTxtExportSpans, ColumnHeadingCellsGrowDownIntoEmptyLevels) {
  MakeMixed();
  Plan({5, 6, 7, 8, 9}, {3, 4, 1, 1, 1});
  // "Sum" at level 0 takes level 1 too, and the separator line between.
  EXPECT_EQ(data->GetNumberOfRowsAvailableInColHead(4, 0), 3 + 4 + 1);
  EXPECT_EQ(data->GetNumberOfRowsAvailableInColHead(2, 0), 3);
  EXPECT_EQ(data->GetNumberOfRowsAvailableInColHead(4, 1), 4);
  options.RowSeparator("");
  EXPECT_EQ(data->GetNumberOfRowsAvailableInColHead(4, 0), 3 + 4);
  options.RowSeparator("==");
  EXPECT_EQ(data->GetNumberOfRowsAvailableInColHead(4, 0), 3 + 4 + 1);
}

TEST_F(OmPivotTableTxtExportSpans, RowHeadingCellsGrowRightIntoEmptyColumns) {
  MakeMixed();
  Plan({5, 6, 7, 8, 9}, {1, 1, 1, 1, 1});
  std::int32_t extra = -1;
  EXPECT_EQ(data->GetNumberOfColumnsAvailableInRowHead(0, 2, extra), 2);
  EXPECT_EQ(extra, 6);
  EXPECT_EQ(data->GetNumberOfColumnsAvailableInRowHead(0, 0, extra), 1);
  EXPECT_EQ(extra, 0);
  extra = -1;
  EXPECT_EQ(data->GetNumberOfColumnsAvailableInRowHead(1, 0, extra), 1);
  EXPECT_EQ(extra, 0);
}

TEST_F(OmPivotTableTxtExportSpans, RowHeadingCellsSpanTheirCategoryDownwards) {
  table = tab_test::Crosstab();
  Make();
  // Heading bands 0-2, then the five table rows at 3-7.
  Plan({10, 11, 12, 20, 21, 22}, {1, 2, 3, 1, 1, 2, 1, 3});
  EXPECT_EQ(data->GetNumberOfRowsAvailableInRowHead(0, 0), 1 + (1 + 1) + (2 + 1));
  EXPECT_EQ(data->GetNumberOfRowsAvailableInRowHead(1, 0), 1 + (1 + 1));
  EXPECT_EQ(data->GetNumberOfRowsAvailableInRowHead(2, 0), 1);
  EXPECT_EQ(data->GetNumberOfRowsAvailableInRowHead(0, 3), 1 + (3 + 1));
  EXPECT_EQ(data->GetNumberOfRowsAvailableInRowHead(0, 4), 3);
  options.RowSeparator("");
  EXPECT_EQ(data->GetNumberOfRowsAvailableInRowHead(0, 0), 1 + 1 + 2);
}

TEST_F(OmPivotTableTxtExportSpans, CornerHasTheWholeColumnHeadingBand) {
  table = tab_test::Crosstab();
  Make();
  Plan({10, 11, 12, 20, 21, 22}, {1, 2, 3, 1, 1, 2, 1, 3});
  const std::vector<const OmCellText*> corner;
  EXPECT_EQ(data->GetNumberOfRowsAvailableInCorner(corner, 0), 1 + 2 + 3 + 2);
  options.RowSeparator("");
  EXPECT_EQ(data->GetNumberOfRowsAvailableInCorner(corner, 2), 1 + 2 + 3);
}

TEST_F(OmPivotTableTxtExportSpans, CornerWithoutHeadingRowsIsMinusOneWithASeparator) {
  Flat(*table, OmAxis::Row, "Rows", {"a"});
  table->SetNumber({0}, 1);
  Make();
  Plan({3, 4}, {1});
  const std::vector<const OmCellText*> corner;
  EXPECT_EQ(data->GetNumberOfRowsAvailableInCorner(corner, 0), -1);
  options.RowSeparator("");
  EXPECT_EQ(data->GetNumberOfRowsAvailableInCorner(corner, 0), 0);
}

TEST_F(OmPivotTableTxtExportSpans, RowIndexInMatrixCountsSeparatorLinesNotTheirLength) {
  table = tab_test::Crosstab();
  Make();
  Plan({10, 11, 12, 20, 21, 22}, {1, 2, 3, 1, 1, 2, 1, 3});
  EXPECT_EQ(data->GetRowIndexInMatrix(3), 1 + 2 + 3 + 3 + 1);
  EXPECT_EQ(data->GetRowIndexInMatrix(0), 1);
  EXPECT_EQ(data->GetRowIndexInMatrix(-4), 1);
  options.RowSeparator("=-=-");
  EXPECT_EQ(data->GetRowIndexInMatrix(3), 10);
  options.RowSeparator("");
  EXPECT_EQ(data->GetRowIndexInMatrix(3), 6);
  EXPECT_EQ(data->GetRowIndexInMatrix(0), 0);
  EXPECT_EQ(data->GetRowIndexInMatrix(8), 1 + 2 + 3 + 1 + 1 + 2 + 1 + 3);
}

TEST_F(OmPivotTableTxtExportSpans, HugeSizesSaturateInsteadOfWrapping) {
  table = tab_test::Crosstab();
  Make();
  const std::int32_t big = 2147483647;
  Plan({big, big, big, big, big, big}, {big, big, big, big, big, big, big, big});
  std::int32_t extra = 0;
  EXPECT_EQ(data->GetNumberOfColumnsAvailableInColHead(3, 0, extra), 3);
  EXPECT_EQ(extra, big);
  EXPECT_EQ(data->GetRowIndexInMatrix(3), big);
  EXPECT_EQ(data->GetNumberOfRowsAvailableInRowHead(0, 0), big);
  EXPECT_EQ(data->GetRowIndexInMatrix(big), big);
}

}  // namespace
