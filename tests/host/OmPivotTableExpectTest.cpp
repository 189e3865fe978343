// The cell-count hint changes how a table lays out its cells, never what it
// holds: a hinted table must answer exactly as an unhinted one does.
#include <gtest/gtest.h>

#include <cstdint>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "host/OmPivotTable.h"

namespace {

// Rows 40 x columns 30 under a layer dimension of 3: 1,200 slots per layer,
// past the size at which layers start as arrays anyway.
std::unique_ptr<OmPivotTable> Table(std::int64_t hint, bool hintAfterFirstCell) {
  auto table = std::make_unique<OmPivotTable>();
  const std::pair<OmAxis, int> shape[] = {{OmAxis::Layer, 3}, {OmAxis::Row, 40}, {OmAxis::Column, 30}};
  for (const auto& [axis, leaves] : shape) {
    OmDimension& dimension = table->AddDimension(axis, "d");
    for (int i = 0; i < leaves; ++i) dimension.AddCategory(std::to_string(i));
  }
  if (hintAfterFirstCell) {
    table->SetNumber({0, 0, 0}, -1);
    table->ExpectCells(hint);
  } else if (hint != 0) {
    table->ExpectCells(hint);
  }
  return table;
}

std::map<std::vector<std::int32_t>, std::string> Contents(const OmPivotTable& table,
                                                          std::int32_t layer) {
  std::map<std::vector<std::int32_t>, std::string> cells;
  table.ForEachCellInLayer({layer, 0, 0}, [&](const std::int32_t* index, const OmCellText& cell) {
    cells[{index[0], index[1], index[2]}] = cell.GetText();
  });
  return cells;
}

TEST(OmPivotTable, ExpectedCellsChangeNoAnswer) {
  // Hints far above, near and far below the truth, given before the first
  // cell or after it, on a table filled sparsely and then densely.
  for (const std::int64_t hint : {std::int64_t{3600}, std::int64_t{1}, std::int64_t{1} << 62}) {
    for (const bool late : {false, true}) {
      std::unique_ptr<OmPivotTable> plain = Table(0, late);
      std::unique_ptr<OmPivotTable> hinted = Table(hint, late);
      std::mt19937 random(11);
      for (int i = 0; i < 2500; ++i) {
        const std::vector<std::int32_t> index = {static_cast<std::int32_t>(random() % 3),
                                                 static_cast<std::int32_t>(random() % 40),
                                                 static_cast<std::int32_t>(random() % 30)};
        const bool stored = plain->CheckIndex(index) == OmPivotTable::IndexStatus::Valid;
        ASSERT_EQ(hinted->CheckIndex(index), plain->CheckIndex(index));
        if (stored) {
          plain->SetNumber(index, i);
          hinted->SetNumber(index, i);
        }
        if (i % 500 == 499) {
          ASSERT_EQ(hinted->NCells(), plain->NCells()) << hint;
          for (std::int32_t layer = 0; layer < 3; ++layer) {
            ASSERT_EQ(hinted->NCellsInLayer({layer, 0, 0}), plain->NCellsInLayer({layer, 0, 0}));
            ASSERT_EQ(Contents(*hinted, layer), Contents(*plain, layer)) << hint << " " << late;
          }
        }
      }
      EXPECT_EQ(hinted->Cell({2, 39, 29}) == nullptr, plain->Cell({2, 39, 29}) == nullptr);
    }
  }
}

}  // namespace
