// Row, column and layer headings: the grids of nested and mixed-depth
// dimensions, labels in the heading and in the corner, node identity,
// hiding of empty rows and columns, and layer iteration.
#include <gtest/gtest.h>

#include <new>

#include "HostTestTables.h"
#include "host/OmDisplayColumnHeading.h"
#include "host/OmDisplayLayerHeading.h"
#include "host/OmDisplayRowHeading.h"

using host_test::Join;
using host_test::RowsOf;

namespace {

struct Headings {
  Headings(OmPivotTable& table, bool hideEmpty, bool labelsInCorner)
      : layer(table, hideEmpty),
        rows(layer, hideEmpty, labelsInCorner),
        columns(layer, hideEmpty) {}
  OmDisplayLayerHeading layer;
  OmDisplayRowHeading rows;
  OmDisplayColumnHeading columns;
};

TEST(OmDisplayRowHeading, NestedDimensionsWithLabelsInCornerAndEmptyRowsHidden) {
  auto table = host_test::Crosstab();
  Headings h(*table, true, true);
  EXPECT_EQ(h.rows.NColumns(), 3);
  EXPECT_EQ(RowsOf(h.rows, h.rows.NRows()),
            "North|Oslo|Retail\n"
            "North|Oslo|Online\n"
            "North|Bergen|Retail\n"
            "South|Kristiansand|Retail\n"
            "South|Arendal|Retail\n"
            "South|Arendal|Online\n");
  EXPECT_EQ(Join(h.rows.CornerText()), "Region|-|-");
}

TEST(OmDisplayRowHeading, LabelsInHeadingTakeAColumnAndEmptyRowsShown) {
  auto table = host_test::Crosstab();
  Headings h(*table, false, false);
  EXPECT_EQ(h.rows.NColumns(), 4);
  EXPECT_EQ(RowsOf(h.rows, h.rows.NRows()),
            "Region|North|Oslo|Retail\n"
            "Region|North|Oslo|Online\n"
            "Region|North|Bergen|Retail\n"
            "Region|North|Bergen|Online\n"
            "Region|South|Kristiansand|Retail\n"
            "Region|South|Kristiansand|Online\n"
            "Region|South|Arendal|Retail\n"
            "Region|South|Arendal|Online\n");
  EXPECT_EQ(Join(h.rows.CornerText()), "-|-|-|-");
}

TEST(OmDisplayRowHeading, ShallowLeavesGetNullsBelowThem) {
  auto table = host_test::Frequencies();
  Headings inCorner(*table, true, true);
  EXPECT_EQ(RowsOf(inCorner.rows, inCorner.rows.NRows()),
            "Valid|Married\nValid|Widowed\nMissing|No answer\nTotal|-\n");
  EXPECT_EQ(Join(inCorner.rows.CornerText()), "Marital status|-");
  Headings inHeading(*table, true, false);
  EXPECT_EQ(Join(inHeading.rows.Row(3)), "Marital status|Total|-");
  EXPECT_EQ(Join(inHeading.rows.Column(2)), "Married|Widowed|No answer|-");
}

TEST(OmDisplayRowHeading, ColumnIsTheTransposeOfRowsAndStaysPut) {
  auto table = host_test::Crosstab();
  Headings h(*table, true, true);
  const OmNodeColumn& first = h.rows.Column(1);
  EXPECT_EQ(Join(first), "Oslo|Oslo|Bergen|Kristiansand|Arendal|Arendal");
  EXPECT_EQ(&h.rows.Column(1), &first);
  for (std::int32_t r = 0; r < h.rows.NRows(); ++r) {
    for (std::int32_t i = 0; i < h.rows.NColumns(); ++i) {
      EXPECT_EQ(h.rows.Column(i)[static_cast<std::size_t>(r)],
                h.rows.Row(r)[static_cast<std::size_t>(i)]);
    }
  }
  EXPECT_TRUE(h.rows.Column(3).empty());
  EXPECT_TRUE(h.rows.Column(-1).empty());
  EXPECT_TRUE(h.rows.Row(6).empty());
}

TEST(OmDisplayRowHeading, NodesAreIdentifiedByTreeNodeNotByLabel) {
  OmPivotTable table;
  OmDimension& outer = table.AddDimension(OmAxis::Row, "Outer");
  const auto a = outer.AddCategory("Same");
  outer.AddCategory(a, "x");
  const auto b = outer.AddCategory("Same");
  outer.AddCategory(b, "x");
  OmDisplayLayerHeading layer(table, false);
  OmDisplayRowHeading rows(layer, false, true);
  const OmNodeColumn& groups = rows.Column(0);
  ASSERT_EQ(groups.size(), 2U);
  EXPECT_FALSE(groups[0]->SameNode(*groups[1]));
  EXPECT_NE(groups[0]->Node(), groups[1]->Node());
  // The same tree node is handed out through the same handle every time.
  OmDisplayRowHeading again(layer, false, true);
  EXPECT_EQ(again.Column(0)[0], groups[0]);
  EXPECT_TRUE(again.Column(0)[0]->SameNode(*groups[0]));
}

TEST(OmDisplayRowHeading, FillExtendsAShortIndexAndWritesItsAxisOnly) {
  auto table = host_test::Crosstab();
  Headings h(*table, true, true);
  std::vector<std::int32_t> index;
  h.rows.Fill(index, 5);
  EXPECT_EQ(index, (std::vector<std::int32_t>{3, 1, 0}));
  index = {9, 9, 9, 9};
  h.rows.Fill(index, 3);
  EXPECT_EQ(index, (std::vector<std::int32_t>{2, 0, 9, 9}));
  h.rows.Fill(index, 99);
  EXPECT_EQ(index, (std::vector<std::int32_t>{2, 0, 9, 9}));
  h.columns.Fill(index, 2);
  EXPECT_EQ(index, (std::vector<std::int32_t>{2, 0, 2, 9}));
}

TEST(OmDisplayRowHeading, WithoutRowDimensionsHasOneImplicitRowUnlessItIsEmpty) {
  OmPivotTable table;
  table.AddDimension(OmAxis::Column, "C").AddCategory("c");
  Headings before(table, true, true);
  EXPECT_EQ(before.rows.NColumns(), 0);
  EXPECT_EQ(before.rows.NRows(), 0);
  Headings shown(table, false, true);
  EXPECT_EQ(shown.rows.NRows(), 1);
  EXPECT_TRUE(shown.rows.Row(0).empty());
  table.SetText({0}, "x");
  Headings after(table, true, true);
  EXPECT_EQ(after.rows.NRows(), 1);
  EXPECT_EQ(after.columns.NColumns(), 1);
}

TEST(OmDisplayRowHeading, DimensionWithoutLeavesGivesNoRowsButKeepsItsLabelColumn) {
  OmPivotTable table;
  table.AddDimension(OmAxis::Row, "Empty");
  table.AddDimension(OmAxis::Column, "C").AddCategory("c");
  Headings inHeading(table, false, false);
  EXPECT_EQ(inHeading.rows.NRows(), 0);
  EXPECT_EQ(inHeading.rows.NColumns(), 1);
  Headings inCorner(table, false, true);
  EXPECT_EQ(inCorner.rows.NColumns(), 0);
  EXPECT_TRUE(inCorner.rows.CornerText().empty());
}

TEST(OmDisplayColumnHeading, LevelsStackTheBlocksOutermostFirst) {
  auto table = host_test::Crosstab();
  Headings h(*table, true, true);
  EXPECT_EQ(h.columns.NRows(), 3);
  EXPECT_EQ(h.columns.NColumns(), 4);
  EXPECT_EQ(RowsOf(h.columns, h.columns.NRows()),
            "Year|Year|Year|Year\n2025|2025|2026|2026\nQ3|Q4|Q1|Q2\n");
  EXPECT_EQ(Join(h.columns.Column(3)), "Year|2026|Q2");
  EXPECT_EQ(&h.columns.Column(3), &h.columns.Column(3));
  EXPECT_TRUE(h.columns.Column(4).empty());
}

TEST(OmDisplayColumnHeading, HiddenLabelTakesNoLevelAndShallowLeavesGetNulls) {
  OmPivotTable table;
  OmDimension& stats = table.AddDimension(OmAxis::Column, "Statistics");
  stats.SetShowLabel(false);
  const auto group = stats.AddCategory("Centre");
  stats.AddCategory(group, "Mean");
  stats.AddCategory(group, "Median");
  stats.AddCategory("N");
  OmDisplayLayerHeading layer(table, false);
  OmDisplayColumnHeading columns(layer, false);
  EXPECT_EQ(RowsOf(columns, columns.NRows()), "Centre|Centre|N\nMean|Median|-\n");
}

TEST(OmDisplayColumnHeading, TwoDimensionsNestTheSecondInsideTheFirst) {
  OmPivotTable table;
  OmDimension& sex = table.AddDimension(OmAxis::Column, "Sex");
  sex.AddCategory("F");
  sex.AddCategory("M");
  OmDimension& stat = table.AddDimension(OmAxis::Column, "Stat");
  stat.SetShowLabel(false);
  stat.AddCategory("n");
  stat.AddCategory("%");
  table.SetNumber({1, 0}, 1);
  table.SetNumber({0, 1}, 2);
  OmDisplayLayerHeading layer(table, true);
  OmDisplayColumnHeading shown(layer, false);
  EXPECT_EQ(RowsOf(shown, shown.NRows()), "Sex|Sex|Sex|Sex\nF|F|M|M\nn|%|n|%\n");
  OmDisplayColumnHeading hidden(layer, true);
  EXPECT_EQ(RowsOf(hidden, hidden.NRows()), "Sex|Sex\nF|M\n%|n\n");
  std::vector<std::int32_t> index;
  hidden.Fill(index, 1);
  EXPECT_EQ(index, (std::vector<std::int32_t>{1, 0}));
}

TEST(OmDisplayColumnHeading, HidesColumnsEmptyAcrossAllRows) {
  OmPivotTable sparse;
  OmDimension& rows = sparse.AddDimension(OmAxis::Row, "R");
  for (const char* r : {"a", "b", "c"}) rows.AddCategory(r);
  OmDimension& cols = sparse.AddDimension(OmAxis::Column, "C");
  for (const char* c : {"x", "y", "z"}) cols.AddCategory(c);
  sparse.SetText({2, 2}, "");  // an empty text is a cell
  sparse.SetText({0, 0}, "v");
  Headings h(sparse, true, true);
  EXPECT_EQ(Join(h.columns.Row(1)), "x|z");
  EXPECT_EQ(Join(h.rows.Column(0)), "a|c");
}

TEST(OmDisplayLayerHeading, WalksLayersWithTheLastDimensionFastest) {
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
  EXPECT_EQ(layer.NDimensions(), 2);
  // Before the first NextLayer it stands on the current leaves.
  EXPECT_EQ(Join(layer.Nodes(0)), "Wave|Autumn");
  EXPECT_EQ(Join(layer.Nodes(1)), "All|Female");
  std::string seen;
  while (layer.NextLayer()) {
    std::vector<std::int32_t> index{5, 7};
    layer.Fill(index);
    seen += std::to_string(index[0]) + std::to_string(index[1]) + std::to_string(index[2]) + " " +
            Join(layer.Nodes(0)) + " " + Join(layer.Nodes(1)) + "\n";
  }
  EXPECT_EQ(seen,
            "070 Wave|Spring All|Female\n"
            "071 Wave|Spring All|Male\n"
            "170 Wave|Autumn All|Female\n"
            "171 Wave|Autumn All|Male\n");
  EXPECT_FALSE(layer.NextLayer());
  EXPECT_TRUE(layer.Nodes(2).empty());
}

TEST(OmDisplayLayerHeading, LastLayerSelectsTheCurrentLeavesAndEndsTheWalk) {
  OmPivotTable table;
  OmDimension& wave = table.AddDimension(OmAxis::Layer, "Wave");
  for (const char* w : {"a", "b", "c"}) wave.AddCategory(w);
  wave.SetCurrentLeaf(2);
  OmDisplayLayerHeading layer(table, true);
  EXPECT_TRUE(layer.NextLayer());
  EXPECT_TRUE(layer.LastLayer());
  std::vector<std::int32_t> index;
  layer.Fill(index);
  EXPECT_EQ(index, std::vector<std::int32_t>{2});
  EXPECT_FALSE(layer.NextLayer());
  EXPECT_EQ(Join(layer.Nodes(0)), "Wave|c");
}

TEST(OmDisplayLayerHeading, WithoutLayerDimensionsHasExactlyOneLayer) {
  auto table = host_test::Crosstab();
  OmDisplayLayerHeading layer(*table, true);
  EXPECT_EQ(layer.NDimensions(), 0);
  EXPECT_TRUE(layer.NextLayer());
  EXPECT_FALSE(layer.NextLayer());
  EXPECT_EQ(&layer.Table(), table.get());
}

TEST(OmDisplayLayerHeading, EmptyLayerDimensionGivesNoLayerAndOnlyItsRoot) {
  OmPivotTable table;
  table.AddDimension(OmAxis::Layer, "Full").AddCategory("x");
  table.AddDimension(OmAxis::Layer, "Empty");
  table.AddDimension(OmAxis::Row, "R").AddCategory("r");
  OmDisplayLayerHeading layer(table, true);
  EXPECT_FALSE(layer.NextLayer());
  EXPECT_FALSE(layer.NextLayer());
  EXPECT_EQ(Join(layer.Nodes(0)), "Full|x");
  EXPECT_EQ(Join(layer.Nodes(1)), "Empty");
  std::vector<std::int32_t> index;
  layer.Fill(index);
  EXPECT_EQ(index, (std::vector<std::int32_t>{0, 0, 0}));
  OmDisplayRowHeading hidden(layer, true, true);
  EXPECT_EQ(hidden.NRows(), 0);
  OmDisplayRowHeading shown(layer, false, true);
  EXPECT_EQ(shown.NRows(), 1);
  EXPECT_EQ(table.Cell(index), nullptr);
}

TEST(OmDisplayRowHeading, HidesRowsPerLayer) {
  OmPivotTable table;
  OmDimension& wave = table.AddDimension(OmAxis::Layer, "Wave");
  wave.AddCategory("Spring");
  wave.AddCategory("Autumn");
  OmDimension& question = table.AddDimension(OmAxis::Row, "Question");
  question.AddCategory("Works?");
  question.AddCategory("Change?");
  table.AddDimension(OmAxis::Column, "Summary").AddCategory("Answer");
  table.SetText({0, 0, 0}, "a");
  table.SetText({0, 1, 0}, "b");
  table.SetText({1, 0, 0}, "c");
  OmDisplayLayerHeading layer(table, true);
  std::string seen;
  while (layer.NextLayer()) {
    OmDisplayRowHeading rows(layer, true, true);
    seen += Join(rows.Column(0)) + "\n";
  }
  EXPECT_EQ(seen, "Works?|Change?\nWorks?\n");
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
  for (const auto& index :
       std::vector<std::vector<std::int32_t>>{{199, 5}, {7, 199}, {7, 3}, {199, 150}, {0, 0}}) {
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
    for (int i = 0; i < 2000; ++i) dimension.AddCategory(std::to_string(i));
  }
  OmDisplayLayerHeading layer(table, false);
  EXPECT_THROW(OmDisplayRowHeading(layer, false, true), std::bad_alloc);
  // Hidden, the same table has no rows and costs nothing.
  EXPECT_EQ(OmDisplayRowHeading(layer, true, true).NRows(), 0);
}

TEST(OmDisplayRowHeading, MovedHeadingKeepsItsGrid) {
  auto table = host_test::Crosstab();
  OmDisplayLayerHeading layer(*table, true);
  OmDisplayRowHeading first(layer, true, true);
  const OmNodeColumn* column = &first.Column(0);
  OmDisplayRowHeading moved(std::move(first));
  EXPECT_EQ(&moved.Column(0), column);
  EXPECT_EQ(moved.NRows(), 6);
  OmDisplayColumnHeading columns(layer, true);
  OmDisplayColumnHeading assigned(layer, false);
  assigned = std::move(columns);
  EXPECT_EQ(assigned.NColumns(), 4);
}

}  // namespace
