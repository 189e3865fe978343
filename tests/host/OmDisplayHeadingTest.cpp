// Row, column and layer headings: the grids of nested and mixed-depth
// dimensions, labels in the heading and in the corner, node identity,
// hiding of empty rows and columns, and layer iteration.
#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <string>
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

std::string Text(const OmCellText* cell) {
  return cell == nullptr ? "-" : cell->GetText();
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

// Sales by region and channel (rows) and by year and quarter (columns):
// Region {North {Oslo, Bergen}, South {Kristiansand, Arendal}} with its label
// shown, Channel {Retail, Online} with its label hidden, Year {2025 {Q3, Q4},
// 2026 {Q1, Q2}}. The rows (Bergen, Online) and (Kristiansand, Online) hold
// no cell; every column holds some.
std::unique_ptr<OmPivotTable> Crosstab() {
  auto table = std::make_unique<OmPivotTable>();
  const auto group = [](OmDimension& dimension, const char* name, const char* a, const char* b) {
    const auto node = dimension.AddCategory(name);
    dimension.AddCategory(node, a);
    dimension.AddCategory(node, b);
  };
  OmDimension& region = table->AddDimension(OmAxis::Row, "Region");
  group(region, "North", "Oslo", "Bergen");
  group(region, "South", "Kristiansand", "Arendal");
  OmDimension& channel = table->AddDimension(OmAxis::Row, "Channel");
  channel.SetShowLabel(false);
  channel.AddCategory("Retail");
  channel.AddCategory("Online");
  OmDimension& year = table->AddDimension(OmAxis::Column, "Year");
  group(year, "2025", "Q3", "Q4");
  group(year, "2026", "Q1", "Q2");
  // Region x Channel x Quarter; (Bergen, Online) and (Kristiansand, Online)
  // have no cell at all.
  const std::vector<std::vector<std::int32_t>> cells = {
      {0, 0, 0}, {0, 0, 1}, {0, 0, 2}, {0, 0, 3}, {0, 1, 0}, {0, 1, 1},
      {0, 1, 2}, {0, 1, 3}, {1, 0, 0}, {1, 0, 1}, {1, 0, 2}, {1, 0, 3},
      {2, 0, 0}, {2, 0, 2}, {3, 0, 0}, {3, 1, 1}, {3, 1, 3}};
  for (const auto& index : cells)
    table->SetNumber(index, 1.5, 1);
  return table;
}

struct Headings {
  Headings(OmPivotTable& table, bool hideEmpty, bool labelsInCorner)
      : layer(table, hideEmpty),
        rows(layer, hideEmpty, labelsInCorner),
        columns(layer, hideEmpty) {}
  OmDisplayLayerHeading layer;
  OmDisplayRowHeading rows;
  OmDisplayColumnHeading columns;
};

TEST(OmDisplayRowHeading, NestedDimensionsLabelPlacementAndEmptyRowsHidden) {
  auto table = Crosstab();
  Headings h(*table, true, true);
  EXPECT_EQ(h.rows.NColumns(), 3);
  EXPECT_EQ(RowsOf(h.rows, h.rows.NRows()),
            "North|Oslo|Retail\nNorth|Oslo|Online\nNorth|Bergen|Retail\n"
            "South|Kristiansand|Retail\nSouth|Arendal|Retail\nSouth|Arendal|Online\n");
  EXPECT_EQ(Join(h.rows.CornerText()), "Region|-|-");
  EXPECT_EQ(Join(h.rows.Column(1)), "Oslo|Oslo|Bergen|Kristiansand|Arendal|Arendal");
  EXPECT_TRUE(h.rows.Column(3).empty());
  EXPECT_TRUE(h.rows.Column(-1).empty());
  EXPECT_TRUE(h.rows.Row(6).empty());
  // Labels in the heading take a column; with nothing hidden every
  // combination is a row.
  Headings shown(*table, false, false);
  EXPECT_EQ(shown.rows.NColumns(), 4);
  EXPECT_EQ(shown.rows.NRows(), 8);
  EXPECT_EQ(Join(shown.rows.Row(5)), "Region|South|Kristiansand|Online");
  EXPECT_EQ(Join(shown.rows.CornerText()), "-|-|-|-");
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
  auto table = Crosstab();
  Headings h(*table, true, true);
  Index index;
  h.rows.Fill(index, 5);
  EXPECT_EQ(index, (Index{3, 1, 0}));
  index = {9, 9, 9, 9};
  h.rows.Fill(index, 3);
  EXPECT_EQ(index, (Index{2, 0, 9, 9}));
  h.rows.Fill(index, 99);
  EXPECT_EQ(index, (Index{2, 0, 9, 9}));
  h.columns.Fill(index, 2);
  EXPECT_EQ(index, (Index{2, 0, 2, 9}));
}

TEST(OmDisplayRowHeading, ImplicitRowAndDimensionWithoutLeaves) {
  OmPivotTable table;
  table.AddDimension(OmAxis::Column, "C").AddCategory("c");
  EXPECT_EQ(Headings(table, true, true).rows.NRows(), 0);  // its one cell is empty
  Headings shown(table, false, true);
  EXPECT_EQ(shown.rows.NRows(), 1);
  EXPECT_EQ(shown.rows.NColumns(), 0);
  table.SetText({0}, "x");
  Headings filled(table, true, true);
  EXPECT_EQ(filled.rows.NRows(), 1);

  OmPivotTable empty;
  empty.AddDimension(OmAxis::Row, "Empty");
  empty.AddDimension(OmAxis::Column, "C").AddCategory("c");
  Headings inHeading(empty, false, false);
  EXPECT_EQ(inHeading.rows.NRows(), 0);
  EXPECT_EQ(inHeading.rows.NColumns(), 1);  // the label's column stays
  EXPECT_EQ(Headings(empty, false, true).rows.NColumns(), 0);
}

TEST(OmDisplayColumnHeading, LevelsStackOutermostFirstAndEmptyColumnsHide) {
  OmPivotTable table;
  OmDimension& sex = table.AddDimension(OmAxis::Column, "Sex");
  sex.AddCategory("F");
  sex.AddCategory("M");
  OmDimension& stat = table.AddDimension(OmAxis::Column, "Stat");
  stat.SetShowLabel(false);
  stat.AddCategory(stat.AddCategory("Centre"), "Mean");
  stat.AddCategory("N");
  table.SetNumber({1, 0}, 1);
  table.SetText({0, 1}, "");  // an empty text is a cell
  OmDisplayLayerHeading layer(table, true);
  OmDisplayColumnHeading shown(layer, false);
  EXPECT_EQ(RowsOf(shown, shown.NRows()),
            "Sex|Sex|Sex|Sex\nF|F|M|M\nCentre|N|Centre|N\nMean|-|Mean|-\n");
  OmDisplayColumnHeading hidden(layer, true);
  EXPECT_EQ(RowsOf(hidden, hidden.NRows()), "Sex|Sex\nF|M\nN|Centre\n-|Mean\n");
  Index index;
  hidden.Fill(index, 1);
  EXPECT_EQ(index, (Index{1, 0}));
}

TEST(OmDisplayLayerHeading, WalksLayersWithTheLastDimensionFastestHidingRowsPerLayer) {
  OmPivotTable table;
  OmDimension& wave = table.AddDimension(OmAxis::Layer, "Wave");
  wave.AddCategory("Spring");
  wave.AddCategory("Autumn");
  wave.SetCurrentLeaf(1);
  OmDimension& question = table.AddDimension(OmAxis::Row, "Q");
  question.AddCategory("q");
  question.AddCategory("r");
  OmDimension& sex = table.AddDimension(OmAxis::Layer, "Sex");
  sex.SetShowLabel(false);
  const auto group = sex.AddCategory("All");
  sex.AddCategory(group, "Female");
  sex.AddCategory(group, "Male");
  table.SetText({0, 0, 0}, "a");
  table.SetText({0, 1, 0}, "b");
  table.SetText({1, 1, 1}, "c");
  OmDisplayLayerHeading layer(table, true);
  // Before the first NextLayer it stands on the current leaves.
  EXPECT_EQ(Join(layer.Nodes(0)) + " " + Join(layer.Nodes(1)), "Wave|Autumn All|Female");
  std::string seen;
  while (layer.NextLayer()) {
    Index index{5, 7};
    layer.Fill(index);
    seen += std::to_string(index[0]) + std::to_string(index[1]) + std::to_string(index[2]) + " " +
            Join(layer.Nodes(0)) + " " + Join(layer.Nodes(1)) + " " +
            Join(OmDisplayRowHeading(layer, true, true).Column(0)) + "\n";
  }
  EXPECT_EQ(seen,
            "070 Wave|Spring All|Female q|r\n071 Wave|Spring All|Male \n"
            "170 Wave|Autumn All|Female \n171 Wave|Autumn All|Male r\n");
  EXPECT_FALSE(layer.NextLayer());
  EXPECT_TRUE(layer.Nodes(2).empty());
  EXPECT_TRUE(layer.LastLayer());
  Index index;
  layer.Fill(index);
  EXPECT_EQ(index, (Index{1, 0, 0}));
  EXPECT_FALSE(layer.NextLayer());
}

TEST(OmDisplayLayerHeading, NoLayerDimensionsGiveOneLayerAnEmptyOneNone) {
  auto crosstab = Crosstab();
  OmDisplayLayerHeading single(*crosstab, true);
  EXPECT_TRUE(single.NextLayer());
  EXPECT_FALSE(single.NextLayer());

  OmPivotTable table;
  table.AddDimension(OmAxis::Layer, "Full").AddCategory("x");
  table.AddDimension(OmAxis::Layer, "Empty");
  table.AddDimension(OmAxis::Row, "R").AddCategory("r");
  OmDisplayLayerHeading layer(table, true);
  EXPECT_FALSE(layer.NextLayer());
  EXPECT_FALSE(layer.NextLayer());
  EXPECT_EQ(Join(layer.Nodes(0)) + " " + Join(layer.Nodes(1)), "Full|x Empty");
  Index index;
  layer.Fill(index);
  EXPECT_EQ(index, (Index{0, 0, 0}));
  EXPECT_EQ(OmDisplayRowHeading(layer, true, true).NRows(), 0);
  EXPECT_EQ(OmDisplayRowHeading(layer, false, true).NRows(), 1);
}

TEST(OmDisplayRowHeading, ManyMoreCombinationsThanCellsAreFoundInNestedOrder) {
  // 200 x 200 row combinations for five cells: too many for a bitmap, so
  // the rows with cells are found by sorting.
  OmPivotTable table;
  OmDimension& outer = table.AddDimension(OmAxis::Row, "Outer");
  OmDimension& inner = table.AddDimension(OmAxis::Row, "Inner");
  for (int i = 0; i < 200; ++i) {
    outer.AddCategory("o" + std::to_string(i));
    inner.AddCategory("i" + std::to_string(i));
  }
  for (const Index& index : std::vector<Index>{{199, 5}, {7, 199}, {7, 3}, {199, 150}, {0, 0}}) {
    table.SetText(index, "x");
  }
  OmDisplayLayerHeading layer(table, true);
  OmDisplayRowHeading rows(layer, true, true);
  EXPECT_EQ(RowsOf(rows, rows.NRows()), "o0|i0\no7|i3\no7|i199\no199|i5\no199|i150\n");
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
