// The tree walk, headings, text blocks, page counting and the recovery from
// lack of memory.
#include "export/OmTextExport.h"

#include <gtest/gtest.h>

#include <new>
#include <sstream>
#include <stdexcept>
#include <streambuf>

#include "export/OmTextExportOptions.h"
#include "host/OmHeading.h"
#include "host/OmOutputTree.h"
#include "host/OmTextBlock.h"
#include "host/OmTitledPart.h"

namespace {

// A part whose printing fails with the given exception.
template <class Exception>
class FailingPart : public OmChart {
 public:
  explicit FailingPart(std::streambuf* arm = nullptr) : mArm(arm) {}
  void Accept(Visitor&) override;

 private:
  std::streambuf* mArm;
};

// A stream buffer that throws std::bad_alloc on writing once armed.
class ArmedBuf : public std::stringbuf {
 public:
  bool armed = false;

 protected:
  std::streamsize xsputn(const char* s, std::streamsize n) override {
    if (armed) throw std::bad_alloc();
    return std::stringbuf::xsputn(s, n);
  }
};

template <class Exception>
void FailingPart<Exception>::Accept(Visitor&) {
  if (mArm != nullptr) static_cast<ArmedBuf*>(mArm)->armed = true;
  throw Exception();
}

struct RuntimeFailure : std::runtime_error {
  RuntimeFailure() : std::runtime_error("boom") {}
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
  std::string ExportTree() {
    std::ostringstream out;
    OmTextExport exporter(options, out);
    exporter.Export(tree);
    return out.str();
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

TEST_F(TreeExport, EmptyTreeWritesNothing) { EXPECT_EQ(ExportTree(), ""); }

TEST_F(TreeExport, TreeExportStopsAtTheFirstNodesSibling) {
  options.NumLinesPerPage(100);
  Heading("A");
  Heading("B", 2);
  Heading("C", 3);
  Heading("D", 2);
  Heading("E");
  Heading("F", 2);
  EXPECT_EQ(ExportTree(), "A\nB\nC\nD\n");
}

TEST_F(TreeExport, RangeExportStopsBeforeLast) {
  options.NumLinesPerPage(100);
  Heading("A");
  auto second = Heading("B");
  auto third = Heading("C");
  std::ostringstream out;
  OmTextExport exporter(options, out);
  exporter.Export(second, third);
  EXPECT_EQ(out.str(), "B\n");
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

TEST_F(TreeExport, ProcedureBreaksThePageOnlyWithInsertPageBreak) {
  options.NumLinesPerPage(100);
  Heading("A");
  Add(std::make_unique<OmProcedure>("P"), 1);
  EXPECT_EQ(ExportAll(), "A\nP\n");
  options.InsertPageBreak(true);
  EXPECT_EQ(ExportAll(), "A\n\f\nP\n");
}

TEST_F(TreeExport, UnselectedProcedureStillBreaksThePage) {
  options.NumLinesPerPage(100);
  options.InsertPageBreak(true);
  Heading("A");
  Add(std::make_unique<OmProcedure>("P"), 1, false);
  Heading("B");
  EXPECT_EQ(ExportAll(), "A\n\f\nB\n");
}

TEST_F(TreeExport, NoPageBreakOnAnEmptyPageOrWhenTabSeparated) {
  options.NumLinesPerPage(100);
  options.InsertPageBreak(true);
  Add(std::make_unique<OmProcedure>("P"), 1);
  Heading("A");
  Add(std::make_unique<OmProcedure>("Q"), 1);
  EXPECT_EQ(ExportAll(), "P\nA\n\f\nQ\n");
  options.TabSeparated(true);
  EXPECT_EQ(ExportAll(), "P\nA\nQ\n");
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

TEST_F(TreeExport, HeadingsBreakEveryThirdLineTextLinesOnlyCount) {
  options.NumLinesPerPage(3);
  for (const char* text : {"1", "2", "3", "4", "5", "6", "7"}) Heading(text);
  EXPECT_EQ(ExportAll(), "1\n2\n3\n\f\n4\n5\n6\n\f\n7\n");
  tree = OmOutputTree();
  Text({"a", "b", "c", "d"});
  Heading("h");
  EXPECT_EQ(ExportAll(), "a\nb\nc\nd\nh\n\f\n");
}

TEST_F(TreeExport, DefaultAndZeroPageLengthBreakAfterEveryHeading) {
  Heading("A");
  Heading("B");
  EXPECT_EQ(ExportAll(), "A\n\f\nB\n\f\n");
  options.NumLinesPerPage(0);
  EXPECT_EQ(ExportAll(), "A\n\f\nB\n\f\n");
  options.NumLinesPerPage(-5);
  options.TabSeparated(true);
  EXPECT_EQ(ExportAll(), "A\nB\n");
}

TEST_F(TreeExport, PageCountCarriesOverBetweenExports) {
  options.NumLinesPerPage(3);
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
  auto failing = Add(std::make_unique<FailingPart<std::bad_alloc>>(), 1);
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
  Add(std::make_unique<FailingPart<std::bad_alloc>>(&buffer), 1);
  OmTextExport exporter(options, out);
  EXPECT_THROW(exporter.Export(tree), std::bad_alloc);
}

TEST_F(TreeExport, OtherExceptionsPropagateWithOutputKept) {
  options.NumLinesPerPage(100);
  Heading("kept");
  Add(std::make_unique<FailingPart<RuntimeFailure>>(), 1);
  std::ostringstream out;
  OmTextExport exporter(options, out);
  EXPECT_THROW(exporter.Export(tree.Begin(), tree.End()), RuntimeFailure);
  EXPECT_EQ(out.str(), "kept\n");
}

TEST(OmTextExportOptions, DefaultsAndUncheckedSetters) {
  OmTextExportOptions options;
  EXPECT_EQ(options.ColumnSeparator(), "|");
  EXPECT_EQ(options.RowSeparator(), "_");
  EXPECT_EQ(options.WidthRestriction(), -1);
  EXPECT_EQ(options.NumLinesPerPage(), -1);
  EXPECT_EQ(options.MaxLineWidth(), -1);
  EXPECT_TRUE(options.HideEmptyRowsAndColumns());
  EXPECT_TRUE(options.RowDimensionLabelsInCorner());
  EXPECT_TRUE(options.KeepFootNotesAndCaption());
  EXPECT_TRUE(options.ExportAllLayers());
  EXPECT_TRUE(options.AlphabeticFootNotes());
  EXPECT_TRUE(options.ShowUnselected());
  EXPECT_FALSE(options.TabSeparated());
  EXPECT_FALSE(options.InsertPageBreak());
  EXPECT_FALSE(options.ShowNotes());

  options.RowSeparator("");
  options.ColumnSeparator(" || ");
  options.MaxLineWidth(0);
  options.NumLinesPerPage(-7);
  options.WidthRestriction(-2147483647 - 1);
  EXPECT_EQ(options.RowSeparator(), "");
  EXPECT_EQ(options.ColumnSeparator(), " || ");
  EXPECT_EQ(options.MaxLineWidth(), 0);
  EXPECT_EQ(options.NumLinesPerPage(), -7);
  EXPECT_EQ(options.WidthRestriction(), -2147483647 - 1);
}

}  // namespace
