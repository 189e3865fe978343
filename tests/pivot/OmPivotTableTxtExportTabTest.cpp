// The tab-separated body of a layer: line shapes, labels printed once per
// category by node identity, corner texts, tables without headings, and
// text passed through untouched. Also the record's state in tab mode.
#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>

#include "TabTestTables.h"
#include "pivot/OmPivotTableTxtExport.h"

namespace {

using tab_test::Flat;

class OmPivotTableTxtExportTab : public tab_test::LayerFixture {};

TEST_F(OmPivotTableTxtExportTab, CrosstabLineShapes) {
  table = tab_test::Crosstab();
  // Heading rows: row heading columns as empty fields, the corner on the
  // last one; a spanning category in its first column only; no trailing tab
  // after the last field. Rows: repeated labels left empty, every label
  // field closed by a tab; the row without cells is hidden.
  EXPECT_EQ(Body(),
            "\t\t\tYear\t\t\n"
            "\t\t\t2025\t\t2026\n"
            "Region\t\t\tQ3\tQ4\tQ1\n"
            "North\tOslo\tRetail\tv000\tv001\tv002\n"
            "\t\tOnline\tv010\tv011\tv012\n"
            "\tBergen\tRetail\tv100\tv101\tv102\n"
            "South\tArendal\tRetail\tv200\tv201\tv202\n"
            "\t\tOnline\tv210\t\tv212\n");
}

TEST_F(OmPivotTableTxtExportTab, LabelsInHeadingLeaveTheCornerEmpty) {
  table = tab_test::Crosstab();
  options.RowDimensionLabelsInCorner(false);
  options.HideEmptyRowsAndColumns(false);
  EXPECT_EQ(Body(),
            "\t\t\t\tYear\t\t\n"
            "\t\t\t\t2025\t\t2026\n"
            "\t\t\t\tQ3\tQ4\tQ1\n"
            "Region\tNorth\tOslo\tRetail\tv000\tv001\tv002\n"
            "\t\t\tOnline\tv010\tv011\tv012\n"
            "\t\tBergen\tRetail\tv100\tv101\tv102\n"
            "\t\t\tOnline\t\t\t\n"
            "\tSouth\tArendal\tRetail\tv200\tv201\tv202\n"
            "\t\t\tOnline\tv210\t\tv212\n");
}

TEST_F(OmPivotTableTxtExportTab, SameInnerNodeUnderDifferentOuterCategoryIsPrintedAgain) {
  // Rows (A, x), (B, x) and columns (P, only), (Q, only): the inner label is
  // one node in both positions, printed again because the outer one differs.
  Flat(*table, OmAxis::Row, "Outer", {"A", "B"}).SetShowLabel(false);
  Flat(*table, OmAxis::Row, "Inner", {"x"}).SetShowLabel(false);
  Flat(*table, OmAxis::Column, "Side", {"P", "Q"});
  Flat(*table, OmAxis::Column, "Kind", {"only"});
  for (std::int32_t o = 0; o < 2; ++o) {
    for (std::int32_t s = 0; s < 2; ++s) table->SetNumber({o, 0, s, 0}, o * 10 + s);
  }
  EXPECT_EQ(Body(),
            "\t\tSide\t\n"
            "\t\tP\tQ\n"
            "\t\tKind\tKind\n"
            "\t\tonly\tonly\n"
            "A\tx\t0\t1\n"
            "B\tx\t10\t11\n");
}

TEST_F(OmPivotTableTxtExportTab, IdenticalLabelsOfDifferentCategoriesAreBothPrinted) {
  Flat(*table, OmAxis::Row, "Rows", {"Same", "Same", "Other"}).SetShowLabel(false);
  Flat(*table, OmAxis::Column, "Columns", {"Twin", "Twin"}).SetShowLabel(false);
  for (std::int32_t r = 0; r < 3; ++r) {
    for (std::int32_t c = 0; c < 2; ++c) table->SetNumber({r, c}, r * 10 + c);
  }
  EXPECT_EQ(Body(),
            "\tTwin\tTwin\n"
            "Same\t0\t1\n"
            "Same\t10\t11\n"
            "Other\t20\t21\n");
}

TEST_F(OmPivotTableTxtExportTab, RowLabelOverThreeRowsIsPrintedOnFirstOnly) {
  OmDimension& rows = table->AddDimension(OmAxis::Row, "Rows");
  rows.SetShowLabel(false);
  const auto group = rows.AddCategory("G");
  for (const char* leaf : {"a", "b", "c"}) rows.AddCategory(group, leaf);
  for (std::int32_t r = 0; r < 3; ++r) table->SetNumber({r}, r);
  EXPECT_EQ(Body(),
            "G\ta\t0\n"
            "\tb\t1\n"
            "\tc\t2\n");
}

TEST_F(OmPivotTableTxtExportTab, NoColumnHeadingRowsPrintNoHeadingLinesAndNoCorner) {
  Flat(*table, OmAxis::Row, "Named in the corner", {"a", "b"});
  table->SetText({0}, "1");
  table->SetText({1}, "2");
  EXPECT_EQ(Body(), "a\t1\nb\t2\n");
}

TEST_F(OmPivotTableTxtExportTab, OneColumnHeadingRowCarriesTheCorner) {
  Flat(*table, OmAxis::Row, "Rows", {"a"});
  Flat(*table, OmAxis::Column, "Columns", {"c1", "c2"}).SetShowLabel(false);
  table->SetText({0, 0}, "1");
  table->SetText({0, 1}, "2");
  EXPECT_EQ(Body(), "Rows\tc1\tc2\na\t1\t2\n");
}

TEST_F(OmPivotTableTxtExportTab, NoRowsPrintsExactlyOneDataLine) {
  // A row dimension without categories gives no table rows at all; the
  // body still gets one line of (empty) data fields.
  table->AddDimension(OmAxis::Row, "Nothing");
  Flat(*table, OmAxis::Column, "Columns", {"c1", "c2"});
  options.HideEmptyRowsAndColumns(false);
  EXPECT_EQ(Body(), "Columns\t\nc1\tc2\n\t\n");
}

TEST_F(OmPivotTableTxtExportTab, EverythingHiddenLeavesOneEmptyLine) {
  Flat(*table, OmAxis::Row, "Rows", {"a"});
  Flat(*table, OmAxis::Column, "Columns", {"c"});
  EXPECT_EQ(Body(), "\t\nRows\t\n\n");
}

TEST_F(OmPivotTableTxtExportTab, TextIsPrintedWithoutQuotingOrEscaping) {
  Flat(*table, OmAxis::Row, "Rows", {"say \"hi\""}).SetShowLabel(false);
  Flat(*table, OmAxis::Column, "Columns", {"tab\there"}).SetShowLabel(false);
  table->SetText({0, 0}, "two\nlines\r\n");
  EXPECT_EQ(Body(), "\ttab\there\nsay \"hi\"\ttwo\nlines\r\n\n");
}

TEST_F(OmPivotTableTxtExportTab, CellsComeFromTheCurrentLayer) {
  OmDimension& wave = Flat(*table, OmAxis::Layer, "Wave", {"Spring", "Autumn"});
  Flat(*table, OmAxis::Column, "Columns", {"c"}).SetShowLabel(false);
  table->SetText({0, 0}, "spring");
  table->SetText({1, 0}, "autumn");
  wave.SetCurrentLeaf(1);
  EXPECT_EQ(Body(), "c\nautumn\n");
}

TEST_F(OmPivotTableTxtExportTab, FootnoteMarkersAreHandedOutInPrintOrder) {
  table->AddFootnote("first");
  table->AddFootnote("second");
  OmDimension& columns = table->AddDimension(OmAxis::Column, "Columns");
  columns.SetShowLabel(false);
  auto label = std::make_unique<OmStringCell>("c");
  label->AddFootnote(1);
  columns.AddCategory(std::move(label));
  table->SetText({0}, "v").AddFootnote(0);
  EXPECT_EQ(Body(), "c(a)\nv(b)\n");
  EXPECT_EQ(data->mFootnoter.Note(0), "second");
}

class OmPivotTableTxtExportRecord : public tab_test::LayerFixture {};

TEST_F(OmPivotTableTxtExportRecord, TabLayerPlansNothing) {
  table = tab_test::Crosstab();
  Data& record = Make();
  EXPECT_EQ(record.mStringFolder, nullptr);
  EXPECT_EQ(record.mMatrix.NumLines(), 0u);
  EXPECT_TRUE(record.mColumnWidths.empty());
  EXPECT_TRUE(record.mRowHeights.empty());
  EXPECT_TRUE(record.mRowHeadColumns.Empty());
  EXPECT_TRUE(record.mColHeadColumns.Empty());
  EXPECT_EQ(record.mMemoryRegion.BlocksInUse(), 0u);
}

TEST_F(OmPivotTableTxtExportRecord, NumLinesCountTitleLayerLinesAndKeptFootnotes) {
  table->SetTitle("T");
  for (const char* note : {"n1", "n2", "n3"}) table->AddFootnote(note);
  Flat(*table, OmAxis::Layer, "L1", {"a"});
  Flat(*table, OmAxis::Layer, "L2", {"b"});
  table->SetText({0, 0}, "x");
  OmDisplayLayerHeading heading(*table, true);
  heading.LastLayer();
  std::ostringstream stream;
  // Tab-separated: no body lines; title 1, two layer lines, 3 notes + 2.
  EXPECT_EQ(OmPivotTableTxtExport(heading, options, stream, 0).GetNumLines(), 8);
  options.KeepFootNotesAndCaption(false);
  EXPECT_EQ(OmPivotTableTxtExport(heading, options, stream, 0).GetNumLines(), 3);
  table->showTitle = false;
  EXPECT_EQ(OmPivotTableTxtExport(heading, options, stream, 0).GetNumLines(), 2);
  EXPECT_EQ(stream.str(), "");
}

TEST_F(OmPivotTableTxtExportRecord, LinesOnPageStartFromTheConstructorAndCanBeSet) {
  table = tab_test::Crosstab();
  OmDisplayLayerHeading heading(*table, true);
  std::ostringstream stream;
  OmPivotTableTxtExport exporter(heading, options, stream, 17);
  EXPECT_EQ(exporter.GetNumLinesOnPage(), 17);
  exporter.setLinesOnPage(5);
  EXPECT_EQ(exporter.GetNumLinesOnPage(), 5);
  // The body of a tab-separated layer is not counted.
  exporter.PrintLayer();
  EXPECT_EQ(exporter.GetNumLinesOnPage(), 5);
  EXPECT_EQ(stream.str(), Body());
}

TEST_F(OmPivotTableTxtExportRecord, PublicPageBreakResetsTheCountWithoutWritingInTabMode) {
  table = tab_test::Crosstab();
  options.InsertPageBreak(true);
  OmDisplayLayerHeading heading(*table, true);
  std::ostringstream stream;
  OmPivotTableTxtExport exporter(heading, options, stream, 9);
  exporter.PrintPageBreak();
  EXPECT_EQ(exporter.GetNumLinesOnPage(), 0);
  EXPECT_EQ(stream.str(), "");
}

}  // namespace
