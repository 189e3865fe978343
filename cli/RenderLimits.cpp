// The render limits of the command.
#include "cli/RenderLimits.h"

#include <algorithm>
#include <new>

#include "export/OmTextExportOptions.h"
#include "host/output/OmOutputTree.h"
#include "host/table/OmDisplayColumnHeading.h"
#include "host/table/OmDisplayLayerHeading.h"
#include "host/table/OmDisplayRowHeading.h"
#include "host/table/OmPivotTable.h"

namespace omtext::cli {
namespace {

// Products saturate here, far above every limit.
constexpr std::int64_t kHuge = std::int64_t{1} << 62;

std::int64_t SaturatingMultiply(std::int64_t a, std::int64_t b) {
  if (a == 0 || b == 0)
    return 0;
  return a > kHuge / b ? kHuge : a * b;
}

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

std::string GridMessage(std::int64_t table, std::int64_t positions) {
  return Describe(table) + " would lay out " + Count(positions) +
         " grid positions in one layer; the limit is " + std::to_string(kMaxGridPositions);
}

// Builds each layer's headings and checks its grid.
std::optional<std::string> CheckLayers(OmPivotTable& table, const OmTextExportOptions& options,
                                       std::int64_t index, const AxisBound& rowBound,
                                       const AxisBound& columnBound) {
  try {
    OmDisplayLayerHeading layers(table, options.HideEmptyRowsAndColumns());
    bool more = options.ExportAllLayers() ? layers.NextLayer() : (layers.LastLayer(), true);
    while (more) {
      OmDisplayColumnHeading columns(layers, options.HideEmptyRowsAndColumns());
      OmDisplayRowHeading rows(layers, options.HideEmptyRowsAndColumns(),
                               options.RowDimensionLabelsInCorner());
      const std::int64_t positions =
          options.TabSeparated()
              ? std::int64_t{rows.NRows()} * (rows.NColumns() + 1) +
                    std::int64_t{columns.NColumns()} * (columns.NRows() + 1)
              : SaturatingMultiply(std::int64_t{columns.NRows()} + rows.NRows() + 1,
                                   std::int64_t{rows.NColumns()} + columns.NColumns() + 1);
      if (positions > kMaxGridPositions)
        return GridMessage(index, positions);
      more = layers.NextLayer();
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

std::optional<std::string> CheckRenderLimits(OmOutputTree& tree,
                                             const OmTextExportOptions& options) {
  std::int64_t index = 0;
  for (auto node = tree.Begin(); node != tree.End(); ++node) {
    auto* table = dynamic_cast<OmPivotTable*>(node.Value());
    if (table == nullptr)
      continue;
    ++index;
    const AxisBound layers = Bound(*table, OmAxis::Layer);
    if (options.ExportAllLayers() && layers.combinations > kMaxLayers) {
      return Describe(index) + " has " + std::to_string(layers.combinations) +
             " layers; the limit is " + std::to_string(kMaxLayers);
    }
    // With empty rows and columns hidden, only those holding a cell are shown.
    AxisBound rows = Bound(*table, OmAxis::Row);
    AxisBound columns = Bound(*table, OmAxis::Column);
    if (options.HideEmptyRowsAndColumns()) {
      rows.combinations = std::min(rows.combinations, std::max<std::int64_t>(table->NCells(), 1));
      columns.combinations =
          std::min(columns.combinations, std::max<std::int64_t>(table->NCells(), 1));
    }
    // A formatted layer lays out its whole grid; a tab-separated one writes
    // lines as it goes and holds only its headings.
    const std::int64_t bound =
        options.TabSeparated()
            ? std::min(kHuge, SaturatingMultiply(rows.combinations, rows.levels + 1) +
                                  SaturatingMultiply(columns.combinations, columns.levels + 1))
            : SaturatingMultiply(columns.levels + rows.combinations + 1,
                                 rows.levels + columns.combinations + 1);
    if (bound <= kMaxGridPositions)
      continue;
    if (auto problem = CheckLayers(*table, options, index, rows, columns))
      return problem;
  }
  return std::nullopt;
}

}  // namespace omtext::cli
