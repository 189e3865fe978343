// Cell texts (footnote markers, markup, bracketed markers), the layer
// heading block and the footer (caption and footnote list) with their line
// counts and page-break tests.
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "TabTestTables.h"
#include "host/OmCellText.h"
#include "host/OmText.h"
#include "pivot/OmPivotTableTxtExport.h"

namespace {

using tab_test::Flat;

std::unique_ptr<OmStringCell> Cell(const std::string& text,
                                   const std::vector<std::int16_t>& footnotes = {},
                                   const std::vector<std::string>& markers = {}) {
  auto cell = std::make_unique<OmStringCell>(text);
  for (std::int16_t n : footnotes) cell->AddFootnote(n);
  for (const std::string& m : markers) cell->AddMarker(m);
  return cell;
}

class OmPivotTableTxtExportText : public tab_test::LayerFixture {
 protected:
  void SetUp() override {
    LayerFixture::SetUp();
    for (const char* note : {"zero", "one", "two", "three"}) table->AddFootnote(note);
  }
};

TEST_F(OmPivotTableTxtExportText, NullCellIsEmptyAndRegistersNothing) {
  Data& d = Make();
  EXPECT_EQ(d.GetCellText(nullptr), "");
  const auto cell = Cell("x", {2});
  EXPECT_EQ(d.GetCellText(cell.get()), "x(a)");
}

TEST_F(OmPivotTableTxtExportText, PlainCellIsItsTextWithSuperscriptsBracketed) {
  Data& d = Make();
  const auto plain = Cell("12.5");
  EXPECT_EQ(d.GetCellText(plain.get()), "12.5");
  const auto markup = Cell("m<sup>2</sup> and H<sub>2</sub>O");
  EXPECT_EQ(d.GetCellText(markup.get()), "m[2] and H<sub>2</sub>O");
}

TEST_F(OmPivotTableTxtExportText, FootnotesGetMarkersInOrderOfFirstRequest) {
  Data& d = Make();
  const auto first = Cell("A", {3, 1});
  const auto second = Cell("B", {1, 0, 2});
  EXPECT_EQ(d.GetCellText(first.get()), "A(a,b)");
  EXPECT_EQ(d.GetCellText(second.get()), "B(b,c,d)");
  std::string marker = "keep:";
  EXPECT_EQ(d.GetFootnoteMarker(marker, *second), 3);
  EXPECT_EQ(marker, "keep:(b,c,d)");
  const auto none = Cell("C");
  EXPECT_EQ(d.GetFootnoteMarker(marker, *none), 0);
  EXPECT_EQ(marker, "keep:(b,c,d)");
}

TEST_F(OmPivotTableTxtExportText, NumericMarkersWhenNotAlphabetic) {
  options.AlphabeticFootNotes(false);
  Data& d = Make();
  const auto cell = Cell("A", {3, 1});
  EXPECT_EQ(d.GetCellText(cell.get()), "A(1,2)");
}

TEST_F(OmPivotTableTxtExportText, BracketedMarkersFollowTheFootnotes) {
  Data& d = Make();
  const auto cell = Cell("12.5", {1, 3}, {"x", "y"});
  EXPECT_EQ(d.GetCellText(cell.get()), "12.5(a,b)[x,y]");
  const auto one = Cell("7", {}, {"m"});
  EXPECT_EQ(d.GetCellText(one.get()), "7[m]");
}

TEST_F(OmPivotTableTxtExportText, WithoutFootnotesKeptOnlyBracketedMarkersAreAdded) {
  options.KeepFootNotesAndCaption(false);
  Data& d = Make();
  const auto cell = Cell("12.5", {1}, {"x"});
  EXPECT_EQ(d.GetCellText(cell.get()), "12.5[x]");
  // Nothing was handed out: footnote 1 keeps its place in the listing.
  EXPECT_EQ(d.mFootnoter.Note(0), "zero");
}

TEST_F(OmPivotTableTxtExportText, LayerHeadingFootnotesAskTitleThenLayersInOrder) {
  table->SetTitle("Title").AddFootnote(2);
  auto waveLabel = std::make_unique<OmStringCell>("Wave");
  waveLabel->AddFootnote(0);
  OmDimension& wave = table->AddDimension(OmAxis::Layer, std::move(waveLabel));
  wave.AddCategory("Spring");
  OmDimension& sex = table->AddDimension(OmAxis::Layer, "Sex");
  sex.SetShowLabel(false);
  auto female = std::make_unique<OmStringCell>("Female");
  female->AddFootnote(3);
  sex.AddCategory(std::move(female));
  Data& d = Make();
  d.CreateLayerHeadingFootnotes();
  EXPECT_EQ(out.str(), "");
  EXPECT_EQ(d.mFootnoter.Note(0), "two");
  EXPECT_EQ(d.mFootnoter.Note(1), "zero");
  EXPECT_EQ(d.mFootnoter.Note(2), "three");
  EXPECT_EQ(d.mFootnoter.Note(3), "one");

  // A title that is not shown asks for nothing.
  table->showTitle = false;
  Data& again = Make();
  again.CreateLayerHeadingFootnotes();
  EXPECT_EQ(again.mFootnoter.Note(0), "zero");
}

// The public print operations over the fixture's table.
class OmPivotTableTxtExportFrame : public tab_test::LayerFixture {
 protected:
  void SetUp() override {
    LayerFixture::SetUp();
    options.NumLinesPerPage(1000);
  }

