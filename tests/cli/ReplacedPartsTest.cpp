// How the command learns which parts the library replaced by "Output
// Missing" for lack of memory, and where they stood, through both the
// stream export and the destination.
#include "cli/ReplacedParts.h"

#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <sstream>
#include <string>
#include <vector>

#include "CommandRunner.h"
#include "cli/Deliver.h"
#include "destination/TextTreeVisitor.h"
#include "export/OmTextExport.h"
#include "export/OmTextExportOptions.h"
#include "host/output/OmHeading.h"
#include "host/output/OmOutputTree.h"
#include "host/output/OmTextBlock.h"
#include "host/output/OmTitledPart.h"
#include "host/table/OmPivotTable.h"

namespace {

using Strings = std::vector<std::string>;

// A chart whose printing runs out of memory.
class FailingChart : public OmChart {
 public:
  void Accept(Visitor&) override { throw std::bad_alloc(); }
};

// A table whose row heading, with empty rows shown, would hold more
// entries than the host allows: laying it out runs out of memory at once.
std::unique_ptr<OmPivotTable> OversizedTable() {
  auto table = std::make_unique<OmPivotTable>();
  for (const char* label : {"A", "B"}) {
    OmDimension& dimension = table->AddDimension(OmAxis::Row, label);
    for (int i = 0; i < 6000; ++i)
      dimension.AddCategory("c");
  }
  return table;
}

class ReplacedParts : public ::testing::Test {
 protected:
  // output[0]: heading A; output[1]: procedure P with a heading, a table
  // too large to lay out and, under the table, a failing chart; output[2]:
  // text.
  ReplacedParts() {
    options.HideEmptyRowsAndColumns(false);
    options.NumLinesPerPage(1000);
    tree.Append(std::make_unique<OmHeading>("A"), 1);
    tree.Append(std::make_unique<OmProcedure>("P"), 1);
    tree.Append(std::make_unique<OmHeading>("H"), 2);
    tree.Append(OversizedTable(), 2);
    tree.Append(std::make_unique<FailingChart>(), 3);
    tree.Append(std::make_unique<OmTextBlock>(Strings{"end"}), 1);
  }

  Strings Export(bool stopAtFirst) {
    OmTextExport exporter(options, out);
    return omtext::cli::ReplacedParts::ExportTree(exporter, tree, stopAtFirst);
  }

  OmOutputTree tree;
  OmTextExportOptions options;
  std::ostringstream out;
};

const char* const kMissing = "Output Missing\nOut of memory exporting output.\n";

TEST_F(ReplacedParts, EachReplacedPartIsNamedByItsPlaceInTheDocument) {
  EXPECT_EQ(Export(false), (Strings{"the pivot table at output[1].children[1]",
                                    "the part at output[1].children[1].children[0]"}));
  EXPECT_EQ(out.str(), std::string("A\nP\nH\n") + kMissing + kMissing + "end\n");
}

TEST_F(ReplacedParts, StopsAfterTheFirstWhenAsked) {
  EXPECT_EQ(Export(true), Strings{"the pivot table at output[1].children[1]"});
  EXPECT_EQ(out.str(), std::string("A\nP\nH\n") + kMissing);
}

TEST_F(ReplacedParts, DestinationReportsThemToo) {
  // The destination hides empty rows, so only the chart fails there.
  const std::string dir = omtext::testing::MakeScratchDirectory();
  {
    TextTreeVisitor destination;
    destination.SetTextTreeParameters(false, dir + "/out.txt");
    EXPECT_EQ(omtext::cli::DeliverDocument(tree, destination),
              Strings{"the part at output[1].children[1].children[0]"});
  }
  EXPECT_NE(omtext::testing::ReadFile(dir + "/out.txt").find(kMissing), std::string::npos);
  omtext::testing::RemoveDirectory(dir);
}

}  // namespace
