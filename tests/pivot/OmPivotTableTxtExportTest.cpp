// One layer's export: tab-separated layers without heading or table rows, the
// span sums' kept oddities, and the heading and footer lines with their
// counts and page-break tests. Cell texts with their footnote and bracketed
// markers are pinned by the kept renderings.
#include <map>
#include <sstream>

#include "PivotLayerTest.h"
#include "host/output/OmCellText.h"
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

// A long layer's rows are made a block at a time, every other block's plain
// rows on a second thread. The lines come out as from one thread: row
// labels that span a block's edge, and footnote markers numbered in the
// order of the rows, whichever block their rows fall in.
TEST_F(OmPivotTableTxtExportTest, LongTabLayersComeOutRowByRow) {
  constexpr std::int32_t kGroups = 4;
  constexpr std::int32_t kPerGroup = 5000;  // 20000 rows: three blocks and a bit
  for (const char* note : {"f0", "f1", "f2"})
    table->AddFootnote(note);
  OmDimension& outer = table->AddDimension(OmAxis::Row, "Outer");
  for (std::int32_t g = 0; g < kGroups; ++g)
    outer.AddCategory("g" + std::to_string(g));
  OmDimension& inner = table->AddDimension(OmAxis::Row, "Inner");
  for (std::int32_t i = 0; i < kPerGroup; ++i) {
    auto label = std::make_unique<OmStringCell>("i" + std::to_string(i));
    // Seen first in the first block, then in the second thread's blocks.
    if (i == 4000)
      label->AddFootnote(1);
    inner.AddCategory(std::move(label));
  }
  Flat(*table, OmAxis::Column, "C", {"c"}, false);
  // Cells with footnotes or markup in each block; the first is in the second
  // block, which a second thread makes, as is every cell of row 9001.
  const std::map<std::int32_t, std::int16_t> notes = {{9000, 0}, {100, 2}, {17000, 1}};
  for (std::int32_t r = 0; r < kGroups * kPerGroup; ++r) {
    OmCellText& cell = table->SetText({r / kPerGroup, r % kPerGroup, 0},
                                      r == 9001 ? "<sup>s</sup>" : "v" + std::to_string(r));
    if (const auto note = notes.find(r); note != notes.end())
      cell.AddFootnote(note->second);
  }
  Data& d = Make();
  d.mTabAsideRows = 0;
  d.TabExport();
  std::istringstream lines(out.str());
  std::string line;
  std::getline(lines, line);  // the heading line
  std::vector<std::string> body;
  while (std::getline(lines, line))
    body.push_back(line);
  ASSERT_EQ(body.size(), static_cast<std::size_t>(kGroups * kPerGroup));
  // Markers are letters in the order of first use: footnote 2 at row 100,
  // 1 at row 4000 (a label), then 0 at row 9000.
  const std::map<std::int32_t, std::string> expected = {
      {0, "g0\ti0\tv0"},         {100, "\ti100\tv100(a)"},      {4000, "\ti4000(b)\tv4000"},
      {8191, "\ti3191\tv8191"},  {8192, "\ti3192\tv8192"},      {9000, "\ti4000(b)\tv9000(c)"},
      {9001, "\ti4001\t[s]"},    {10000, "g2\ti0\tv10000"},     {16384, "\ti1384\tv16384"},
      {15000, "g3\ti0\tv15000"}, {17000, "\ti2000\tv17000(b)"}, {19999, "\ti4999\tv19999"}};
  for (std::int32_t r = 0; r < kGroups * kPerGroup; ++r) {
    const auto special = expected.find(r);
    if (special != expected.end()) {
      EXPECT_EQ(body[static_cast<std::size_t>(r)], special->second) << r;
    } else if (r % kPerGroup != 0 && r % kPerGroup != 4000) {
      ASSERT_EQ(body[static_cast<std::size_t>(r)],
                "\ti" + std::to_string(r % kPerGroup) + "\tv" + std::to_string(r))
          << r;
    }
  }
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
