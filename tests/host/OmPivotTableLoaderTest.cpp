// Loading pivot tables: what the table holds, independence from key order,
// the dense data form, and every rejection with its position.
#include <gtest/gtest.h>

#include "host/OmDocumentLoader.h"
#include "LoaderTestSupport.h"
#include "host/OmPivotTable.h"
#include "host/OmText.h"

namespace {

using omtext::testing::Load;
using omtext::testing::Rejection;

// The rejection expected for a document in which a backtick marks where the
// offending value starts: "LINE:COLUMN: message", the backtick removed.
std::string At(std::string marked, const std::string& message) {
  const std::size_t mark = marked.find('`');
  std::size_t line = 1;
  std::size_t lineStart = 0;
  for (std::size_t i = 0; i < mark; ++i) {
    if (marked[i] == '\n') {
      ++line;
      lineStart = i + 1;
    }
  }
  return std::to_string(line) + ":" + std::to_string(mark - lineStart + 1) + ": " + message;
}

std::string Unmarked(std::string marked) {
  marked.erase(marked.find('`'), 1);
  return marked;
}

// Expects the marked document to be rejected with the message at the mark.
#define EXPECT_REJECTED_AT(marked, message) \
  EXPECT_EQ(Rejection(Unmarked(marked)), At(marked, message))

// One pivot-table part with the given keys, on one line.
std::string Table(const std::string& keys) {
  return R"({"output": [{"type": "pivot-table", )" + keys + "}]}";
}

// Every cell of a table as "index=text(footnotes)[markers]" lines, walking
// all index combinations, so two tables can be compared whole.
std::string Cells(const OmPivotTable& table) {
  std::string out;
  std::vector<std::int32_t> index = table.SizeVector();
  const std::int32_t n = table.NDimensions();
  for (std::int32_t d = 0; d < n; ++d) {
    if (table.Dimension(d).NLeaves() == 0) return out;
  }
  while (true) {
    if (const OmCellText* cell = table.Cell(index)) {
      for (std::int32_t position : index) out += std::to_string(position) + ",";
      out += "=" + cell->GetText();
      for (std::int16_t f : cell->Footnotes()) out += "(" + std::to_string(f) + ")";
      for (const std::string& m : cell->getMarkers()) out += "[" + m + "]";
      out += "\n";
    }
    std::int32_t d = n - 1;
    while (d >= 0 && ++index[static_cast<std::size_t>(d)] == table.Dimension(d).NLeaves()) {
      index[static_cast<std::size_t>(d)] = 0;
      --d;
    }
    if (d < 0) return out;
  }
}

OmPivotTable& FirstTable(OmOutputTree& tree) {
  return *dynamic_cast<OmPivotTable*>(tree.Begin().Value());
}

const char* const kCrosstab =
    R"({"output": [{"type": "pivot-table", "title": {"text": "T", "footnotes": [1]},
      "caption": "C", "footnotes": ["zero", "one"], "notes": true,
      "dimensions": [
        {"label": "Sex", "axis": "column", "show-label": false, "categories": ["F", "M"]},
        {"label": {"text": "Age", "markers": ["m"]}, "axis": "row", "categories": [
          {"group": "Young", "categories": ["18-29", {"text": "30-39", "footnotes": [0]}]}, "40+"]},
        {"label": "Wave", "axis": "layer", "categories": [1, 2], "current": 1}],
      "cells": [[[0, 0, 0], 12], [[1, 2, 1], {"value": 3.14159, "decimals": 2}],
                [[1, 1, 0], {"text": "x", "footnotes": [0, 1], "markers": ["a", "b"]}]]}]})";

TEST(PivotTableLoading, TableHoldsWhatTheDocumentSays) {
  OmOutputTree tree = Load(kCrosstab);
  OmPivotTable& table = FirstTable(tree);
  EXPECT_TRUE(table.showTitle);
  EXPECT_EQ(table.Title().GetText(), "T");
  EXPECT_EQ(table.Title().Footnotes(), std::vector<std::int16_t>{1});
  ASSERT_NE(table.Caption(), nullptr);
  EXPECT_EQ(table.Caption()->GetText(), "C");
  EXPECT_EQ(table.Footnotes(), (std::vector<std::string>{"zero", "one"}));
  EXPECT_TRUE(table.IsNotes());
  ASSERT_EQ(table.NDimensions(), 3);
  EXPECT_EQ(table.Dimension(0).Axis(), OmAxis::Column);
  EXPECT_FALSE(table.Dimension(0).ShowLabel());
  EXPECT_EQ(table.Dimension(1).Label()->getMarkers(), std::vector<std::string>{"m"});
  EXPECT_EQ(table.Dimension(1).NLeaves(), 3);
  EXPECT_EQ(table.Dimension(1).Depth(), 2);
  EXPECT_EQ(table.Dimension(2).CurrentLeaf(), 1);
  EXPECT_EQ(Cells(table), "0,0,0,=12\n1,1,0,=x(0)(1)[a][b]\n1,2,1,=3.14\n");
}

