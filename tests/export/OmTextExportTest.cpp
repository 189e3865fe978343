// The tree walk, headings, text blocks, page counting and the recovery from
// lack of memory.
#include "export/OmTextExport.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <new>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <vector>

#include "export/OmTextExportOptions.h"
#include "host/OmHeading.h"
#include "host/OmOutputTree.h"
#include "host/OmTextBlock.h"
#include "host/OmTitledPart.h"

namespace {

// A stream buffer that throws std::bad_alloc on writing once armed.
struct ArmedBuf : std::stringbuf {
  bool armed = false;
  std::streamsize xsputn(const char* s, std::streamsize n) override {
    if (armed) throw std::bad_alloc();
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

TEST_F(TreeExport, SelectionRules) {
  options.NumLinesPerPage(100);
  Text({"unselected block"}, 1, false);
  Text({"child of it"}, 2);
  Heading("unselected heading", 1, false);
  Add(std::make_unique<OmProcedure>("unselected procedure"), 1, false);
  // With ShowUnselected the walk dispatches everything, but headings and
  // procedures still print only when selected themselves.
  EXPECT_EQ(ExportAll(), "unselected block\nchild of it\n");
  options.ShowUnselected(false);
  EXPECT_EQ(ExportAll(), "child of it\n");
}

// A procedure breaks the page, selected or not, unless nothing was written
// since the last break, page breaks are off or the export is tab-separated.
TEST_F(TreeExport, ProcedurePageBreaks) {
  options.NumLinesPerPage(100);
  Add(std::make_unique<OmProcedure>("P"), 1);
  Heading("A");
  Add(std::make_unique<OmProcedure>("Q"), 1);
  Add(std::make_unique<OmProcedure>("hidden"), 1, false);
  Heading("B");
  EXPECT_EQ(ExportAll(), "P\nA\nQ\nB\n");
  options.InsertPageBreak(true);
  EXPECT_EQ(ExportAll(), "P\nA\n\f\nQ\n\f\nB\n");
  options.TabSeparated(true);
  EXPECT_EQ(ExportAll(), "P\nA\nQ\nB\n");
}

TEST_F(TreeExport, LineDrawingBytesBecomePlainCharacters) {
  Text({"\x10\x0E\x0E\x18", "\x0F x \x0F", "\x11\x12\x13\x14\x15\x16\x17", "\x19\x0D\x0B"});
  EXPECT_EQ(ExportAll(), "+--+\n| x |\n+++++++\n\x19\x0D\x0B\n");
}

TEST_F(TreeExport, FormFeedLineIsReplacedByAPageBreak) {
  Text({"one", "dropped \f text", "two", "\f"});
  EXPECT_EQ(ExportAll(), "one\n\f\ntwo\n\f\n");
  // Nothing written since the last break: no break at all.
  tree = OmOutputTree();
  Text({"\f", "a"});
  EXPECT_EQ(ExportAll(), "a\n");
  options.TabSeparated(true);
  tree = OmOutputTree();
  Text({"a", "\f", "b"});
  EXPECT_EQ(ExportAll(), "a\nb\n");
}

TEST_F(TreeExport, HeadingsEndPagesTextLinesOnlyCount) {
  // The default and 0 page lengths end the page after every heading.
  Heading("A");
  Heading("B");
  EXPECT_EQ(ExportAll(), "A\n\f\nB\n\f\n");
  options.NumLinesPerPage(0);
  EXPECT_EQ(ExportAll(), "A\n\f\nB\n\f\n");
  options.NumLinesPerPage(3);
  for (const char* text : {"3", "4", "5", "6", "7"}) Heading(text);
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
  options.NumLinesPerPage(-5);
  options.TabSeparated(true);
  EXPECT_EQ(ExportAll(), "A\nB\n");
}

TEST_F(TreeExport, LackOfMemoryReplacesThePartAndGoesOn) {
  options.NumLinesPerPage(100);
  Heading("before");
  auto failing = Add(std::make_unique<FailingPart>([] { throw std::bad_alloc(); }), 1);
  Heading("child", 2);
  Heading("after");
  EXPECT_EQ(ExportAll(), "before\nOutput Missing\nOut of memory exporting output.\nchild\nafter\n");
  // The host's tree now holds the replacement, at the same level.
  auto* block = dynamic_cast<OmTextBlock*>(failing.Value());
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(failing.Level(), 1);
  EXPECT_EQ(block->Lines().size(), 2u);
  EXPECT_EQ(block->Charset(), "CP1252");
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

TEST(OmTextExportOptions, Defaults) {
  const OmTextExportOptions o;
  EXPECT_EQ(o.ColumnSeparator() + o.RowSeparator(), "|_");
  EXPECT_EQ((std::vector<std::int32_t>{o.WidthRestriction(), o.NumLinesPerPage(), o.MaxLineWidth()}),
            (std::vector<std::int32_t>{-1, -1, -1}));
  EXPECT_EQ((std::vector<bool>{o.HideEmptyRowsAndColumns(), o.RowDimensionLabelsInCorner(),
                               o.KeepFootNotesAndCaption(), o.ExportAllLayers(),
                               o.AlphabeticFootNotes(), o.ShowUnselected(), o.TabSeparated(),
                               o.InsertPageBreak(), o.ShowNotes()}),
            (std::vector<bool>{true, true, true, true, true, true, false, false, false}));
}

}  // namespace
