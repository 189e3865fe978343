// The render limits of the command.
#include "cli/RenderLimits.h"

#include <algorithm>
#include <new>

#include "export/OmTextExportOptions.h"
#include "export/OmTextExportTreeVisitor.h"
#include "host/output/OmOutputTree.h"
#include "host/table/OmPivotTable.h"
#include "pivot/OmPivotTableTxtExport.h"

namespace omtext::cli {
namespace {

// Products saturate here, far above every limit.
constexpr std::int64_t kHuge = std::int64_t{1} << 62;

std::int64_t SaturatingMultiply(std::int64_t a, std::int64_t b) {
  if (a == 0 || b == 0)
    return 0;
  return a > kHuge / b ? kHuge : a * b;
}

// Upper bounds of one axis's headings, from the table's dimensions alone.
struct AxisBound {
  std::int64_t combinations = 1;  // leaf combinations of the axis
  std::int64_t levels = 0;        // heading positions across the axis
};

AxisBound Bound(const OmPivotTable& table, OmAxis axis) {
  AxisBound bound;
  for (std::int32_t d = 0; d < table.NDimensions(); ++d) {
    const OmDimension& dimension = table.Dimension(d);
    if (dimension.Axis() != axis)
      continue;
    bound.combinations = SaturatingMultiply(bound.combinations, dimension.NLeaves());
    bound.levels += 1 + dimension.Depth();
  }
  return bound;
}

std::string Describe(std::int64_t index) {
  return "pivot table " + std::to_string(index);
}

std::string Count(std::int64_t n) {
  return n >= kHuge ? std::string("more than 2^62") : std::to_string(n);
}

// Checks the grid positions of every layer the table prints, which needs
// each layer's headings when empty rows and columns are hidden.
std::optional<std::string> CheckPositions(OmPivotTable& table, const OmTextExportOptions& options,
                                          std::int64_t index, const AxisBound& rowBound,
                                          const AxisBound& columnBound) {
  try {
    if (OmTextExportTreeVisitor::CountGridPositions(table, options, kMaxGridPositions) >
        kMaxGridPositions) {
      return Describe(index) + " would print more than " + std::to_string(kMaxGridPositions) +
             " grid positions (rows times columns, headings included, all its layers "
             "together), the most one table may print";
    }
  } catch (const std::bad_alloc&) {
    return Describe(index) + " has up to " + Count(rowBound.combinations) +
           (rowBound.combinations == 1 ? " row and " : " rows and ") +
           Count(columnBound.combinations) +
           (columnBound.combinations == 1 ? " column" : " columns") + ", more than can be laid out";
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::string> CheckRenderLimits(OmOutputTree& tree, const OmTextExportOptions& given) {
  // Notes tables are checked as if shown: the destination shows them
  // whatever the options the check is given. Only the settings that decide
  // which layers print and how large their grids are matter here.
  OmTextExportOptions options;
  options.ShowNotes(true);
  options.ExportAllLayers(given.ExportAllLayers());
  options.HideEmptyRowsAndColumns(given.HideEmptyRowsAndColumns());
  options.RowDimensionLabelsInCorner(given.RowDimensionLabelsInCorner());
  options.TabSeparated(given.TabSeparated());
  std::int64_t index = 0;
  for (auto node = tree.Begin(); node != tree.End(); ++node) {
    auto* table = dynamic_cast<OmPivotTable*>(node.Value());
    if (table == nullptr)
      continue;
    ++index;
    const std::int64_t layers = OmTextExportTreeVisitor::CountLayers(*table, options);
    if (layers > kMaxLayers) {
      return Describe(index) + " has " + Count(layers) + " layers; the limit is " +
             std::to_string(kMaxLayers);
    }
    // With empty rows and columns hidden, only those holding a cell are shown.
    AxisBound rows = Bound(*table, OmAxis::Row);
    AxisBound columns = Bound(*table, OmAxis::Column);
    if (options.HideEmptyRowsAndColumns()) {
      rows.combinations = std::min(rows.combinations, std::max<std::int64_t>(table->NCells(), 1));
      columns.combinations =
          std::min(columns.combinations, std::max<std::int64_t>(table->NCells(), 1));
    }
    // Most tables are decided by a bound from their dimensions; only one
    // whose bound is too large gets its headings built, layer by layer.
    const std::int64_t bound = SaturatingMultiply(
        layers, OmPivotTableTxtExport::PlanGrid(columns.levels, rows.combinations, rows.levels,
                                                columns.combinations)
                    .Positions());
    if (bound <= kMaxGridPositions)
      continue;
    if (auto problem = CheckPositions(*table, options, index, rows, columns))
      return problem;
  }
  return std::nullopt;
}

}  // namespace omtext::cli
