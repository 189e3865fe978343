// One layer's export through the record: tab-separated layers without
// heading rows or table rows, the span queries' kept oddities over a plan the
// test fills in itself, cell texts with their markers, and the heading and
// footer lines with their counts and page-break tests.
#include "host/OmText.h"
#include "PivotLayerTest.h"

namespace {

std::unique_ptr<OmStringCell> Cell(const std::string& text, std::vector<std::int16_t> notes,
                                   std::vector<std::string> markers = {}) {
  auto cell = std::make_unique<OmStringCell>(text);
  for (std::int16_t n : notes)
    cell->AddFootnote(n);
  for (std::string& m : markers)
    cell->AddMarker(m);
  return cell;
}

class OmPivotTableTxtExportTest : public PivotLayerTest {
 protected:
  void SetUp() override {
    options.TabSeparated(true);
    options.NumLinesPerPage(1000);
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
    for (std::int32_t c = 0; c < d.mRowHeading.NColumns(); ++c)
      d.mRowHeadColumns.EmplaceBack(d.mRowHeading.Column(c));
    for (std::int32_t j = 0; j < d.mColumnHeading.NColumns(); ++j)
      d.mColHeadColumns.EmplaceBack(d.mColumnHeading.Column(j));
    d.mColumnWidths = std::move(widths);
    d.mRowHeights = std::move(heights);
    return d;
  }
};

TEST_F(OmPivotTableTxtExportTest, TabWithoutHeadingRowsOrTableRows) {
  // No column heading rows: no heading line, no corner; text as it is.
  Flat(*table, OmAxis::Row, "Corner", {"a\tb"});
  table->SetText({0}, "two\nlines");
  EXPECT_EQ(Body(), "a\tb\ttwo\nlines\n");
  // A row dimension without categories: exactly one line of data fields.
  NewTable();
  out.str("");
  table->AddDimension(OmAxis::Row, "Nothing");
  Flat(*table, OmAxis::Column, "Columns", {"c1", "c2"});
  options.HideEmptyRowsAndColumns(false);
  EXPECT_EQ(Body(), "Columns\t\nc1\tc2\n\t\n");
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

}  // namespace
