// Row, column and layer headings where the renderings cannot see them: node
// identity, filling a short index, leafless dimensions, the sorted search for
// rows of sparse tables, the last layer and the bounds of the grids. What the
// headings print is pinned by the kept renderings.
#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <string>
#include <tuple>
#include <vector>

#include "host/table/OmDisplayColumnHeading.h"
#include "host/table/OmDisplayLayerHeading.h"
#include "host/table/OmDisplayRowHeading.h"
#include "host/table/OmPivotTable.h"

using Index = std::vector<std::int32_t>;

namespace {

// A node's label text; "-" for a null entry, "?" for a node without label.
std::string Text(const OmDimensionTree::ConstNode* node) {
  if (node == nullptr)
    return "-";
  const OmCellText* label = node->Label();
  return label == nullptr ? "?" : label->GetText();
}

// Entries joined by "|", so that a whole grid compares in one expectation.
template <class Entries>
std::string Join(const Entries& entries) {
  std::string text;
  for (std::size_t i = 0; i < entries.size(); ++i)
    text += (i > 0 ? "|" : "") + Text(entries[i]);
  return text;
}

// Rows of a grid, each row's entries joined by "|", rows ended by "\n".
template <class Heading>
std::string RowsOf(const Heading& heading, std::int32_t nRows) {
  std::string text;
  for (std::int32_t r = 0; r < nRows; ++r)
    text += Join(heading.Row(r)) + "\n";
  return text;
}

TEST(OmDisplayRowHeading, NodesAreIdentifiedByTreeNodeNotByLabel) {
  OmPivotTable table;
  OmDimension& outer = table.AddDimension(OmAxis::Row, "Outer");
  outer.AddCategory(outer.AddCategory("Same"), "x");
  outer.AddCategory(outer.AddCategory("Same"), "x");
  OmDisplayLayerHeading layer(table, false);
  OmDisplayRowHeading rows(layer, false, true);
  const OmNodeColumn& groups = rows.Column(0);
  ASSERT_EQ(groups.size(), 2U);
  EXPECT_FALSE(groups[0]->SameNode(*groups[1]));
}

TEST(OmDisplayRowHeading, FillExtendsAShortIndexAndWritesItsAxisOnly) {
  // Rows A (4 leaves) by B (2), column C (3); the rows (0, 0), (2, 0) and
  // (3, 1) and every column hold a cell.
  OmPivotTable table;
  for (const auto& [axis, name, leaves] :
       {std::tuple{OmAxis::Row, "A", 4}, {OmAxis::Row, "B", 2}, {OmAxis::Column, "C", 3}}) {
    OmDimension& dimension = table.AddDimension(axis, name);
    for (int i = 0; i < leaves; ++i)
      dimension.AddCategory(std::to_string(i));
  }
  for (const Index& index : std::vector<Index>{{0, 0, 0}, {2, 0, 2}, {3, 1, 1}})
    table.SetText(index, "x");
  OmDisplayLayerHeading layer(table, true);
  OmDisplayRowHeading rows(layer, true, true);
  OmDisplayColumnHeading columns(layer, true);
  Index index;
  rows.Fill(index, 2);
  EXPECT_EQ(index, (Index{3, 1, 0}));
  index = {9, 9, 9, 9};
  rows.Fill(index, 1);
  EXPECT_EQ(index, (Index{2, 0, 9, 9}));
  rows.Fill(index, 99);
  EXPECT_EQ(index, (Index{2, 0, 9, 9}));
  columns.Fill(index, 2);
  EXPECT_EQ(index, (Index{2, 0, 2, 9}));
  // Past either end of a grid there is nothing.
  EXPECT_TRUE(rows.Row(3).empty());
  EXPECT_TRUE(rows.Row(-1).empty());
  EXPECT_TRUE(rows.Column(2).empty());
  EXPECT_TRUE(rows.Column(-1).empty());
}

TEST(OmDisplayRowHeading, ImplicitRowAndDimensionWithoutLeaves) {
  OmPivotTable table;
  table.AddDimension(OmAxis::Column, "C").AddCategory("c");
  OmDisplayLayerHeading layer(table, true);
  EXPECT_EQ(OmDisplayRowHeading(layer, true, true).NRows(), 0);  // its one cell is empty
  const OmDisplayRowHeading shown(layer, false, true);
  EXPECT_EQ(shown.NRows(), 1);
  EXPECT_EQ(shown.NColumns(), 0);

  OmPivotTable empty;
  empty.AddDimension(OmAxis::Row, "Empty");
  empty.AddDimension(OmAxis::Column, "C").AddCategory("c");
  OmDisplayLayerHeading emptyLayer(empty, false);
  const OmDisplayRowHeading inHeading(emptyLayer, false, false);
  EXPECT_EQ(inHeading.NRows(), 0);
  EXPECT_EQ(inHeading.NColumns(), 1);  // the label's column stays
  EXPECT_EQ(OmDisplayRowHeading(emptyLayer, false, true).NColumns(), 0);
}

TEST(OmDisplayLayerHeading, StandsOnTheCurrentLeavesBeforeTheFirstLayerAndAfterTheLast) {
  OmPivotTable table;
  OmDimension& wave = table.AddDimension(OmAxis::Layer, "Wave");
  wave.AddCategory("Spring");
  wave.AddCategory("Autumn");
  wave.SetCurrentLeaf(1);
  table.AddDimension(OmAxis::Row, "Q").AddCategory("q");
  OmDimension& sex = table.AddDimension(OmAxis::Layer, "Sex");
  sex.SetShowLabel(false);
  const auto group = sex.AddCategory("All");
  sex.AddCategory(group, "Female");
  sex.AddCategory(group, "Male");
  OmDisplayLayerHeading layer(table, true);
  EXPECT_EQ(Join(layer.Nodes(0)) + " " + Join(layer.Nodes(1)), "Wave|Autumn All|Female");
  int layers = 0;
  while (layer.NextLayer())
    ++layers;
  EXPECT_EQ(layers, 4);
  EXPECT_TRUE(layer.Nodes(2).empty());
  // Back on the current leaves, with no layer after it.
  EXPECT_TRUE(layer.LastLayer());
  Index index;
  layer.Fill(index);
  EXPECT_EQ(index, (Index{1, 0, 0}));
  EXPECT_FALSE(layer.NextLayer());
}

// Two nested row dimensions of n categories each, named prefix and number.
void NestedRows(OmPivotTable& table, int n, const std::string& outerPrefix,
                const std::string& innerPrefix) {
  OmDimension& outer = table.AddDimension(OmAxis::Row, "Outer");
  OmDimension& inner = table.AddDimension(OmAxis::Row, "Inner");
  for (int i = 0; i < n; ++i) {
    outer.AddCategory(outerPrefix + std::to_string(i));
    inner.AddCategory(innerPrefix + std::to_string(i));
  }
}

TEST(OmDisplayRowHeading, ManyMoreCombinationsThanCellsAreFoundInNestedOrder) {
  // 200 x 200 row combinations for a few cells: too many for a bitmap, so
  // the rows with cells are found by sorting, a row with two cells once.
  OmPivotTable table;
  NestedRows(table, 200, "o", "i");
  OmDimension& column = table.AddDimension(OmAxis::Column, "C");
  column.AddCategory("a");
  column.AddCategory("b");
  for (const Index& index : std::vector<Index>{
           {199, 5, 0}, {7, 199, 1}, {7, 3, 0}, {199, 150, 1}, {0, 0, 0}, {7, 3, 1}}) {
    table.SetText(index, "x");
  }
  OmDisplayLayerHeading layer(table, true);
  OmDisplayRowHeading rows(layer, true, true);
  EXPECT_EQ(RowsOf(rows, rows.NRows()), "o0|i0\no7|i3\no7|i199\no199|i5\no199|i150\n");

  // A cell's index leads back to its row in each way of listing the rows
  // (sorted here, marked in a bitmap with fewer combinations, all when
  // nothing is hidden); an index of no shown row finds none.
  OmDisplayColumnHeading columns(layer, true);
  for (const Index& index : std::vector<Index>{{199, 150, 1}, {0, 0, 0}, {7, 199, 0}}) {
    EXPECT_EQ(columns.ColumnOf(index.data()), index[2]);
    const std::int32_t r = rows.RowOf(index.data());
    Index filled(3, 0);
    rows.Fill(filled, r);
    EXPECT_EQ(filled[0], index[0]);
    EXPECT_EQ(filled[1], index[1]);
  }
  EXPECT_EQ(rows.RowOf(Index{8, 3, 0}.data()), -1);
  EXPECT_EQ(rows.RowOf(Index{7, 4, 0}.data()), -1);
  for (const bool hide : {true, false}) {
    OmPivotTable small;
    NestedRows(small, 5, "a", "b");
    for (const Index& index : std::vector<Index>{{1, 4}, {3, 0}, {4, 4}})
      small.SetText(index, "x");
    OmDisplayLayerHeading smallLayer(small, hide);
    OmDisplayRowHeading smallRows(smallLayer, hide, true);
    for (std::int32_t r = 0; r < smallRows.NRows(); ++r) {
      Index index(2, 0);
      smallRows.Fill(index, r);
      EXPECT_EQ(smallRows.RowOf(index.data()), r);
    }
    EXPECT_EQ(smallRows.RowOf(Index{2, 2}.data()), hide ? -1 : 12);
    EXPECT_EQ(smallRows.RowOf(Index{4, 4}.data()), hide ? 2 : 24);
  }
}

TEST(OmDisplayRowHeading, TooManyCombinationsToShowFailsAsLackOfMemory) {
  OmPivotTable table;
  for (const char* name : {"a", "b", "c"}) {
    OmDimension& dimension = table.AddDimension(OmAxis::Row, name);
    for (int i = 0; i < 2000; ++i)
      dimension.AddCategory(std::to_string(i));
  }
  OmDisplayLayerHeading layer(table, false);
  EXPECT_THROW(OmDisplayRowHeading(layer, false, true), std::bad_alloc);
  // Hidden, the same table has no rows and costs nothing.
  EXPECT_EQ(OmDisplayRowHeading(layer, true, true).NRows(), 0);
}

}  // namespace
