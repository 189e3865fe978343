// A fixture over the current layer of a pivot table built in the test, with
// small table builders and the planned matrix line by line.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "host/table/OmDisplayLayerHeading.h"
#include "pivot/OmPivotTableTxtExportPrivate.h"

using Lines = std::vector<std::string>;

// A dimension with top-level leaves; the label is hidden when show is false.
inline OmDimension& Flat(OmPivotTable& table, OmAxis axis, const std::string& label,
                         const std::vector<std::string>& leaves, bool show = true) {
  OmDimension& dimension = table.AddDimension(axis, label);
  dimension.SetShowLabel(show);
  for (const std::string& leaf : leaves)
    dimension.AddCategory(leaf);
  return dimension;
}

// Rows and columns of single leaves with hidden labels, and a cell text per
// (row, column); a null text leaves the cell out.
inline std::unique_ptr<OmPivotTable> Grid(const std::vector<std::string>& rows,
                                          const std::vector<std::string>& columns,
                                          const std::vector<std::vector<const char*>>& cells) {
  auto table = std::make_unique<OmPivotTable>();
  Flat(*table, OmAxis::Row, "R", rows, false);
  Flat(*table, OmAxis::Column, "C", columns, false);
  for (std::size_t r = 0; r < cells.size(); ++r) {
    for (std::size_t c = 0; c < cells[r].size(); ++c) {
      if (cells[r][c] != nullptr)
        table->SetText({static_cast<std::int32_t>(r), static_cast<std::int32_t>(c)}, cells[r][c]);
    }
  }
  return table;
}

class PivotLayerTest : public ::testing::Test {
 protected:
  using Data = OmPivotTableTxtExportPrivate::Data;

  // The record over the table's last layer; a formatted one is planned.
  Data& Make(std::int32_t linesOnPage = 0) {
    NewLayer();
    auto page = std::make_unique<OmTextPage>(out, options, linesOnPage);
    OmTextPage& pageRef = *page;
    data = std::make_unique<Data>(*layer, options, pageRef, std::move(page), streamPositions,
                                  sparsePositions);
    return *data;
  }
  OmPivotTableTxtExport& Export(std::int32_t linesOnPage) {
    NewLayer();
    exporter = std::make_unique<OmPivotTableTxtExport>(*layer, options, out, linesOnPage);
    return *exporter;
  }
  void NewLayer() {
    Release();
    layer = std::make_unique<OmDisplayLayerHeading>(*table, options.HideEmptyRowsAndColumns());
    layer->LastLayer();
  }
  void NewTable() {
    Release();
    table = std::make_unique<OmPivotTable>();
  }
  // Drops what refers to the table, the newest first.
  void Release() {
    exporter.reset();
    data.reset();
    layer.reset();
  }
  static Lines Matrix(const Data& d) {
    Lines lines(d.mMatrix.NumLines());
    for (std::size_t i = 0; i < lines.size(); ++i)
      d.mMatrix.AppendLine(i, lines[i]);
    return lines;
  }

  OmTextExportOptions options;
  // Layers of more positions than this may stream when made by Make().
  std::int64_t streamPositions = Data::kStreamPositions;
  // Layers of at least this many positions may fill only their cells'.
  std::int64_t sparsePositions = Data::kSparsePositions;
  std::ostringstream out;
  std::unique_ptr<OmPivotTable> table = std::make_unique<OmPivotTable>();
  std::unique_ptr<OmDisplayLayerHeading> layer;
  std::unique_ptr<Data> data;
  std::unique_ptr<OmPivotTableTxtExport> exporter;
};
