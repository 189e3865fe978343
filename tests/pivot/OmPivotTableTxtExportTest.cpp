// One layer's export through the record: tab-separated line shapes, labels
// printed once per category by node identity, the span queries over a plan
// the test fills in itself, cell texts with their markers, and the heading
// and footer lines with their counts and page-break tests.
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "host/OmText.h"
#include "pivot/OmPivotTableTxtExportPrivate.h"

namespace {

using Data = OmPivotTableTxtExport::Data;

OmDimension& Flat(OmPivotTable& table, OmAxis axis, const std::string& label,
                  const std::vector<std::string>& leaves, bool showLabel = true) {
  OmDimension& dimension = table.AddDimension(axis, label);
  dimension.SetShowLabel(showLabel);
  for (const std::string& leaf : leaves)
    dimension.AddCategory(leaf);
  return dimension;
}

std::unique_ptr<OmStringCell> Cell(const std::string& text, std::vector<std::int16_t> notes,
                                   std::vector<std::string> markers = {}) {
  auto cell = std::make_unique<OmStringCell>(text);
  for (std::int16_t n : notes)
    cell->AddFootnote(n);
  for (std::string& m : markers)
    cell->AddMarker(m);
  return cell;
}

class OmPivotTableTxtExportTest : public ::testing::Test {
 protected:
  void SetUp() override {
    options.TabSeparated(true);
    options.NumLinesPerPage(1000);
  }
  // Rows Region (label in the corner) {North {Oslo, Bergen}, South
  // {Arendal}} by Channel (label hidden) {Retail, Online}, columns Year
  // {2025 {Q3, Q4}, 2026 {Q1}}; each cell names its index. (Bergen, Online)
  // has no cell and (Arendal, Online, Q4) is empty.
  void Crosstab() {
    OmDimension& region = table->AddDimension(OmAxis::Row, "Region");
    const auto north = region.AddCategory("North");
    region.AddCategory(north, "Oslo");
    region.AddCategory(north, "Bergen");
    region.AddCategory(region.AddCategory("South"), "Arendal");
    Flat(*table, OmAxis::Row, "Channel", {"Retail", "Online"}, false);
    OmDimension& year = table->AddDimension(OmAxis::Column, "Year");
    const auto y2025 = year.AddCategory("2025");
    year.AddCategory(y2025, "Q3");
    year.AddCategory(y2025, "Q4");
    year.AddCategory(year.AddCategory("2026"), "Q1");
    for (std::int32_t r = 0; r < 3; ++r) {
      for (std::int32_t ch = 0; ch < 2; ++ch) {
        for (std::int32_t y = 0; y < 3; ++y) {
          if ((r == 1 && ch == 1) || (r == 2 && ch == 1 && y == 1))
            continue;
          table->SetText({r, ch, y}, "v" + std::to_string(r * 100 + ch * 10 + y));
        }
      }
    }
  }
  // The record over the table's current layer, built directly.
  Data& Make() {
    Reset();
    layer = std::make_unique<OmDisplayLayerHeading>(*table, options.HideEmptyRowsAndColumns());
    layer->LastLayer();
    data = std::make_unique<Data>(*layer, options, out, 0);
    return *data;
  }
  // The public exporter over the table's current layer.
  OmPivotTableTxtExport& Export(std::int32_t linesOnPage) {
    Reset();
    layer = std::make_unique<OmDisplayLayerHeading>(*table, options.HideEmptyRowsAndColumns());
    layer->LastLayer();
    exporter = std::make_unique<OmPivotTableTxtExport>(*layer, options, out, linesOnPage);
    return *exporter;
  }
  // Drops what refers to the table, before the table may be replaced.
  void Reset() {
    exporter.reset();
    data.reset();
    layer.reset();
  }
  std::string Body() {
    Make().TabExport();
    return out.str();
  }
  // Formatted queries over a hand-made plan: the headings' node columns and
  // the given widths and heights.
  Data& Plan(std::vector<std::int32_t> widths, std::vector<std::int32_t> heights) {
    Data& d = Make();
    options.TabSeparated(false);
    for (std::int32_t c = 0; c < d.mRowHeading.NColumns(); ++c) {
      d.mRowHeadColumns.EmplaceBack(d.mRowHeading.Column(c));
    }
    for (std::int32_t j = 0; j < d.mColumnHeading.NColumns(); ++j) {
      d.mColHeadColumns.EmplaceBack(d.mColumnHeading.Column(j));
    }
    d.mColumnWidths = std::move(widths);
    d.mRowHeights = std::move(heights);
    return d;
  }

