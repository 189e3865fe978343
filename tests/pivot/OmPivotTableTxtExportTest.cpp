// One layer's export: tab-separated layers without heading or table rows, the
// span sums' kept oddities, and the heading and footer lines with their
// counts and page-break tests. Cell texts with their footnote and bracketed
// markers are pinned by the kept renderings.
#include "PivotLayerTest.h"
#include "host/output/OmText.h"

namespace {

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

// A cell's markup is replaced wherever its tag starts, within the first
// eight bytes of the text or past them; a '<' that opens no tag is kept.
TEST_F(OmPivotTableTxtExportTest, TabFieldsReplaceMarkupWhereverItStarts) {
  const std::vector<std::string> texts = {"<sup>0</sup>", "1234567<sup>7</sup>",
                                          "12345678<sup>8</sup>", "123456789012345<sup>f</sup>",
                                          "a < b"};
  Flat(*table, OmAxis::Row, "Rows", {"a", "b", "c", "d", "e"});
  for (std::size_t r = 0; r < texts.size(); ++r)
    table->SetText({static_cast<std::int32_t>(r)}, texts[r]);
  EXPECT_EQ(Body(), "a\t[0]\nb\t1234567[7]\nc\t12345678[8]\nd\t123456789012345[f]\ne\ta < b\n");
}

// Without column heading rows the corner formula gives -1 with a row
// separator, kept as it falls out; sums past 2^31 - 1 saturate.
TEST_F(OmPivotTableTxtExportTest, SpanSumsKeepTheCornersMinusOneAndSaturate) {
  Flat(*table, OmAxis::Row, "Rows", {"a"});
  table->SetNumber({0}, 1);
  Data& d = Make();
  d.mRowHeights = {2147483647};
  EXPECT_EQ(d.GetNumberOfRowsAvailableInCorner({}, 0), -1);
  EXPECT_EQ(d.GetRowIndexInMatrix(1), 2147483647);
  options.RowSeparator("");
  Data& plain = Make();
  plain.mRowHeights = {2147483647};
  EXPECT_EQ(plain.GetNumberOfRowsAvailableInCorner({}, 0), 0);
}

TEST_F(OmPivotTableTxtExportTest, LayerHeadingLinesAndTheirPageBreak) {
  table->SetTitle("Opinions").AddFootnote(0);
  table->AddFootnote("note");
  Flat(*table, OmAxis::Layer, "Wave", {"Spring"});
  Flat(*table, OmAxis::Layer, "Sex", {"Female"}, false);
  // Each label ends with a blank; the block breaks when its 3 lines would
  // reach the page length.
  options.NumLinesPerPage(10);
  options.InsertPageBreak(true);
  options.TabSeparated(false);
  for (std::int32_t before : {6, 7}) {
    out.str("");
    Export(before).PrintLayerHeading();
    EXPECT_EQ(out.str(),
              std::string(before == 7 ? "\f\n" : "") + "Opinions(a)\nWave Spring \nFemale \n");
    EXPECT_EQ(exporter->GetNumLinesOnPage(), before == 7 ? 3 : 9);
  }
}

TEST_F(OmPivotTableTxtExportTest, FooterCaptionAndNotesWithTheirPageTests) {
  for (const char* note : {"first", "second", "third"})
    table->AddFootnote(note);
  table->SetCaption("Source:\rsurvey.");
  // Footnotes and caption are counted only when kept.
  EXPECT_EQ(Export(2).GetNumLines(), 3 + 2);
  exporter->PrintLayerFooter();
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
  EXPECT_EQ(exporter->GetNumLines(), 0);
}

}  // namespace
