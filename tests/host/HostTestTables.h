// Small pivot tables shared by the host tests, and helpers that print
// heading grids as text so that a whole grid compares in one expectation.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/OmDimensionNode.h"
#include "host/OmPivotTable.h"

namespace host_test {

// A node's label text; "-" for a null entry, "?" for a node without label.
std::string Text(const OmDimensionTree::ConstNode* node);
// Entries joined by "|".
std::string Join(const OmNodeColumn& nodes);
std::string Join(const std::vector<const OmCellText*>& cells);

// Rows of a grid, each row's entries joined by "|", rows ended by "\n".
template <class Heading>
std::string RowsOf(const Heading& heading, std::int32_t nRows) {
  std::string text;
  for (std::int32_t r = 0; r < nRows; ++r) text += Join(heading.Row(r)) + "\n";
  return text;
}

// Sales by region and channel (rows) and by year and quarter (columns):
// Region {North {Oslo, Bergen}, South {Kristiansand, Arendal}} with its label
// shown, Channel {Retail, Online} with its label hidden, Year {2025 {Q3, Q4},
// 2026 {Q1, Q2}}. The rows (Bergen, Online) and (Kristiansand, Online)
// hold no cell; every column holds some.
std::unique_ptr<OmPivotTable> Crosstab();

// A frequency table with categories of mixed depth: Marital status (rows)
// {Valid {Married, Widowed}, Missing {No answer}, Total} and Statistics
// (columns) {Frequency, Percent}; every cell present.
std::unique_ptr<OmPivotTable> Frequencies();

}  // namespace host_test
