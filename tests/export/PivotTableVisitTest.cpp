// The pivot-table visit: which tables and layers are printed, the page rule
// between layers, the separating and closing empty lines, the footnote pass
// of a table without a layer, and the page count carried through it.
// Layers are printed tab-separated here, so that every line of the body is
// known without the formatted layout; the page rule is the same in both
// modes, and in tab mode its breaks are silent.
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

#include "export/OmTextExportOptions.h"
#include "export/OmTextExportTreeVisitor.h"
#include "host/OmPivotTable.h"

namespace {

class OmTextExportTreeVisitorPivotTable : public ::testing::Test {
 protected:
  void SetUp() override {
    options.TabSeparated(true);
    options.NumLinesPerPage(1000);
  }

  // Title "T", a layer dimension L (label hidden) with the given layers,
  // each holding one cell that names it, and the given footnotes.
  void Layered(const std::vector<std::string>& layers, std::int32_t notes = 0) {
    table->SetTitle("T");
    OmDimension& dimension = table->AddDimension(OmAxis::Layer, "L");
    dimension.SetShowLabel(false);
    for (const std::string& name : layers) dimension.AddCategory(name);
    for (std::int32_t i = 0; i < notes; ++i) table->AddFootnote("note " + std::to_string(i));
    for (std::size_t i = 0; i < layers.size(); ++i) {
      table->SetText({static_cast<std::int32_t>(i)}, "v" + layers[i]);
    }
  }

  // Prints `before` heading lines, then the table; returns what the table
  // wrote.
  std::string Visit(std::int32_t before = 0) {
    visitor = std::make_unique<OmTextExportTreeVisitor>(out, options);
    for (std::int32_t i = 0; i < before; ++i) visitor->PrintString("line");
    const std::string head = out.str();
    visitor->Visit(*table);
    return out.str().substr(head.size());
  }

