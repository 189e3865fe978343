// Building pivot tables: dimensions and categories, the index check that
// loaders use, cell storage and lookup in every storage form, and the
// title, caption and footnotes.
#include "host/OmPivotTable.h"

#include <gtest/gtest.h>

#include <map>
#include <stdexcept>

#include "host/OmCellStore.h"
#include "host/OmText.h"

namespace {

using Index = std::vector<std::int32_t>;
using Status = OmPivotTable::IndexStatus;

// Two row dimensions (3 and 2 leaves) and one column dimension (4 leaves).
std::unique_ptr<OmPivotTable> SmallTable() {
  auto table = std::make_unique<OmPivotTable>();
  OmDimension& a = table->AddDimension(OmAxis::Row, "A");
  for (const char* c : {"a0", "a1", "a2"}) a.AddCategory(c);
  OmDimension& b = table->AddDimension(OmAxis::Row, "B");
  for (const char* c : {"b0", "b1"}) b.AddCategory(c);
  OmDimension& c = table->AddDimension(OmAxis::Column, "C");
  for (const char* x : {"c0", "c1", "c2", "c3"}) c.AddCategory(x);
  return table;
}

TEST(OmPivotTable, CheckIndexReportsLengthRangeAndReuse) {
  auto table = SmallTable();
  std::int32_t bad = -1;
  EXPECT_EQ(table->CheckIndex({0, 0}), Status::WrongLength);
  EXPECT_EQ(table->CheckIndex({0, 0, 0, 0}), Status::WrongLength);
  EXPECT_EQ(table->CheckIndex({0, 2, 0}, &bad), Status::OutOfRange);
  EXPECT_EQ(bad, 1);
  EXPECT_EQ(table->CheckIndex({0, 0, -1}, &bad), Status::OutOfRange);
  EXPECT_EQ(bad, 2);
  EXPECT_EQ(table->CheckIndex({2, 1, 3}), Status::Valid);
  table->SetNumber({2, 1, 3}, 4.5);
  EXPECT_EQ(table->CheckIndex({2, 1, 3}), Status::Used);
  EXPECT_EQ(table->CheckIndex({2, 1, 2}), Status::Valid);
}

TEST(OmPivotTable, SetCellRejectsABadIndexAndLeavesTheTableAlone) {
  auto table = SmallTable();
  table->SetText({0, 0, 0}, "first");
  EXPECT_THROW(table->SetText({0, 0, 0}, "again"), std::invalid_argument);
  EXPECT_THROW(table->SetNumber({3, 0, 0}, 1), std::invalid_argument);
  EXPECT_THROW(table->SetCell({0, 0}, std::make_unique<OmStringCell>("x")),
               std::invalid_argument);
  EXPECT_THROW(table->SetCell({1, 0, 0}, nullptr), std::invalid_argument);
  EXPECT_EQ(table->NCells(), 1);
  EXPECT_EQ(table->Cell({0, 0, 0})->GetText(), "first");
  EXPECT_EQ(table->Cell({1, 0, 0}), nullptr);
}

TEST(OmPivotTable, CellIsNullForEveryIndexThatHasNoCell) {
  auto table = SmallTable();
  EXPECT_EQ(table->Cell({0, 0, 0}), nullptr);  // no cells yet
  OmCellText& stored = table->SetCell({1, 1, 2}, std::make_unique<OmNumberCell>(2.25, 2));
  EXPECT_EQ(table->Cell({1, 1, 2}), &stored);
  EXPECT_EQ(table->Cell({1, 1, 1}), nullptr);
  EXPECT_EQ(table->Cell({1, 1}), nullptr);
  EXPECT_EQ(table->Cell({1, 1, 2, 0}), nullptr);
  EXPECT_EQ(table->Cell({1, 1, 4}), nullptr);
  EXPECT_EQ(table->Cell({-1, 1, 2}), nullptr);
  EXPECT_EQ(table->Cell({}), nullptr);
  EXPECT_EQ(table->SizeVector(), (Index{0, 0, 0}));
}

TEST(OmPivotTable, CellsKeepTheirTextFootnotesAndMarkers) {
  auto table = SmallTable();
  table->SetNumber({0, 0, 0}, 53.64, 1).AddFootnote(1);
  OmStringCell& text = table->SetText({0, 0, 1}, "n/a");
  text.AddMarker("m");
  table->SetNumber({0, 0, 2}, 1514);
  EXPECT_EQ(table->Cell({0, 0, 0})->GetText(), "53.6");
  EXPECT_EQ(table->Cell({0, 0, 0})->Footnotes(), (std::vector<std::int16_t>{1}));
  EXPECT_EQ(table->Cell({0, 0, 1})->getMarkers(), (std::vector<std::string>{"m"}));
  EXPECT_EQ(table->Cell({0, 0, 2})->GetText(), "1514");
}

TEST(OmPivotTable, DimensionsAreFixedOnceACellIsStored) {
  auto table = SmallTable();
  table->SetText({0, 0, 0}, "x");
  EXPECT_THROW(table->AddDimension(OmAxis::Row, "late"), std::logic_error);
  EXPECT_THROW(table->Dimension(0).AddCategory("late"), std::logic_error);
  EXPECT_EQ(table->NDimensions(), 3);
  EXPECT_EQ(table->Dimension(0).NLeaves(), 3);
  // Labels and flags may still change.
  table->Dimension(0).SetShowLabel(false);
  EXPECT_FALSE(table->Dimension(0).ShowLabel());
}

TEST(OmPivotTable, AxesListTheirDimensionsInTableOrder) {
  OmPivotTable table;
  table.AddDimension(OmAxis::Column, "c0");
  table.AddDimension(OmAxis::Row, "r0");
  table.AddDimension(OmAxis::Layer, "l0");
  table.AddDimension(OmAxis::Column, "c1");
  EXPECT_EQ(table.AxisDimensions(OmAxis::Column), (Index{0, 3}));
  EXPECT_EQ(table.AxisDimensions(OmAxis::Row), (Index{1}));
  EXPECT_EQ(table.AxisDimensions(OmAxis::Layer), (Index{2}));
  EXPECT_EQ(table.Dimension(3).Label()->GetText(), "c1");
  EXPECT_THROW(table.Dimension(4), std::out_of_range);
  EXPECT_THROW(table.Dimension(-1), std::out_of_range);
}

TEST(OmPivotTable, CategoriesAreNumberedDepthFirstWhateverTheOrderOfAdding) {
  OmPivotTable table;
  OmDimension& d = table.AddDimension(OmAxis::Row, "D");
  const auto g1 = d.AddCategory("g1");
  const auto top = d.AddCategory("top");
  const auto g2 = d.AddCategory(g1, "g2");
  d.AddCategory(g1, "leaf1");
  d.AddCategory(g2, "leaf0");
  const OmDimensionTree& tree = d.Tree();
  ASSERT_EQ(d.NLeaves(), 3);
  EXPECT_EQ(tree.Value(tree.Leaf(0)).Label()->GetText(), "leaf0");
  EXPECT_EQ(tree.Value(tree.Leaf(1)).Label()->GetText(), "leaf1");
  EXPECT_EQ(tree.Leaf(2), top);
  EXPECT_EQ(tree.Leaf(3), OmDimensionTree::kNoNode);
  EXPECT_EQ(d.Depth(), 3);
  EXPECT_EQ(tree.Path(tree.Leaf(0)), (std::vector<OmDimensionTree::NodeId>{g1, g2, tree.Leaf(0)}));
  EXPECT_THROW(d.AddCategory(99, "nowhere"), std::out_of_range);
  EXPECT_THROW(d.AddCategory(-1, "nowhere"), std::out_of_range);
}

TEST(OmPivotTable, CurrentLeafOnlyOnLayersAndInRange) {
  OmPivotTable table;
  OmDimension& layer = table.AddDimension(OmAxis::Layer, "L");
  layer.AddCategory("a");
  layer.AddCategory("b");
  layer.SetCurrentLeaf(1);
  EXPECT_EQ(layer.CurrentLeaf(), 1);
  EXPECT_THROW(layer.SetCurrentLeaf(2), std::out_of_range);
  EXPECT_THROW(layer.SetCurrentLeaf(-1), std::out_of_range);
  EXPECT_EQ(layer.CurrentLeaf(), 1);
  OmDimension& row = table.AddDimension(OmAxis::Row, "R");
  row.AddCategory("r");
  EXPECT_THROW(row.SetCurrentLeaf(0), std::invalid_argument);
}

TEST(OmPivotTable, TitleCaptionFootnotesAndNotes) {
  OmPivotTable table;
  EXPECT_EQ(table.Title().GetText(), "");
  EXPECT_FALSE(table.showTitle);
  table.SetTitle("Marital status").AddFootnote(1);
  EXPECT_TRUE(table.showTitle);
  EXPECT_EQ(table.Title().Footnotes(), (std::vector<std::int16_t>{1}));
  EXPECT_EQ(table.Caption(), nullptr);
  table.SetCaption("Source: survey.");
  ASSERT_NE(table.Caption(), nullptr);
  EXPECT_EQ(table.Caption()->GetText(), "Source: survey.");
  table.SetCaption(std::unique_ptr<OmText>());
  EXPECT_EQ(table.Caption(), nullptr);
  EXPECT_EQ(table.AddFootnote("Valid cases only."), 0);
  EXPECT_EQ(table.AddFootnote("Weighted."), 1);
  EXPECT_EQ(table.Footnotes(), (std::vector<std::string>{"Valid cases only.", "Weighted."}));
  EXPECT_FALSE(table.IsNotes());
  table.SetNotes(true);
  EXPECT_TRUE(table.IsNotes());
}

TEST(OmPivotTable, TableWithoutDimensionsHoldsOneCell) {
  OmPivotTable table;
  EXPECT_EQ(table.CheckIndex({}), Status::Valid);
  table.SetText({}, "only");
  EXPECT_EQ(table.Cell({})->GetText(), "only");
  EXPECT_EQ(table.CheckIndex({}), Status::Used);
  EXPECT_TRUE(table.SizeVector().empty());
}

TEST(OmPivotTable, DimensionWithoutLeavesAdmitsNoCell) {
  OmPivotTable table;
  table.AddDimension(OmAxis::Row, "Empty");
  EXPECT_EQ(table.CheckIndex({0}), Status::OutOfRange);
  EXPECT_THROW(table.SetText({0}, "x"), std::invalid_argument);
}

TEST(OmPivotTable, ForEachCellInLayerVisitsOnlyThatLayer) {
  OmPivotTable table;
  OmDimension& layer = table.AddDimension(OmAxis::Layer, "L");
  layer.AddCategory("l0");
  layer.AddCategory("l1");
  OmDimension& row = table.AddDimension(OmAxis::Row, "R");
  for (int i = 0; i < 5; ++i) row.AddCategory(std::to_string(i));
  table.SetNumber({0, 1}, 1);
  table.SetNumber({1, 1}, 2);
  table.SetNumber({1, 4}, 3);
  std::map<Index, std::string> seen;
  table.ForEachCellInLayer({1, 0}, [&](const std::int32_t* index, const OmCellText& cell) {
    seen[Index{index[0], index[1]}] = cell.GetText();
  });
  EXPECT_EQ(seen, (std::map<Index, std::string>{{{1, 1}, "2"}, {{1, 4}, "3"}}));
  EXPECT_EQ(table.NCellsInLayer({1, 0}), 2);
  EXPECT_EQ(table.NCellsInLayer({0, 3}), 1);
  EXPECT_EQ(table.NCellsInLayer({1}), 0);
  int visits = 0;
  table.ForEachCellInLayer({1}, [&](const std::int32_t*, const OmCellText&) { ++visits; });
  EXPECT_EQ(visits, 0);
}

TEST(OmPivotTable, AcceptVisitsAsAPivotTable) {
  struct Recorder : OmOutputPart::Visitor {
    using OmOutputPart::Visitor::Visit;
    void Visit(OmPivotTable& table) override { seen = &table; }
    void Visit(OmProcedure&) override {}
    void Visit(OmHeading&) override {}
    void Visit(OmTextBlock&) override {}
    void Visit(OmChart&) override {}
    void Visit(OmAnswerTree&) override {}
    void Visit(OmModel&) override {}
    void Visit(OmInteractive&) override {}
    OmPivotTable* seen = nullptr;
  } recorder;
  OmPivotTable table;
  OmOutputPart& part = table;
  part.Accept(recorder);
  EXPECT_EQ(recorder.seen, &table);
}

// The store under the table, in each of its forms: every cell stored is
// found again, nothing else is, and a walk visits each cell once.
class CellStoreForms : public ::testing::TestWithParam<std::vector<std::int32_t>> {};

TEST_P(CellStoreForms, FindsWhatWasStoredAndNothingElse) {
  const std::vector<std::int32_t> sizes = GetParam();
  std::vector<bool> layer(sizes.size(), false);
  layer[0] = true;
  OmCellStore store(sizes, layer);
  OmStringCell cell("x");
  // A reproducible spread of indexes, some repeated.
  std::map<Index, bool> stored;
  std::uint64_t seed = 12345;
  for (int n = 0; n < 40000; ++n) {
    Index index;
    for (const std::int32_t size : sizes) {
      seed = seed * 6364136223846793005ULL + 1442695040888963407ULL;
      index.push_back(static_cast<std::int32_t>((seed >> 33) % static_cast<std::uint64_t>(size)));
    }
    const bool fresh = stored.emplace(index, true).second;
    EXPECT_EQ(store.Insert(index.data(), &cell), fresh);
  }
  EXPECT_EQ(store.Count(), static_cast<std::int64_t>(stored.size()));
  for (const auto& [index, unused] : stored) EXPECT_EQ(store.Find(index.data()), &cell);
  Index missing(sizes.size(), 0);
  for (std::size_t i = 0; i < sizes.size(); ++i) missing[i] = sizes[i] - 1;
  EXPECT_EQ(store.Find(missing.data()) != nullptr, stored.count(missing) == 1);
  struct Walk {
    std::size_t n;
    std::map<Index, int> visits;
  } walk{sizes.size(), {}};
  store.ForEach(
      nullptr,
      [](const void* context, const std::int32_t* index, const OmCellText&) {
        auto& w = *static_cast<Walk*>(const_cast<void*>(context));
        ++w.visits[Index(index, index + w.n)];
      },
      &walk);
  EXPECT_EQ(walk.visits.size(), stored.size());
  for (const auto& [index, count] : walk.visits) {
    EXPECT_EQ(count, 1);
    EXPECT_EQ(stored.count(index), 1U);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Forms, CellStoreForms,
    ::testing::Values(
        // Small layers: dense from the start.
        std::vector<std::int32_t>{3, 4, 5},
        // Layers hashed and made dense as they fill.
        std::vector<std::int32_t>{3, 40, 50},
        // A large layer filled to more than a quarter: hashed, then dense.
        std::vector<std::int32_t>{1, 300, 300},
        // Large sparse layers: hashed throughout.
        std::vector<std::int32_t>{2, 100000, 100000},
        // A product beyond 64 bits: keyed by the positions' bytes.
        std::vector<std::int32_t>{2, INT32_MAX, INT32_MAX, INT32_MAX, 7}));

}  // namespace
