// Building pivot tables: dimensions and categories, rejected cells, and cell
// storage and lookup in every storage form. The index check that the loader
// reports from is pinned by the bad-input corpus.
#include "host/table/OmPivotTable.h"

#include <gtest/gtest.h>

#include <map>
#include <stdexcept>

#include "host/table/OmCellArena.h"
#include "host/table/OmCellStore.h"

namespace {

using Index = std::vector<std::int32_t>;

// A layer dimension of 3 leaves, a row dimension of 2 and a column
// dimension of 4.
std::unique_ptr<OmPivotTable> SmallTable() {
  auto table = std::make_unique<OmPivotTable>();
  for (const auto& [axis, leaves] :
       {std::pair{OmAxis::Layer, 3}, {OmAxis::Row, 2}, {OmAxis::Column, 4}}) {
    OmDimension& dimension = table->AddDimension(axis, "d");
    for (int i = 0; i < leaves; ++i)
      dimension.AddCategory(std::to_string(i));
  }
  return table;
}

TEST(OmPivotTable, SetCellRejectsABadIndexAndLeavesTheTableAlone) {
  auto table = SmallTable();
  table->SetText({0, 0, 0}, "first");
  EXPECT_THROW(table->SetText({0, 0, 0}, "again"), std::invalid_argument);
  EXPECT_THROW(table->SetNumber({3, 0, 0}, 1), std::invalid_argument);
  EXPECT_THROW(table->SetCell({0, 0}, std::make_unique<OmStringCell>("x")), std::invalid_argument);
  EXPECT_THROW(table->SetCell({1, 0, 0}, nullptr), std::invalid_argument);
  EXPECT_EQ(table->NCells(), 1);
  EXPECT_EQ(table->Cell({0, 0, 0})->GetText(), "first");
  // Dimensions are fixed once a cell is stored.
  EXPECT_THROW(table->AddDimension(OmAxis::Row, "late"), std::logic_error);
  EXPECT_THROW(table->Dimension(0).AddCategory("late"), std::logic_error);
  EXPECT_THROW(table->Dimension(3), std::out_of_range);
  EXPECT_THROW(table->Dimension(-1), std::out_of_range);
  EXPECT_EQ(table->Dimension(0).NLeaves(), 3);
}

TEST(OmPivotTable, CellIsNullForEveryIndexThatHasNoCell) {
  auto table = SmallTable();
  EXPECT_EQ(table->Cell({0, 0, 0}), nullptr);  // no cells yet
  OmCellText& stored = table->SetCell({1, 1, 0}, std::make_unique<OmNumberCell>(2.25, 2));
  EXPECT_EQ(table->Cell({1, 1, 0}), &stored);
  // {1, 0, 4} is one past the last column, where the row below would start.
  for (const Index& index :
       std::vector<Index>{{1, 1, 1}, {1, 1}, {1, 1, 0, 0}, {1, 0, 4}, {-1, 1, 0}, {}}) {
    EXPECT_EQ(table->Cell(index), nullptr) << index.size();
  }
  EXPECT_EQ(table->SizeVector(), (Index{0, 0, 0}));
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
  auto table = SmallTable();
  OmDimension& layer = table->Dimension(0);
  layer.SetCurrentLeaf(2);
  EXPECT_THROW(layer.SetCurrentLeaf(3), std::out_of_range);
  EXPECT_THROW(layer.SetCurrentLeaf(-1), std::out_of_range);
  EXPECT_EQ(layer.CurrentLeaf(), 2);
  EXPECT_THROW(table->Dimension(1).SetCurrentLeaf(0), std::invalid_argument);
}

TEST(OmPivotTable, LayerQueriesWithAShortIndexOrAnEmptyLayerFindNothing) {
  auto table = SmallTable();
  table->SetNumber({1, 0, 3}, 2);
  EXPECT_EQ(table->NCellsInLayer({1, 1, 1}), 1);
  EXPECT_EQ(table->NCellsInLayer({0, 0, 3}), 0);
  EXPECT_EQ(table->NCellsInLayer({1, 0}), 0);
  int visits = 0;
  for (const Index& index : std::vector<Index>{{1, 0}, {0, 0, 0}}) {
    table->ForEachCellInLayer(index, [&](const std::int32_t*, const OmCellText&) { ++visits; });
    table->ForEachIndexInLayer(
        index, [](void* context, const std::int32_t*) { ++*static_cast<int*>(context); }, &visits);
  }
  EXPECT_EQ(visits, 0);
  // The view of a layer finds the layer's cell and no other layer's.
  const Index cell{1, 0, 3};
  EXPECT_NE(table->CellsInLayer({1, 1, 1}).At(cell.data()), nullptr);
  const Index elsewhere{0, 0, 3};
  EXPECT_EQ(table->CellsInLayer({0, 0, 0}).At(elsewhere.data()), nullptr);
  EXPECT_EQ(table->CellsInLayer({1, 0}).At(cell.data()), nullptr);
}

// Texts of every length around the largest kept in the table's blocks,
// numbers between them filling blocks of their own, and footnotes and
// markers on any of them: each cell reads back as it was stored.
TEST(OmPivotTable, CellsOfEveryKindKeepTextFootnotesAndMarkers) {
  OmPivotTable table;
  table.AddDimension(OmAxis::Row, "r").AddCategory("");
  OmDimension& rows = table.Dimension(0);
  for (int r = 1; r < 6000; ++r)
    rows.AddCategory("");
  table.AddDimension(OmAxis::Column, "c").AddCategory("");
  table.Dimension(1).AddCategory("");
  auto text = [](std::int32_t r) {
    std::string made(static_cast<std::size_t>(r % 300), static_cast<char>('a' + r % 26));
    if (!made.empty())
      made[made.size() / 2] = '\0';
    return made;
  };
  for (std::int32_t r = 0; r < 6000; ++r) {
    OmCellText& t = table.SetText({r, 0}, text(r));
    OmCellText& n = table.SetNumber({r, 1}, r * 0.5, 1);
    if (r % 7 == 0)
      t.AddFootnote(static_cast<std::int16_t>(r % 5));
    if (r % 11 == 0)
      n.AddMarker("m" + std::to_string(r));
  }
  const OmPivotTable::LayerCells cells = table.CellsInLayer(table.SizeVector());
  for (std::int32_t r = 0; r < 6000; ++r) {
    const OmCellText* t = table.Cell({r, 0});
    const OmCellText* n = table.Cell({r, 1});
    ASSERT_TRUE(t != nullptr && n != nullptr) << r;
    ASSERT_EQ(t->GetText(), text(r)) << r;
    // The layer's view finds the same cells, and reads the texts kept in
    // the blocks (up to 255 bytes) in place.
    std::string_view stored;
    ASSERT_EQ(cells.At(Index{r, 0}.data(), stored), t);
    EXPECT_EQ(stored.data() == nullptr ? "(none)" : std::string(stored),
              text(r).size() <= 255 ? text(r) : "(none)");
    ASSERT_EQ(cells.At(Index{r, 1}.data(), stored), n);
    EXPECT_EQ(stored.data(), nullptr);
    ASSERT_EQ(n->GetText(), OmNumberCell(r * 0.5, 1).GetText()) << r;
    EXPECT_EQ(t->Footnotes(), r % 7 == 0
                                  ? std::vector<std::int16_t>{static_cast<std::int16_t>(r % 5)}
                                  : std::vector<std::int16_t>{});
    EXPECT_EQ(n->getMarkers(), r % 11 == 0 ? std::vector<std::string>{"m" + std::to_string(r)}
                                           : std::vector<std::string>{});
  }
}

// A cell the store refuses is taken back: its room goes to the next cell
// and the cells before it are untouched. No cell is named by reference 0.
TEST(OmCellArena, RemovingTheLastCellGivesItsRoomBack) {
  OmCellArena cells;
  const OmCellArena::Ref first = cells.AddText("first");
  EXPECT_NE(first, 0U);
  cells.AddNumber(2.5, 1);
  const OmCellArena::Ref refused = cells.AddText("refused");
  cells.At(refused).AddFootnote(1);
  cells.RemoveLast(refused);
  EXPECT_EQ(cells.AddText("next"), refused);
  EXPECT_EQ(cells.At(refused).GetText(), "next");
  EXPECT_TRUE(cells.At(refused).Footnotes().empty());
  const OmCellArena::Ref adopted = cells.Adopt(std::make_unique<OmStringCell>("adopted"));
  cells.RemoveLast(adopted);
  EXPECT_EQ(cells.Adopt(std::make_unique<OmStringCell>("again")), adopted);
  EXPECT_EQ(cells.At(adopted).GetText(), "again");
  EXPECT_EQ(cells.At(first).GetText(), "first");
}

// A large table's cells fill many blocks; texts and numbers fill blocks of
// their own, interleaved, and every cell must keep its own bytes.
TEST(OmCellArena, CellsKeepTheirValuesAcrossManyBlocks) {
  OmCellArena cells;
  std::vector<OmCellArena::Ref> refs;
  constexpr int kCells = 400000;  // about 10 MB of records
  for (int i = 0; i < kCells; ++i) {
    refs.push_back(i % 3 == 0 ? cells.AddNumber(i, 0)
                              : cells.AddText(std::string(static_cast<std::size_t>(i % 7), 'x') +
                                              std::to_string(i)));
  }
  int wrong = 0;
  for (int i = 0; i < kCells; ++i) {
    const std::string expected =
        i % 3 == 0 ? std::to_string(i)
                   : std::string(static_cast<std::size_t>(i % 7), 'x') + std::to_string(i);
    const OmCellArena::Ref ref = refs[static_cast<std::size_t>(i)];
    if (cells.At(ref).GetText() != expected || (i % 3 != 0 && cells.BlockText(ref) != expected)) {
      ++wrong;
    }
  }
  EXPECT_EQ(wrong, 0);
}

// The store under the table, in each of its forms, with and without a
// count of expected cells given before or after the first cell: every cell
// stored is found again, nothing else is, and a walk visits each cell once.
class CellStoreForms : public ::testing::TestWithParam<std::vector<std::int32_t>> {};

TEST_P(CellStoreForms, FindsWhatWasStoredAndNothingElse) {
  const std::vector<std::int32_t> sizes = GetParam();
  std::vector<bool> layer(sizes.size(), false);
  layer[0] = true;
  const OmCellStore::Ref cell = 7;
  for (const int hinted : {0, 1, 2}) {
    SCOPED_TRACE(hinted);
    OmCellStore store(sizes, layer);
    if (hinted == 1)
      store.Expect(40000);
    // A reproducible spread of indexes, some repeated.
    std::map<Index, int> stored;
    std::uint64_t seed = 12345;
    for (int n = 0; n < 40000; ++n) {
      Index index;
      for (const std::int32_t size : sizes) {
        seed = seed * 6364136223846793005ULL + 1442695040888963407ULL;
        index.push_back(static_cast<std::int32_t>((seed >> 33) % static_cast<std::uint64_t>(size)));
      }
      const bool fresh = stored.emplace(index, 1).second;
      if (n % 2 == 0) {
        ASSERT_EQ(store.Insert(index.data(), cell), fresh);
      } else {
        // The one-lookup way the table stores its cells.
        const OmCellStore::Place place = store.Locate(index.data());
        ASSERT_EQ(place.used, !fresh);
        if (fresh)
          store.Put(place, index.data(), cell);
      }
      if (hinted == 2 && n == 0)
        store.Expect(40000);
    }
    EXPECT_EQ(store.Count(), static_cast<std::int64_t>(stored.size()));
    for (const auto& entry : stored) {
      ASSERT_EQ(store.Find(entry.first.data()), cell);
      ASSERT_EQ(store.LayerView(entry.first.data()).Find(entry.first.data()), cell);
    }
    Index last(sizes.size(), 0);
    for (std::size_t i = 0; i < sizes.size(); ++i)
      last[i] = sizes[i] - 1;
    EXPECT_EQ(store.Find(last.data()) != 0, stored.count(last) == 1);
    // Walked layer by layer, the store visits every cell once.
    using Walk = std::pair<std::size_t, std::map<Index, int>>;
    Walk walk{sizes.size(), {}};
    for (Index at(sizes.size(), 0); at[0] < sizes[0]; ++at[0]) {
      store.ForEach(
          at.data(),
          [](const void* context, const std::int32_t* index, OmCellStore::Ref) {
            auto& w = *static_cast<Walk*>(const_cast<void*>(context));
            ++w.second[Index(index, index + w.first)];
          },
          &walk);
    }
    EXPECT_EQ(walk.second, stored);
  }
}

INSTANTIATE_TEST_SUITE_P(Forms, CellStoreForms,
                         ::testing::Values(
                             // Small layers: dense from the start.
                             std::vector<std::int32_t>{3, 4, 5},
                             // Hashed and made dense as they fill, or dense as expected.
                             std::vector<std::int32_t>{3, 40, 50},
                             // A large layer filled to more than a quarter: hashed, then dense.
                             std::vector<std::int32_t>{1, 300, 300},
                             // Large sparse layers: hashed throughout.
                             std::vector<std::int32_t>{2, 100000, 100000},
                             // A product beyond 64 bits: keyed by the positions' bytes.
                             std::vector<std::int32_t>{2, INT32_MAX, INT32_MAX, INT32_MAX, 7}));

// The count of expected cells is only a hint: a wildly high one on a layer
// of ten billion slots must not make it an array of 80 GB.
TEST(OmCellStore, AWrongHintDoesNotMakeAHugeLayerAnArray) {
  OmCellStore store({1, 100000, 100000}, {true, false, false});
  store.Expect(INT64_MAX);
  const Index index{0, 99999, 99999};
  EXPECT_TRUE(store.Insert(index.data(), 7));
  EXPECT_EQ(store.Find(index.data()), 7U);
  EXPECT_EQ(store.Count(), 1);
}

}  // namespace
