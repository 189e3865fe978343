// The pivot-table visit: which tables and layers are printed, the page rule,
// the separating and closing empty lines, the footnote pass of a table
// without a layer, and the page count it leaves. Tab-separated, so every
// body line is known; there the page rule still decides, silently.
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

class PivotTableVisit : public ::testing::Test {
 protected:
  void SetUp() override {
    options.TabSeparated(true);
    options.NumLinesPerPage(1000);
  }
  // Title "T", a layer dimension L (label hidden) with one cell per layer,
  // and notes footnotes.
  void Layered(const std::vector<std::string>& layers, std::int32_t notes = 0) {
    table->SetTitle("T");
    OmDimension& dimension = table->AddDimension(OmAxis::Layer, "L");
    dimension.SetShowLabel(false);
    for (const std::string& name : layers)
      dimension.AddCategory(name);
    for (std::int32_t i = 0; i < notes; ++i)
      table->AddFootnote("note " + std::to_string(i));
    for (std::size_t i = 0; i < layers.size(); ++i) {
      table->SetText({static_cast<std::int32_t>(i)}, "v" + layers[i]);
    }
  }
  // Prints `before` lines, then the table; returns what the table wrote.
  std::string Visit(std::int32_t before = 0) {
    visitor = std::make_unique<OmTextExportTreeVisitor>(out, options);
    for (std::int32_t i = 0; i < before; ++i)
      visitor->PrintString("line");
    const std::size_t start = out.str().size();
    visitor->Visit(*table);
    return out.str().substr(start);
  }

  OmTextExportOptions options;
  std::ostringstream out;
  std::unique_ptr<OmPivotTable> table = std::make_unique<OmPivotTable>();
  std::unique_ptr<OmTextExportTreeVisitor> visitor;
};

TEST_F(PivotTableVisit, LayersAreSeparatedByOneEmptyLineAndClosedByOne) {
  Layered({"a", "b"}, 1);
  EXPECT_EQ(Visit(), "T\na\t\nva\na\tnote 0\n\nT\nb\t\nvb\na\tnote 0\n\n");
  // Title, layer line and note per layer, the separating and closing lines.
  EXPECT_EQ(visitor->LinesOnPage(), 3 + 1 + 3 + 1);
  // A notes table is skipped before the page break of InsertPageBreak.
  table->SetNotes(true);
  options.TabSeparated(false);
  options.InsertPageBreak(true);
  EXPECT_EQ(Visit(2), "");
}

TEST_F(PivotTableVisit, WithoutALayerOnlyFootnotesArePrintedOnce) {
  Layered({});
  EXPECT_EQ(Visit(1), "");
  table->AddFootnote("note");
  table->SetCaption("Caption");
  table->Dimension(0).SetShowLabel(true);
  EXPECT_EQ(Visit(), "T\nL\t\n____\nCaption\na\tnote\n\n");
  // Title, layer line, caption and note, then the closing line; "____" is
  // not counted.
  EXPECT_EQ(visitor->LinesOnPage(), 4 + 1);
}

// (lines already on a page of 60, lines the layer takes, count after the
// table). The layer is a title and n - 3 notes (counted with 2 more); in tab
// mode no form feed is written and the count after the table shows where the
// page broke.
class PageRule : public PivotTableVisit,
                 public ::testing::WithParamInterface<std::tuple<int, int, int>> {};

TEST_P(PageRule, BreaksWhereTheLayerFitsBetterOnAFreshPage) {
  const auto [used, lines, after] = GetParam();
  options.NumLinesPerPage(60);
  table->SetTitle("T");
  for (int i = 0; i < lines - 3; ++i)
    table->AddFootnote("n");
  EXPECT_EQ(Visit(used).find('\f'), std::string::npos);
  EXPECT_EQ(visitor->LinesOnPage(), after);
}

INSTANTIATE_TEST_SUITE_P(OmTextExportTreeVisitor, PageRule,
                         ::testing::Values(std::make_tuple(50, 15, 14),  // break: 1 + 12 + closing
                                           std::make_tuple(20, 100,
                                                           59),  // under half used: 21 + 39, 58 + 1
                                           std::make_tuple(31, 100, 39),   // break: 1 + 59, 38 + 1
                                           std::make_tuple(45, 15, 59)));  // fits: 45 + 13 + 1

TEST_F(PivotTableVisit, DefaultPageLengthBreaksBeforeEveryLayer) {
  Layered({"a", "b"});
  options.NumLinesPerPage(-1);
  EXPECT_EQ(Visit(), "T\na\t\nva\nT\nb\t\nvb\n\n");
}

TEST_F(PivotTableVisit, SeparatingLineIsCountedEvenAfterABreak) {
  // Layers of 2 lines on pages of 4, after 1 line: a fits (1 + 2); b breaks
  // (3 + 2) and counts 2 + 1, so c breaks too. Counting only printed lines
  // would have put c after an empty line.
  Layered({"a", "b", "c"});
  options.KeepFootNotesAndCaption(false);
  options.NumLinesPerPage(4);
  EXPECT_EQ(Visit(1), "T\na\t\nva\nT\nb\t\nvb\nT\nc\t\nvc\n\n");
}

}  // namespace