  OmTextExportOptions options;
  std::ostringstream out;
  std::unique_ptr<OmPivotTable> table = std::make_unique<OmPivotTable>();
  std::unique_ptr<OmDisplayLayerHeading> layer;
  std::unique_ptr<Data> data;
  std::unique_ptr<OmPivotTableTxtExport> exporter;
};

TEST_F(OmPivotTableTxtExportTest, TabLinesOfANestedCrosstab) {
  Crosstab();
  // Row heading columns as empty fields, the corner on the last heading
  // line; a category in its first position only; label fields always closed
  // by a tab, no tab after the last data field; the empty row hidden.
  EXPECT_EQ(Body(),
            "\t\t\tYear\t\t\n"
            "\t\t\t2025\t\t2026\n"
            "Region\t\t\tQ3\tQ4\tQ1\n"
            "North\tOslo\tRetail\tv0\tv1\tv2\n"
            "\t\tOnline\tv10\tv11\tv12\n"
            "\tBergen\tRetail\tv100\tv101\tv102\n"
            "South\tArendal\tRetail\tv200\tv201\tv202\n"
            "\t\tOnline\tv210\t\tv212\n");
}

TEST_F(OmPivotTableTxtExportTest, TabRepeatsByNodeIdentityThroughEveryOuterLevel) {
  // Rows (A, x), (B, x): x is one node, printed again under another outer
  // label; likewise the column label "Kind" under P and Q. The two "Twin"
  // rows are different categories with one label: both printed.
  Flat(*table, OmAxis::Row, "Outer", {"A", "B", "Twin", "Twin"}, false);
  Flat(*table, OmAxis::Row, "Inner", {"x"}, false);
  Flat(*table, OmAxis::Column, "Side", {"P", "Q"});
  Flat(*table, OmAxis::Column, "Kind", {"only"});
  for (std::int32_t o = 0; o < 4; ++o) {
    for (std::int32_t s = 0; s < 2; ++s)
      table->SetNumber({o, 0, s, 0}, o * 10 + s);
  }
  EXPECT_EQ(Body(),
            "\t\tSide\t\n\t\tP\tQ\n\t\tKind\tKind\n\t\tonly\tonly\n"
            "A\tx\t0\t1\nB\tx\t10\t11\nTwin\tx\t20\t21\nTwin\tx\t30\t31\n");
}

TEST_F(OmPivotTableTxtExportTest, TabWithoutHeadingRowsOrTableRows) {
  // No column heading rows: no heading line, no corner; text as it is.
  Flat(*table, OmAxis::Row, "Corner", {"a\tb"});
  table->SetText({0}, "two\nlines");
  EXPECT_EQ(Body(), "a\tb\ttwo\nlines\n");
  // A row dimension without categories: exactly one line of data fields.
  Reset();
  table = std::make_unique<OmPivotTable>();
  out.str("");
  table->AddDimension(OmAxis::Row, "Nothing");
  Flat(*table, OmAxis::Column, "Columns", {"c1", "c2"});
  options.HideEmptyRowsAndColumns(false);
  EXPECT_EQ(Body(), "Columns\t\nc1\tc2\n\t\n");
}

TEST_F(OmPivotTableTxtExportTest, SpanQueriesOverAPlannedCrosstab) {
  Crosstab();
  // Bands: 3 column heading rows, then 5 table rows.
  Data& d = Plan({10, 11, 12, 20, 21, 22}, {1, 2, 3, 1, 1, 2, 1, 3});
  const auto& col = d.mColHeadColumns;
  EXPECT_TRUE(d.IsColumnHeadingCellPrinted(col[0], 3, 0));
  EXPECT_FALSE(d.IsColumnHeadingCellPrinted(col[1], 4, 1));
  EXPECT_TRUE(d.IsColumnHeadingCellPrinted(col[2], 5, 1));
  EXPECT_FALSE(d.IsRowHeadingCellPrinted(1, 1));
  EXPECT_TRUE(d.IsRowHeadingCellPrinted(2, 1));
  EXPECT_TRUE(d.IsRowHeadingCellPrinted(2, 3));  // same Retail, other region
  std::int32_t extra = -1;
  EXPECT_EQ(d.GetNumberOfColumnsAvailableInColHead(3, 0, extra), 3);
  EXPECT_EQ(extra, 21 + 22);
  EXPECT_EQ(d.GetNumberOfColumnsAvailableInColHead(3, 1, extra), 2);
  EXPECT_EQ(extra, 21);
  EXPECT_EQ(d.GetNumberOfColumnsAvailableInColHead(5, 1, extra), 1);
  EXPECT_EQ(extra, 0);
  EXPECT_EQ(d.GetNumberOfRowsAvailableInRowHead(0, 0), 1 + (1 + 1) + (2 + 1));
  EXPECT_EQ(d.GetNumberOfRowsAvailableInRowHead(2, 0), 1);
  EXPECT_EQ(d.GetNumberOfRowsAvailableInCorner({}, 0), 1 + 2 + 3 + 2);
  EXPECT_EQ(d.GetRowIndexInMatrix(3), 1 + 2 + 3 + 3 + 1);
  EXPECT_EQ(d.GetRowIndexInMatrix(0), 1);
  options.RowSeparator("=-=");  // one line whatever its length
  EXPECT_EQ(d.GetRowIndexInMatrix(3), 10);
  options.RowSeparator("");
  EXPECT_EQ(d.GetRowIndexInMatrix(3), 6);
  EXPECT_EQ(d.GetNumberOfRowsAvailableInRowHead(0, 0), 1 + 1 + 2);
  // The plan, not the heading, is read: swap Q4 and Q1 in it.
  std::swap(d.mColHeadColumns[1], d.mColHeadColumns[2]);
  EXPECT_TRUE(d.SkipNodesInColumnHead(1, 0, 2));
}

TEST_F(OmPivotTableTxtExportTest, SpanQueriesGrowIntoEmptyPositions) {
  // Rows {Valid {Married, Widowed}, Total}, columns {Group {A, B}, Sum}.
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
    for (std::int32_t c = 0; c < 3; ++c)
      table->SetNumber({r, c}, 1);
  }
  Data& d = Plan({5, 6, 7, 8, 9}, {3, 4, 1, 1, 1});
  EXPECT_FALSE(d.IsColumnHeadingCellPrinted(d.mColHeadColumns[2], 4, 1));
  EXPECT_FALSE(d.IsRowHeadingCellPrinted(1, 2));
  EXPECT_EQ(d.GetNumberOfRowsAvailableInColHead(4, 0), 3 + 4 + 1);
  EXPECT_EQ(d.GetNumberOfRowsAvailableInColHead(2, 0), 3);
  std::int32_t extra = -1;
  EXPECT_EQ(d.GetNumberOfColumnsAvailableInRowHead(0, 2, extra), 2);
  EXPECT_EQ(extra, 6);
  EXPECT_EQ(d.GetNumberOfColumnsAvailableInRowHead(0, 0, extra), 1);
  EXPECT_EQ(extra, 0);
  // Sums that would pass 2^31 - 1 saturate.
  d.mRowHeights.assign(5, 2147483647);
  EXPECT_EQ(d.GetRowIndexInMatrix(2), 2147483647);
}