TEST(PivotTableLoading, TitleAndShowTitleDefaults) {
  OmOutputTree tree = Load(Table(R"("show-title": true)"));
  EXPECT_TRUE(FirstTable(tree).showTitle);
  EXPECT_EQ(FirstTable(tree).Title().GetText(), "");
  tree = Load(Table(R"("title": 2.5, "show-title": false)"));
  EXPECT_FALSE(FirstTable(tree).showTitle);
  EXPECT_EQ(FirstTable(tree).Title().GetText(), "2.5");
  tree = Load(Table(R"("notes": false)"));
  EXPECT_FALSE(FirstTable(tree).showTitle);
  EXPECT_EQ(FirstTable(tree).Caption(), nullptr);
}

TEST(PivotTableLoading, KeyOrderDoesNotMatter) {
  // The same table with "type" last, "cells" before "dimensions", the
  // dimension's keys and a group's keys reversed.
  const std::string shuffled =
      R"({"output": [{"cells": [[[1, 2, 1], {"decimals": 2, "value": 3.14159}],
                [[1, 1, 0], {"markers": ["a", "b"], "footnotes": [0, 1], "text": "x"}],
                [[0, 0, 0], 12]],
      "dimensions": [
        {"categories": ["F", "M"], "show-label": false, "axis": "column", "label": "Sex"},
        {"categories": [{"categories": ["18-29", {"footnotes": [0], "text": "30-39"}], "group": "Young"}, "40+"],
         "axis": "row", "label": {"markers": ["m"], "text": "Age"}},
        {"current": 1, "categories": [1, 2], "axis": "layer", "label": "Wave"}],
      "notes": true, "footnotes": ["zero", "one"], "caption": "C",
      "title": {"footnotes": [1], "text": "T"}, "type": "pivot-table"}]})";
  OmOutputTree expected = Load(kCrosstab);
  OmOutputTree tree = Load(shuffled);
  EXPECT_EQ(Cells(FirstTable(tree)), Cells(FirstTable(expected)));
  EXPECT_EQ(FirstTable(tree).Dimension(1).NLeaves(), 3);
  EXPECT_EQ(FirstTable(tree).Title().Footnotes(), std::vector<std::int16_t>{1});
}

TEST(PivotTableLoading, DenseDataEqualsCells) {
  const std::string dims =
      R"("dimensions": [{"label": "R", "axis": "row", "categories": ["a", "b"]},
                        {"label": "C", "axis": "column", "categories": ["x", "y", "z"]}], )";
  OmOutputTree dense = Load(Table(
      dims + R"("footnotes": ["f"], "data": [[1, null, {"value": 2, "decimals": 1}],
                                            ["t", {"text": "u", "footnotes": [0]}, null]])"));
  OmOutputTree sparse = Load(Table(
      dims + R"("footnotes": ["f"], "cells": [[[1, 1], {"text": "u", "footnotes": [0]}],
        [[0, 0], 1], [[1, 0], "t"], [[0, 2], {"value": 2, "decimals": 1}]])"));
  EXPECT_EQ(Cells(FirstTable(dense)), "0,0,=1\n0,2,=2.0\n1,0,=t\n1,1,=u(0)\n");
  EXPECT_EQ(Cells(FirstTable(dense)), Cells(FirstTable(sparse)));
  EXPECT_EQ(FirstTable(dense).NCells(), 4);
}

