// Small pivot tables for the tab-separated exporter's tests, and a fixture
// that builds the exporter's record over a table's current layer.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "export/OmTextExportOptions.h"
#include "host/OmDisplayLayerHeading.h"
#include "host/OmPivotTable.h"
#include "pivot/OmPivotTableTxtExportPrivate.h"

namespace tab_test {

// A dimension with the given top-level leaves.
inline OmDimension& Flat(OmPivotTable& table, OmAxis axis, const std::string& label,
                         const std::vector<std::string>& leaves) {
  OmDimension& dimension = table.AddDimension(axis, label);
  for (const std::string& leaf : leaves) dimension.AddCategory(leaf);
  return dimension;
}

// Sales by region and channel (rows) and by year (columns), every cell
// holding its own index as text, e.g. "v102" for (Bergen, Retail, Q1):
//   Region (label shown) {North {Oslo, Bergen}, South {Arendal}}
//   Channel (label hidden) {Retail, Online}
//   Year (label shown) {2025 {Q3, Q4}, 2026 {Q1}}
// The row (Bergen, Online) has no cell and (Arendal, Online, Q4) is empty.
inline std::unique_ptr<OmPivotTable> Crosstab() {
  auto table = std::make_unique<OmPivotTable>();
  table->SetTitle("Sales");
  OmDimension& region = table->AddDimension(OmAxis::Row, "Region");
  const auto north = region.AddCategory("North");
  region.AddCategory(north, "Oslo");
  region.AddCategory(north, "Bergen");
  const auto south = region.AddCategory("South");
  region.AddCategory(south, "Arendal");
  OmDimension& channel = Flat(*table, OmAxis::Row, "Channel", {"Retail", "Online"});
  channel.SetShowLabel(false);
  OmDimension& year = table->AddDimension(OmAxis::Column, "Year");
  const auto y2025 = year.AddCategory("2025");
  year.AddCategory(y2025, "Q3");
  year.AddCategory(y2025, "Q4");
  const auto y2026 = year.AddCategory("2026");
  year.AddCategory(y2026, "Q1");
  for (std::int32_t r = 0; r < 3; ++r) {
    for (std::int32_t ch = 0; ch < 2; ++ch) {
      if (r == 1 && ch == 1) continue;
      for (std::int32_t y = 0; y < 3; ++y) {
        if (r == 2 && ch == 1 && y == 1) continue;
        table->SetText({r, ch, y}, "v" + std::to_string(r) + std::to_string(ch) +
                                       std::to_string(y));
      }
    }
  }
  return table;
}

// Builds the exporter's record over the current layer of the fixture's
// table, which outlives it. The options start tab-separated; tests change
// them before Make.
class LayerFixture : public ::testing::Test {
 protected:
  using Data = OmPivotTableTxtExport::Data;

  void SetUp() override { options.TabSeparated(true); }

  Data& Make(std::int32_t linesOnPage = 0) {
    data.reset();
    layer = std::make_unique<OmDisplayLayerHeading>(*table, options.HideEmptyRowsAndColumns());
    layer->LastLayer();
    data = std::make_unique<Data>(*layer, options, out, linesOnPage);
    return *data;
  }

  // The whole body of the layer, tab-separated.
  std::string Body() {
    Make().TabExport();
    return out.str();
  }

  OmTextExportOptions options;
  std::ostringstream out;
  std::unique_ptr<OmPivotTable> table = std::make_unique<OmPivotTable>();
  std::unique_ptr<OmDisplayLayerHeading> layer;
  std::unique_ptr<Data> data;
};

}  // namespace tab_test