TEST_F(OmPivotTableTxtExportTest, CornerWithoutHeadingRowsKeepsTheFormulasMinusOne) {
  Flat(*table, OmAxis::Row, "Rows", {"a"});
  table->SetNumber({0}, 1);
  Data& d = Plan({3, 4}, {1});
  EXPECT_EQ(d.GetNumberOfRowsAvailableInCorner({}, 0), -1);
  options.RowSeparator("");
  EXPECT_EQ(d.GetNumberOfRowsAvailableInCorner({}, 0), 0);
}

TEST_F(OmPivotTableTxtExportTest, CellTextsCarryFootnoteAndBracketedMarkers) {
  for (const char* note : {"zero", "one", "two", "three"})
    table->AddFootnote(note);
  Data& d = Make();
  EXPECT_EQ(d.GetCellText(nullptr), "");
  EXPECT_EQ(d.GetCellText(Cell("m<sup>2</sup> H<sub>2</sub>", {}).get()), "m[2] H<sub>2</sub>");
  EXPECT_EQ(d.GetCellText(Cell("A", {3, 1}).get()), "A(a,b)");
  EXPECT_EQ(d.GetCellText(Cell("B", {1, 0, 2}, {"x", "y"}).get()), "B(b,c,d)[x,y]");
  EXPECT_EQ(d.mFootnoter.Note(0), "three");
  options.AlphabeticFootNotes(false);
  EXPECT_EQ(Make().GetCellText(Cell("A", {3, 1}).get()), "A(1,2)");
  // Without footnotes kept: no marker list and nothing handed out.
  options.KeepFootNotesAndCaption(false);
  Data& off = Make();
  EXPECT_EQ(off.GetCellText(Cell("A", {3}, {"x"}).get()), "A[x]");
  EXPECT_EQ(off.mFootnoter.Note(0), "zero");
}