TEST(PivotTableLoading, TablesWithoutDimensionsHoldOneCellOrNone) {
  OmOutputTree tree = Load(Table(R"("data": "only")"));
  EXPECT_EQ(FirstTable(tree).Cell({})->GetText(), "only");
  tree = Load(Table(R"("data": null)"));
  EXPECT_EQ(FirstTable(tree).NCells(), 0);
  tree = Load(Table(R"("cells": [[[], {"value": 7}]])"));
  EXPECT_EQ(FirstTable(tree).Cell({})->GetText(), "7");
  // A dimension without leaves takes an empty list.
  tree = Load(Table(R"("dimensions": [{"label": "E", "axis": "row", "categories": []}], "data": [])"));
  EXPECT_EQ(FirstTable(tree).Dimension(0).NLeaves(), 0);
}

TEST(PivotTableLoading, IndexErrorsPointAtTheOffendingEntry) {
  const std::string dims =
      R"("dimensions": [{"label": "R", "axis": "row", "categories": ["a", "b"]}], )";
  EXPECT_REJECTED_AT(Table(dims + R"("cells": [[`[0, 1], 5]])"),
                     "the index has 2 entries; the table has 1 dimension");
  EXPECT_REJECTED_AT(Table(dims + R"("cells": [[[`2], 5]])"),
                     "leaf position 2 is out of range: dimension 0 has 2 leaves");
  EXPECT_REJECTED_AT(Table(dims + R"("cells": [[[1], 5], [`[1], 6]])"),
                     "this index appears twice in \"cells\"");
  EXPECT_REJECTED_AT(Table(dims + R"("cells": [[[`-1], 5]])"),
                     "leaf position -1 is out of range (0 to 2147483647)");
  EXPECT_REJECTED_AT(Table(dims + R"("cells": [[[`1.0], 5]])"),
                     "leaf position must be an integer, without fraction or exponent");
  EXPECT_REJECTED_AT(Table(dims + R"("cells": [[[1], 5, `6]])"),
                     "a cell entry is a list [INDEX, CELL]");
  EXPECT_REJECTED_AT(Table(dims + R"("cells": [`[[1]]])"), "a cell entry is a list [INDEX, CELL]");
  EXPECT_REJECTED_AT(Table(dims + R"("cells": [[`5, [1]]])"),
                     "expected an index (a list of leaf positions) in a cell entry");
  // Cells before dimensions are checked when the dimensions arrive, still
  // at their own positions.
  EXPECT_REJECTED_AT(Table(R"("cells": [[[`3], 5]], )" + dims.substr(0, dims.size() - 2)),
                     "leaf position 3 is out of range: dimension 0 has 2 leaves");
}

TEST(PivotTableLoading, DataShapeErrors) {
  const std::string dims =
      R"("dimensions": [{"label": "R", "axis": "row", "categories": ["a", "b"]},
                        {"label": "C", "axis": "column", "categories": ["x"]}], )";
  const std::string shape = "this list of \"data\" must have one entry per leaf of dimension ";
  EXPECT_REJECTED_AT(Table(dims + R"("data": `[[1]])"), shape + "0 (2), not 1");
  EXPECT_REJECTED_AT(Table(dims + R"("data": `[[1], [2], [3]])"), shape + "0 (2), not 3 or more");
  EXPECT_REJECTED_AT(Table(dims + R"("data": [`[1, 2], [3]])"), shape + "1 (1), not 2 or more");
  EXPECT_REJECTED_AT(Table(dims + R"("data": [`1, 2])"), "expected a list in \"data\", found a cell");
  EXPECT_REJECTED_AT(Table(dims + R"("data": [[`[1]], [2]])"),
                     "expected a cell or null in \"data\", found a list");
  EXPECT_REJECTED_AT(Table(dims + R"("data": `5)"), "expected a list for \"data\", found a number");
  EXPECT_REJECTED_AT(Table(R"("data": `[5])"),
                     "expected a cell or null for \"data\", found a list");
  EXPECT_REJECTED_AT(Table(R"("data": 1, `"cells": [])"),
                     "a table has \"cells\" or \"data\", not both");
}

