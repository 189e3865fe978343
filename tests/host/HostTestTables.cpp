// Shared host test tables.
#include "HostTestTables.h"

namespace host_test {

std::string Text(const OmDimensionTree::ConstNode* node) {
  if (node == nullptr) return "-";
  const OmCellText* label = node->Label();
  return label == nullptr ? "?" : label->GetText();
}

std::string Join(const OmNodeColumn& nodes) {
  std::string text;
  for (std::size_t i = 0; i < nodes.size(); ++i) text += (i > 0 ? "|" : "") + Text(nodes[i]);
  return text;
}

std::string Join(const std::vector<const OmCellText*>& cells) {
  std::string text;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    text += (i > 0 ? "|" : "") + (cells[i] == nullptr ? std::string("-") : cells[i]->GetText());
  }
  return text;
}

std::unique_ptr<OmPivotTable> Crosstab() {
  auto table = std::make_unique<OmPivotTable>();
  table->SetTitle("Sales by region and quarter");
  OmDimension& region = table->AddDimension(OmAxis::Row, "Region");
  const auto north = region.AddCategory("North");
  region.AddCategory(north, "Oslo");
  region.AddCategory(north, "Bergen");
  const auto south = region.AddCategory("South");
  region.AddCategory(south, "Kristiansand");
  region.AddCategory(south, "Arendal");
  OmDimension& channel = table->AddDimension(OmAxis::Row, "Channel");
  channel.SetShowLabel(false);
  channel.AddCategory("Retail");
  channel.AddCategory("Online");
  OmDimension& year = table->AddDimension(OmAxis::Column, "Year");
  const auto y2025 = year.AddCategory("2025");
  year.AddCategory(y2025, "Q3");
  year.AddCategory(y2025, "Q4");
  const auto y2026 = year.AddCategory("2026");
  year.AddCategory(y2026, "Q1");
  year.AddCategory(y2026, "Q2");
  // Region x Channel x Quarter; (Bergen, Online) and (Kristiansand, Online)
  // have no cell at all.
  const std::vector<std::vector<std::int32_t>> cells = {
      {0, 0, 0}, {0, 0, 1}, {0, 0, 2}, {0, 0, 3}, {0, 1, 0}, {0, 1, 1}, {0, 1, 2}, {0, 1, 3},
      {1, 0, 0}, {1, 0, 1}, {1, 0, 2}, {1, 0, 3}, {2, 0, 0}, {2, 0, 2}, {3, 0, 0}, {3, 1, 1},
      {3, 1, 3}};
  for (const auto& index : cells) table->SetNumber(index, 1.5, 1);
  return table;
}

std::unique_ptr<OmPivotTable> Frequencies() {
  auto table = std::make_unique<OmPivotTable>();
  OmDimension& statistics = table->AddDimension(OmAxis::Column, "Statistics");
  statistics.AddCategory("Frequency");
  statistics.AddCategory("Percent");
  OmDimension& status = table->AddDimension(OmAxis::Row, "Marital status");
  const auto valid = status.AddCategory("Valid");
  status.AddCategory(valid, "Married");
  status.AddCategory(valid, "Widowed");
  const auto missing = status.AddCategory("Missing");
  status.AddCategory(missing, "No answer");
  status.AddCategory("Total");
  for (std::int32_t c = 0; c < 2; ++c) {
    for (std::int32_t r = 0; r < 4; ++r) table->SetNumber({c, r}, r * 10 + c);
  }
  return table;
}

}  // namespace host_test