TEST_F(OmPivotTableTxtExportTest, LayerHeadingLinesAndTheirPageBreak) {
  table->SetTitle("Opinions").AddFootnote(0);
  table->AddFootnote("note");
  Flat(*table, OmAxis::Layer, "Wave", {"Spring"});
  Flat(*table, OmAxis::Layer, "Sex", {"Female"}, false);
  Export(4).PrintLayerHeading();
  EXPECT_EQ(out.str(), "Opinions(a)\nWave\tSpring\t\nFemale\t\n");
  EXPECT_EQ(exporter->GetNumLinesOnPage(), 7);
  // Formatted: blanks; the block breaks when its 3 lines would reach 10.
  options.NumLinesPerPage(10);
  options.InsertPageBreak(true);
  options.TabSeparated(false);
  for (std::int32_t before : {6, 7}) {
    out.str("");
    exporter->setLinesOnPage(before);
    exporter->PrintLayerHeading();
    EXPECT_EQ(out.str(),
              std::string(before == 7 ? "\f\n" : "") + "Opinions(a)\nWave Spring \nFemale \n");
    EXPECT_EQ(exporter->GetNumLinesOnPage(), before == 7 ? 3 : 9);
  }
}

TEST_F(OmPivotTableTxtExportTest, FooterCaptionAndNotesWithTheirPageTests) {
  for (const char* note : {"first", "second", "third"})
    table->AddFootnote(note);
  table->SetCaption("Source:\rsurvey.");
  Export(2).PrintLayerFooter();
  // The caption is one counted line whatever it holds.
  EXPECT_EQ(out.str(), "Source:\nsurvey.\na\tfirst\nb\tsecond\nc\tthird\n");
  EXPECT_EQ(exporter->GetNumLinesOnPage(), 6);
  // The caption tests before printing, the notes after each line.
  options.NumLinesPerPage(10);
  options.InsertPageBreak(true);
  options.TabSeparated(false);
  out.str("");
  exporter->setLinesOnPage(9);
  exporter->PrintLayerFooter();
  EXPECT_EQ(out.str(), "\f\nSource:\nsurvey.\na first\nb second\nc third\n");
  table->SetCaption(std::unique_ptr<OmText>());
  out.str("");
  exporter->setLinesOnPage(8);
  exporter->PrintLayerFooter();
  EXPECT_EQ(out.str(), "a first\nb second\n\f\nc third\n");
  EXPECT_EQ(exporter->GetNumLinesOnPage(), 1);
  options.KeepFootNotesAndCaption(false);
  out.str("");
  exporter->PrintLayerFooter();
  EXPECT_EQ(out.str(), "");
}

TEST_F(OmPivotTableTxtExportTest, NumLinesOfATabLayerCountNoBody) {
  Crosstab();
  table->SetTitle("T");
  for (const char* note : {"n1", "n2", "n3"})
    table->AddFootnote(note);
  EXPECT_EQ(Make().mStringFolder, nullptr);
  // Title and 3 notes + 2; without footnotes kept they are not counted.
  EXPECT_EQ(Export(0).GetNumLines(), 1 + 3 + 2);
  options.KeepFootNotesAndCaption(false);
  EXPECT_EQ(exporter->GetNumLines(), 1);
}

}  // namespace