  // Title "Opinions", layer dimensions Wave {Spring} (label shown) and Sex
  // {Female} (label hidden), one cell; the footnotes and caption given.
  void Build(const std::vector<std::string>& notes, const char* caption) {
    table->SetTitle("Opinions");
    for (const std::string& note : notes) table->AddFootnote(note);
    if (caption != nullptr) table->SetCaption(caption);
    Flat(*table, OmAxis::Layer, "Wave", {"Spring"});
    Flat(*table, OmAxis::Layer, "Sex", {"Female"}).SetShowLabel(false);
    table->SetText({0, 0}, "x");
  }
  OmPivotTableTxtExport& Exporter(std::int32_t linesOnPage = 0) {
    layer = std::make_unique<OmDisplayLayerHeading>(*table, true);
    layer->LastLayer();
    exporter = std::make_unique<OmPivotTableTxtExport>(*layer, options, out, linesOnPage);
    return *exporter;
  }
  std::unique_ptr<OmPivotTableTxtExport> exporter;
};

TEST_F(OmPivotTableTxtExportFrame, LayerLinesEndWithTheirSeparator) {
  Build({}, nullptr);
  OmPivotTableTxtExport& e = Exporter(4);
  e.PrintLayerHeading();
  EXPECT_EQ(out.str(), "Opinions\nWave\tSpring\t\nFemale\t\n");
  EXPECT_EQ(e.GetNumLinesOnPage(), 7);
  // Formatted layers separate with a blank (the exporter reads the options
  // it was given whenever it prints).
  options.TabSeparated(false);
  out.str("");
  e.PrintLayerHeading();
  EXPECT_EQ(out.str(), "Opinions\nWave Spring \nFemale \n");
}

TEST_F(OmPivotTableTxtExportFrame, DimensionWithoutNodesGivesAnEmptyLine) {
  table->showTitle = false;
  table->AddDimension(OmAxis::Layer, "Hidden").SetShowLabel(false);
  OmPivotTableTxtExport& e = Exporter();
  e.PrintLayerHeading();
  EXPECT_EQ(out.str(), "\n");
  EXPECT_EQ(e.GetNumLinesOnPage(), 1);
}

TEST_F(OmPivotTableTxtExportFrame, HeadingBlockStartsAPageWhenItWouldReachThePageLength) {
  Build({}, nullptr);
  options.NumLinesPerPage(10);
  options.InsertPageBreak(true);
  OmPivotTableTxtExport& e = Exporter(6);
  options.TabSeparated(false);
  e.PrintLayerHeading();
  EXPECT_EQ(out.str(), "Opinions\nWave Spring \nFemale \n");
  EXPECT_EQ(e.GetNumLinesOnPage(), 9);
  out.str("");
  e.setLinesOnPage(7);
  e.PrintLayerHeading();
  EXPECT_EQ(out.str(), "\f\nOpinions\nWave Spring \nFemale \n");
  EXPECT_EQ(e.GetNumLinesOnPage(), 3);
}

TEST_F(OmPivotTableTxtExportFrame, TabModeBreaksSilently) {
  Build({"n"}, "Caption");
  options.NumLinesPerPage(3);
  options.InsertPageBreak(true);
  OmPivotTableTxtExport& e = Exporter(7);
  e.PrintLayerHeading();
  e.PrintLayer();
  e.PrintLayerFooter();
  EXPECT_EQ(out.str(), "Opinions\nWave\tSpring\t\nFemale\t\nx\nCaption\na\tn\n");
  // The heading broke (0, then 3 lines) and so did the caption (0, then 1);
  // the note makes 2.
  EXPECT_EQ(e.GetNumLinesOnPage(), 2);
}

TEST_F(OmPivotTableTxtExportFrame, FooterPrintsCaptionAsOneLineThenTheNotes) {
  Build({"first", "second"}, "Source:\rsurvey.");
  OmPivotTableTxtExport& e = Exporter(2);
  e.PrintLayerFooter();
  EXPECT_EQ(out.str(), "Source:\nsurvey.\na\tfirst\nb\tsecond\n");
  EXPECT_EQ(e.GetNumLinesOnPage(), 5);
  out.str("");
  options.TabSeparated(false);
  e.PrintLayerFooter();
  EXPECT_EQ(out.str(), "Source:\nsurvey.\na first\nb second\n");
}

TEST_F(OmPivotTableTxtExportFrame, FooterWithoutCaptionListsTheNotes) {
  Build({"only"}, nullptr);
  OmPivotTableTxtExport& e = Exporter();
  e.PrintLayerFooter();
  EXPECT_EQ(out.str(), "a\tonly\n");
  EXPECT_EQ(e.GetNumLinesOnPage(), 1);
}

TEST_F(OmPivotTableTxtExportFrame, NothingInTheFooterWhenFootnotesAreNotKept) {
  Build({"first"}, "Caption");
  options.KeepFootNotesAndCaption(false);
  OmPivotTableTxtExport& e = Exporter(2);
  e.PrintLayerFooter();
  EXPECT_EQ(out.str(), "");
  EXPECT_EQ(e.GetNumLinesOnPage(), 2);
}

TEST_F(OmPivotTableTxtExportFrame, CaptionTestsBeforeAndNotesTestAfterEachLine) {
  Build({"first", "second", "third"}, "Caption");
  options.NumLinesPerPage(10);
  options.InsertPageBreak(true);
  OmPivotTableTxtExport& e = Exporter(9);
  options.TabSeparated(false);
  e.PrintLayerFooter();
  // 9 + 1 reaches 10: break before the caption; then 1, 2, 3, 4 lines.
  EXPECT_EQ(out.str(), "\f\nCaption\na first\nb second\nc third\n");
  EXPECT_EQ(e.GetNumLinesOnPage(), 4);

  out.str("");
  table->SetCaption(std::unique_ptr<OmText>());
  e.setLinesOnPage(8);
  e.PrintLayerFooter();
  // 9 after the first note, 10 after the second: break, then 1.
  EXPECT_EQ(out.str(), "a first\nb second\n\f\nc third\n");
  EXPECT_EQ(e.GetNumLinesOnPage(), 1);
}

TEST_F(OmPivotTableTxtExportFrame, NotesAreListedInOrderOfRequestThenTheRest) {
  Build({"zero", "one", "two"}, nullptr);
  table->SetTitle("Opinions").AddFootnote(2);
  OmPivotTableTxtExport& e = Exporter();
  e.PrintLayerHeading();
  e.PrintLayerFooter();
  EXPECT_EQ(out.str(),
            "Opinions(a)\nWave\tSpring\t\nFemale\t\n"
            "a\ttwo\nb\tzero\nc\tone\n");
}

}  // namespace