  OmTextExportOptions options;
  std::ostringstream out;
  std::unique_ptr<OmPivotTable> table = std::make_unique<OmPivotTable>();
  std::unique_ptr<OmTextExportTreeVisitor> visitor;
};

TEST_F(OmTextExportTreeVisitorPivotTable, LayersAreSeparatedByOneEmptyLineAndClosedByOne) {
  Layered({"a", "b"}, 1);
  EXPECT_EQ(Visit(),
            "T\na\t\nva\na\tnote 0\n"
            "\n"
            "T\nb\t\nvb\na\tnote 0\n"
            "\n");
  // Each layer: title, layer line, note (the body is not counted); the
  // second adds the separating line.
  EXPECT_EQ(visitor->LinesOnPage(), 3 + 1 + 3 + 1);
}

TEST_F(OmTextExportTreeVisitorPivotTable, CurrentLayerOnlyWhenNotExportingAll) {
  Layered({"a", "b", "c"});
  table->Dimension(0).SetCurrentLeaf(1);
  options.ExportAllLayers(false);
  EXPECT_EQ(Visit(), "T\nb\t\nvb\n\n");
}

TEST_F(OmTextExportTreeVisitorPivotTable, NotesTableIsSkippedWithoutAPageBreak) {
  Layered({"a"});
  table->SetNotes(true);
  options.TabSeparated(false);
  options.InsertPageBreak(true);
  EXPECT_EQ(Visit(2), "");
  EXPECT_EQ(visitor->LinesOnPage(), 2);
  options.TabSeparated(true);
  options.ShowNotes(true);
  EXPECT_EQ(Visit(), "T\na\t\nva\n\n");
}

TEST_F(OmTextExportTreeVisitorPivotTable, TableWithoutLayerOrFootnotesWritesNothing) {
  Layered({});
  EXPECT_EQ(Visit(1), "");
  EXPECT_EQ(visitor->LinesOnPage(), 1);
}

TEST_F(OmTextExportTreeVisitorPivotTable, TableWithoutLayerStillListsItsFootnotesOnce) {
  Layered({}, 2);
  table->SetCaption("Caption");
  table->Dimension(0).SetShowLabel(true);
  EXPECT_EQ(Visit(), "T\nL\t\n____\nCaption\na\tnote 0\nb\tnote 1\n\n");
  // Title, layer line, caption and two notes; "____" is not counted.
  EXPECT_EQ(visitor->LinesOnPage(), 5 + 1);
}

// The page rule with a page of 60 lines: (lines already on the page, lines
// the layer will take, the count after the table). A layer of n lines is a
// title and n - 3 footnotes (the notes and 2 more are counted); in tab mode
// the count shows whether the layer started a new page.
class PageRule : public OmTextExportTreeVisitorPivotTable,
                 public ::testing::WithParamInterface<std::tuple<int, int, int>> {};

TEST_P(PageRule, BreaksOnlyWhereTheLayerFitsBetterOnAFreshPage) {
  const auto [used, lines, after] = GetParam();
  options.NumLinesPerPage(60);
  table->SetTitle("T");
  for (int i = 0; i < lines - 3; ++i) table->AddFootnote("n");
  const std::string text = Visit(used);
  EXPECT_EQ(text.find('\f'), std::string::npos);
  EXPECT_EQ(visitor->LinesOnPage(), after);
}

INSTANTIATE_TEST_SUITE_P(
    OmTextExportTreeVisitor, PageRule,
    ::testing::Values(
        // 50 + 15 > 60 but 15 fits a page: break; 1 + 12 lines, then the
        // closing line. Without the break the notes would wrap at 60.
        std::make_tuple(50, 15, 14),
        // Longer than a page, 2 x 20 <= 60: starts here and wraps once at
        // 60 (20 + 1 + 39), leaving 58 notes, then the closing line.
        std::make_tuple(20, 100, 59),
        // Longer than a page, 2 x 31 > 60: break; 1 + 97 wraps at 60.
        std::make_tuple(31, 100, 39),
        // Fits on this page exactly.
        std::make_tuple(45, 15, 59)));

TEST_F(OmTextExportTreeVisitorPivotTable, DefaultPageLengthBreaksBeforeEveryLayer) {
  Layered({"a", "b"});
  options.NumLinesPerPage(-1);
  // Every pass breaks, silently in tab mode, so no layer gets a separating
  // empty line; the table still gets its closing one.
  EXPECT_EQ(Visit(), "T\na\t\nva\nT\nb\t\nvb\n\n");
  EXPECT_EQ(visitor->LinesOnPage(), 0);
}

TEST_F(OmTextExportTreeVisitorPivotTable, SeparatingLineIsCountedEvenAfterABreak) {
  // Layers of 2 counted lines on pages of 4, after one line. Layer a fits
  // (1 + 2); b does not (3 + 2) and breaks, leaving 2 + 1 for the line it
  // did not print; so c (3 + 2) breaks too. Counting only what was printed
  // would have let c follow b after an empty line.
  Layered({"a", "b", "c"});
  options.KeepFootNotesAndCaption(false);
  options.NumLinesPerPage(4);
  EXPECT_EQ(Visit(1), "T\na\t\nva\nT\nb\t\nvb\nT\nc\t\nvc\n\n");
}

TEST_F(OmTextExportTreeVisitorPivotTable, TabModeNeverWritesAFormFeed) {
  Layered({"a", "b", "c"}, 3);
  table->SetCaption("C");
  options.InsertPageBreak(true);
  for (std::int32_t page : {-1, 0, 1, 2, 5}) {
    options.NumLinesPerPage(page);
    EXPECT_EQ(Visit(3).find('\f'), std::string::npos) << page;
  }
}

TEST_F(OmTextExportTreeVisitorPivotTable, PageBreakOptionBreaksBeforeTheTable) {
  Layered({"a"});
  options.InsertPageBreak(true);
  Visit(2);
  // The break before the table leaves title, layer line and closing line.
  EXPECT_EQ(visitor->LinesOnPage(), 3);
}

}  // namespace
