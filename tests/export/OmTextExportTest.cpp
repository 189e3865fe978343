// The tree walk, page counting and recovery from lack of memory; then the
// pivot-table visit's page rule at its limits, the lines it counts and does
// not count, skipped notes tables and the default page length.
#include "export/OmTextExport.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <new>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>
#include <vector>

#include "export/OmTextExportOptions.h"
#include "export/OmTextExportTreeVisitor.h"
#include "host/output/OmHeading.h"
#include "host/output/OmOutputTree.h"
#include "host/output/OmTextBlock.h"
#include "host/output/OmTitledPart.h"
#include "host/table/OmPivotTable.h"
#include "pivot/OmPivotTableTxtExport.h"

namespace {

// A stream buffer that throws std::bad_alloc on writing once armed.
struct ArmedBuf : std::stringbuf {
  bool armed = false;
  std::streamsize xsputn(const char* s, std::streamsize n) override {
    if (armed)
      throw std::bad_alloc();
    return std::stringbuf::xsputn(s, n);
  }
};

// A part whose printing throws what the given action throws.
class FailingPart : public OmChart {
 public:
  explicit FailingPart(std::function<void()> fail) : mFail(std::move(fail)) {}
  void Accept(Visitor&) override { mFail(); }

 private:
  std::function<void()> mFail;
};

class TreeExport : public ::testing::Test {
 protected:
  OmOutputTree::Node Add(std::unique_ptr<OmOutputPart> part, int level, bool selected = true) {
    part->selected = selected;
    return tree.Append(std::move(part), level);
  }
  OmOutputTree::Node Heading(const std::string& text, int level = 1, bool selected = true) {
    return Add(std::make_unique<OmHeading>(text), level, selected);
  }
  OmOutputTree::Node Text(std::vector<std::string> lines, int level = 1, bool selected = true) {
    return Add(std::make_unique<OmTextBlock>(std::move(lines)), level, selected);
  }
  std::string ExportAll() {
    std::ostringstream out;
    OmTextExport exporter(options, out);
    exporter.Export(tree.Begin(), tree.End());
    return out.str();
  }