TEST(PivotTableLoading, CellAndFootnoteErrors) {
  EXPECT_REJECTED_AT(Table(R"("title": `{"text": "x", "value": 1})"),
                     "a cell has \"text\" or \"value\", not both");
  EXPECT_REJECTED_AT(Table(R"("title": `{"footnotes": []})"), "a cell needs \"text\" or \"value\"");
  EXPECT_REJECTED_AT(Table(R"("title": {"text": "x", `"decimals": 1})"),
                     "\"decimals\" is only allowed with \"value\"");
  EXPECT_REJECTED_AT(Table(R"("title": {"value": 1, "decimals": `21})"),
                     "\"decimals\" 21 is out of range (0 to 20)");
  EXPECT_REJECTED_AT(Table(R"("title": {"value": 1, `"colour": 1})"),
                     "unknown key \"colour\" in a cell");
  EXPECT_REJECTED_AT(Table(R"("title": `true)"), "expected a cell for \"title\", found a boolean");
  // The reader itself refuses numbers beyond a double's range.
  EXPECT_NE(Rejection(Table(R"("title": {"value": 1e999})")).find(": invalid JSON: number too big"),
            std::string::npos);
  // Footnote numbers are checked against the list once the table is read,
  // wherever "footnotes" stands.
  EXPECT_REJECTED_AT(
      Table(R"("title": {"text": "x", "footnotes": [0, `2]}, "footnotes": ["a", "b"])"),
      "footnote number 2 is out of range: the table has 2 footnotes");
  EXPECT_REJECTED_AT(Table(R"("footnotes": ["a"], "title": {"text": "x", "footnotes": [`40000]})"),
                     "footnote number 40000 is out of range (0 to 32767)");
  EXPECT_REJECTED_AT(Table(R"("footnotes": [`1])"),
                     "expected a string in \"footnotes\", found a number");
}

TEST(PivotTableLoading, DimensionAndCategoryErrors) {
  auto dimension = [](const std::string& keys) { return Table(R"("dimensions": [)" + keys + "]"); };
  EXPECT_REJECTED_AT(dimension(R"(`{"axis": "row", "categories": []})"),
                     "missing key \"label\" in a dimension");
  EXPECT_REJECTED_AT(dimension(R"(`{"label": "L", "categories": []})"),
                     "missing key \"axis\" in a dimension");
  EXPECT_REJECTED_AT(dimension(R"(`{"label": "L", "axis": "row"})"),
                     "missing key \"categories\" in a dimension");
  EXPECT_REJECTED_AT(dimension(R"({"label": "L", "axis": `"diagonal", "categories": []})"),
                     "unknown axis \"diagonal\" (row, column or layer)");
  EXPECT_REJECTED_AT(dimension(R"({"label": "L", "axis": "row", "categories": [], `"sort": 1})"),
                     "unknown key \"sort\" in a dimension");
  EXPECT_REJECTED_AT(
      dimension(R"({"label": "L", "axis": "row", "categories": ["a"], `"current": 0})"),
      "\"current\" is only allowed on a layer dimension");
  EXPECT_REJECTED_AT(
      dimension(R"({"label": "L", "axis": "layer", "categories": ["a"], `"current": 1})"),
      "\"current\" leaf position 1 is out of range: the dimension has 1 leaf");
  EXPECT_REJECTED_AT(
      dimension(R"({"label": "L", "axis": "row", "categories": [{"group": "g", `"categories": []}]})"),
      "a group needs at least one category");
  EXPECT_REJECTED_AT(dimension(R"({"label": "L", "axis": "row", "categories": [`{"group": "g"}]})"),
                     "missing key \"categories\" in a group");
  EXPECT_REJECTED_AT(
      dimension(R"({"label": "L", "axis": "row", "categories": [`{"categories": ["a"]}]})"),
      "missing key \"group\" in a group");
  EXPECT_REJECTED_AT(
      dimension(
          R"({"label": "L", "axis": "row", "categories": [{"group": "g", "categories": ["a"], `"x": 1}]})"),
      "unknown key \"x\" in a group");
  EXPECT_REJECTED_AT(dimension(R"({"label": "L", "axis": "row", "categories": [`true]})"),
                     "expected a category (a cell or a group), found a boolean");
}

TEST(PivotTableLoading, DeeplyNestedCategoriesAreRefused) {
  std::string categories;
  for (int i = 0; i < 1100; ++i) categories += R"({"group": "g", "categories": [)";
  categories += "\"leaf\"";
  for (int i = 0; i < 1100; ++i) categories += "]}";
  const std::string rejection =
      Rejection(Table(R"("dimensions": [{"label": "L", "axis": "row", "categories": [)" +
                      categories + "]}]"));
  EXPECT_NE(rejection.find("categories are nested more than 1000 levels deep"), std::string::npos)
      << rejection;
}

}  // namespace