  OmOutputTree tree;
  OmTextExportOptions options;
};

TEST_F(TreeExport, TreeIsItsFirstNodeAndDescendantsRangeStopsBeforeLast) {
  std::ostringstream out;
  OmTextExport(options, out).Export(tree);
  EXPECT_EQ(out.str(), "");
  options.NumLinesPerPage(100);
  Heading("A");
  Heading("B", 2);
  Heading("C", 3);
  auto d = Heading("D", 2);
  auto e = Heading("E");
  Heading("F", 2);
  OmTextExport(options, out).Export(tree);
  EXPECT_EQ(out.str(), "A\nB\nC\nD\n");
  OmTextExport(options, out).Export(d, e);
  EXPECT_EQ(out.str(), "A\nB\nC\nD\nD\n");
}

// With ShowUnselected the walk dispatches every part, but headings and
// procedures print only when selected themselves. A procedure breaks the
// page, selected or not, unless nothing was written since the last break or
// the export is tab-separated.
TEST_F(TreeExport, SelectionAndProcedurePageBreaks) {
  options.NumLinesPerPage(100);
  Add(std::make_unique<OmProcedure>("P"), 1);
  Text({"unselected block"}, 1, false);
  Text({"child of it"}, 2);
  Heading("unselected heading", 1, false);
  Add(std::make_unique<OmProcedure>("unselected procedure"), 1, false);
  Heading("B");
  EXPECT_EQ(ExportAll(), "P\nunselected block\nchild of it\nB\n");
  options.InsertPageBreak(true);
  EXPECT_EQ(ExportAll(), "P\nunselected block\nchild of it\n\f\nB\n");
  options.TabSeparated(true);
  EXPECT_EQ(ExportAll(), "P\nunselected block\nchild of it\nB\n");
  options.TabSeparated(false);
  options.ShowUnselected(false);
  EXPECT_EQ(ExportAll(), "P\nchild of it\nB\n");
}

// Line-drawing bytes become plain characters; a line that holds a form feed
// is a page break, none when nothing is written since the last one.
TEST_F(TreeExport, TextLinesDrawLinesAndBreakPages) {
  Text({"\f", "\x10\x0E\x0E\x18", "\x0F x \x0F", "\x11\x12\x13\x14\x15\x16\x17", "\x19\x0D\x0B",
        "dropped \f text", "two", "\f"});
  EXPECT_EQ(ExportAll(), "+--+\n| x |\n+++++++\n\x19\x0D\x0B\n\f\ntwo\n\f\n");
  options.TabSeparated(true);
  EXPECT_EQ(ExportAll(), "+--+\n| x |\n+++++++\n\x19\x0D\x0B\ntwo\n");
}

TEST_F(TreeExport, HeadingsEndPagesTextLinesOnlyCount) {
  // The default and 0 page lengths end the page after every heading.
  Heading("A");
  Heading("B");
  EXPECT_EQ(ExportAll(), "A\n\f\nB\n\f\n");
  options.NumLinesPerPage(0);
  EXPECT_EQ(ExportAll(), "A\n\f\nB\n\f\n");
  options.NumLinesPerPage(3);
  for (const char* text : {"3", "4", "5", "6", "7"})
    Heading(text);
  EXPECT_EQ(ExportAll(), "A\nB\n3\n\f\n4\n5\n6\n\f\n7\n");
  tree = OmOutputTree();
  Text({"a", "b", "c", "d"});
  Heading("h");
  EXPECT_EQ(ExportAll(), "a\nb\nc\nd\nh\n\f\n");
  // The count carries over from one export to the next.
  tree = OmOutputTree();
  Heading("A");
  Heading("B", 2);
  std::ostringstream out;
  OmTextExport exporter(options, out);
  exporter.Export(tree);
  exporter.Export(tree);
  EXPECT_EQ(out.str(), "A\nB\nA\n\f\nB\n");
}

TEST_F(TreeExport, LackOfMemoryReplacesThePartAndGoesOn) {
  options.NumLinesPerPage(100);
  Heading("before");
  Add(std::make_unique<FailingPart>([] { throw std::bad_alloc(); }), 1);
  Heading("child", 2);
  Heading("after");
  EXPECT_EQ(ExportAll(), "before\nOutput Missing\nOut of memory exporting output.\nchild\nafter\n");
}

TEST_F(TreeExport, SecondLackOfMemoryPropagates) {
  ArmedBuf buffer;
  std::ostream out(&buffer);
  out.exceptions(std::ios_base::badbit);
  Add(std::make_unique<FailingPart>([&buffer] {
        buffer.armed = true;
        throw std::bad_alloc();
      }),
      1);
  OmTextExport exporter(options, out);
  EXPECT_THROW(exporter.Export(tree), std::bad_alloc);
}

TEST_F(TreeExport, OtherExceptionsPropagateWithOutputKept) {
  options.NumLinesPerPage(100);
  Heading("kept");
  Add(std::make_unique<FailingPart>([] { throw std::runtime_error("boom"); }), 1);
  std::ostringstream out;
  OmTextExport exporter(options, out);
  EXPECT_THROW(exporter.Export(tree.Begin(), tree.End()), std::runtime_error);
  EXPECT_EQ(out.str(), "kept\n");
}

class PivotTableVisit : public ::testing::Test {
 protected:
  // Tab-separated, so every body line is known; there the page rule still
  // decides, silently.
  void SetUp() override {
    options.TabSeparated(true);
    options.NumLinesPerPage(1000);
  }
  // Title "T" and a layer dimension L (label hidden) with one cell per layer.
  void Layered(const std::vector<std::string>& layers) {
    table->SetTitle("T");
    OmDimension& dimension = table->AddDimension(OmAxis::Layer, "L");
    dimension.SetShowLabel(false);
    for (const std::string& name : layers)
      dimension.AddCategory(name);
    for (std::size_t i = 0; i < layers.size(); ++i)
      table->SetText({static_cast<std::int32_t>(i)}, "v" + layers[i]);
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

TEST_F(PivotTableVisit, NotesTablesAreSkippedAndTablesWithoutALayerPrintFootnotes) {
  Layered({});
  EXPECT_EQ(Visit(1), "");
  table->AddFootnote("note");
  table->SetCaption("Caption");
  table->Dimension(0).SetShowLabel(true);
  EXPECT_EQ(Visit(), "T\nL\t\n____\nCaption\na\tnote\n\n");
  // Title, layer line, caption and note, then the closing line; "____" is
  // not counted.
  EXPECT_EQ(visitor->LinesOnPage(), 4 + 1);
  // A notes table is skipped before the page break of InsertPageBreak.
  table->SetNotes(true);
  options.TabSeparated(false);
  options.InsertPageBreak(true);
  EXPECT_EQ(Visit(2), "");
}

// Pages of 60 lines, `used` of them already written, and a layer of `lines`
// lines (a title and lines - 3 notes, counted with 2 more). In tab mode no
// form feed is written; the count after the table shows where the page broke.
TEST_F(PivotTableVisit, PageRuleBreaksWhereTheLayerFitsBetterOnAFreshPage) {
  const struct {
    int used, lines, after;
  } cases[] = {
      {50, 15, 14},   // break: 1 + 12 + closing
      {45, 15, 59},   // fits: 45 + 13 + 1
      {20, 100, 59},  // under half used, no break: 21 + 39, 58 + 1
      {30, 100, 9},   // half used, no break: 31 + 29, 60, 8 + 1
      {31, 100, 39},  // break: 1 + 59, 38 + 1
  };
  options.NumLinesPerPage(60);
  for (const auto& c : cases) {
    SCOPED_TRACE(c.used);
    table = std::make_unique<OmPivotTable>();
    table->SetTitle("T");
    for (int i = 0; i < c.lines - 3; ++i)
      table->AddFootnote("n");
    EXPECT_EQ(Visit(c.used).find('\f'), std::string::npos);
    EXPECT_EQ(visitor->LinesOnPage(), c.after);
  }
}

TEST_F(PivotTableVisit, DefaultPageLengthBreaksBeforeEveryLayer) {
  Layered({"a", "b"});
  options.NumLinesPerPage(-1);
  EXPECT_EQ(Visit(), "T\na\t\nva\nT\nb\t\nvb\n\n");
}

TEST_F(PivotTableVisit, SeparatingLineThatFillsThePageLeavesTheLayersCountAlone) {
  // Pages of 2 without titles: after layer a the separating line fills the
  // page and breaks it, but b's heading still sees the count from before the
  // line (1 + 1 >= 2) and breaks once more.
  options.TabSeparated(false);
  options.InsertPageBreak(true);
  options.NumLinesPerPage(2);
  OmDimension& layers = table->AddDimension(OmAxis::Layer, "L");
  layers.AddCategory("a");
  layers.AddCategory("b");
  table->AddDimension(OmAxis::Row, "R").AddCategory("r");
  table->SetNumber({0, 0}, 1);
  table->SetNumber({1, 0}, 2);
  EXPECT_EQ(Visit(),
            "L a \n\n\f\n|_|_|\n|r|1|\n\f\n|_|_|\n\n\f\n\f\nL b \n\n\f\n|_|_|\n|r|2|\n\f\n|_|_|\n\n"
            "\f\n");
}

// The counts the command's limits ask for match what the visit prints.
class PivotTableCounts : public PivotTableVisit {
 protected:
  // Row dimension R of 3 leaves and column dimension C of 4 under a layer
  // dimension L of `layers` leaves; cells only where `filled` says.
  void Build(std::int32_t layers, const std::function<bool(int, int, int)>& filled) {
    OmDimension& layer = table->AddDimension(OmAxis::Layer, "L");
    for (std::int32_t i = 0; i < layers; ++i)
      layer.AddCategory("l" + std::to_string(i));
    OmDimension& rows = table->AddDimension(OmAxis::Row, "R");
    for (const char* name : {"r0", "r1", "r2"})
      rows.AddCategory(name);
    OmDimension& columns = table->AddDimension(OmAxis::Column, "C");
    for (const char* name : {"c0", "c1", "c2", "c3"})
      columns.AddCategory(name);
    for (int l = 0; l < layers; ++l)
      for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 4; ++c)
          if (filled(l, r, c))
            table->SetText({l, r, c}, "v");
  }
  std::int64_t Positions(std::int64_t limit = 1000000) {
    return OmTextExportTreeVisitor::CountGridPositions(*table, options, limit);
  }
};

TEST_F(PivotTableCounts, GridOfNoOrNegativeCountsIsOneCellAndHugeOnesSaturate) {
  // Table rows and data columns count at least one; negative counts none.
  EXPECT_EQ(OmPivotTableTxtExport::PlanGrid(2, 0, 0, 0).Positions(), 3);
  EXPECT_EQ(OmPivotTableTxtExport::PlanGrid(-4, -1, -1, -9).Positions(), 1);
  constexpr std::int64_t kHuge = std::int64_t{1} << 62;
  EXPECT_EQ(OmPivotTableTxtExport::PlanGrid(kHuge, kHuge, kHuge, kHuge).Positions(), kHuge);
  EXPECT_EQ(OmPivotTableTxtExport::PlanGrid(1, 0, 0, std::int64_t{1} << 61).Positions(), kHuge);
}

TEST_F(PivotTableCounts, LayersAreThoseTheVisitPrints) {
  Build(5, [](int, int, int) { return true; });
  EXPECT_EQ(OmTextExportTreeVisitor::CountLayers(*table, options), 5);
  options.ExportAllLayers(false);
  EXPECT_EQ(OmTextExportTreeVisitor::CountLayers(*table, options), 1);
  options.ExportAllLayers(true);
  table->SetNotes(true);
  EXPECT_EQ(OmTextExportTreeVisitor::CountLayers(*table, options), 0);
  EXPECT_EQ(Positions(), 0);
  options.ShowNotes(true);
  EXPECT_EQ(OmTextExportTreeVisitor::CountLayers(*table, options), 5);

  table = std::make_unique<OmPivotTable>();
  Build(0, [](int, int, int) { return true; });
  EXPECT_EQ(OmTextExportTreeVisitor::CountLayers(*table, options), 0);
  EXPECT_EQ(Positions(), 0);
}

TEST_F(PivotTableCounts, PositionsAreTheFieldsATabSeparatedTablePrints) {
  // One layer without title or footnotes: the body is the whole output, a
  // line per grid row and a field per grid column.
  auto fields = [](const std::string& text) {
    std::int64_t count = 0;
    for (const char c : text)
      count += c == '\t' || c == '\n' ? 1 : 0;
    return count - 1;  // the closing empty line
  };
  for (const bool hide : {true, false}) {
    SCOPED_TRACE(hide);
    table = std::make_unique<OmPivotTable>();
    Build(1, [](int, int r, int c) { return r == 1 && c != 2; });
    options.HideEmptyRowsAndColumns(hide);
    // The layer dimension's line and the table's title are not part of it.
    table->Dimension(0).SetShowLabel(false);
    const std::string text = Visit();
    const std::string body = text.substr(text.find('\n') + 1);
    EXPECT_EQ(Positions(), fields(body)) << text;
  }
}

TEST_F(PivotTableCounts, HiddenEmptyRowsAndColumnsAreCountedLayerByLayer) {
  // Layer 0 full, the others empty: shown, every layer has the full grid
  // (2 heading rows + 3 rows by 1 heading column + 4 columns); hidden, the
  // empty ones keep only their headings and one empty row and column.
  Build(4, [](int l, int, int) { return l == 0; });
  options.HideEmptyRowsAndColumns(false);
  EXPECT_EQ(Positions(), 4 * 5 * 5);
  options.HideEmptyRowsAndColumns(true);
  const std::int64_t hidden = Positions();
  EXPECT_LT(hidden, 4 * 5 * 5);
  EXPECT_GT(hidden, 5 * 5);
  // Counting stops once the sum passes the limit.
  EXPECT_EQ(Positions(0), 5 * 5);
}

}  // namespace
