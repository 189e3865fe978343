// Tab-separated printing of a layer's body: one line per column heading row,
// then one line per table row, fields joined by tabs, for spreadsheets. A
// category that spans several positions is printed at its first one only.
// Each line is built in one buffer and written at once; the headings hand
// out their node columns by reference, so the export is linear in its size.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "pivot/OmPivotTableTxtExportPrivate.h"

using Data = OmPivotTableTxtExportPrivate::Data;

void Data::TabExport() {
  const std::int32_t headingColumns = mRowHeading.NColumns();
  const std::int32_t headingRows = mColumnHeading.NRows();
  std::string line;

  for (std::int32_t r = 0; r < headingRows; ++r) {
    line.clear();
    if (r + 1 < headingRows) {
      line.append(static_cast<std::size_t>(headingColumns < 0 ? 0 : headingColumns), '\t');
    } else {
      // The corner labels stand on the last heading line, right above the
      // row labels they name.
      const std::vector<const OmCellText*>& corner = mRowHeading.CornerText();
      for (std::int32_t c = 0; c < headingColumns; ++c) {
        const auto at = static_cast<std::size_t>(c);
        AppendCellText(line, at < corner.size() ? corner[at] : nullptr);
        line += '\t';
      }
    }
    const OmNodeColumn level = mColumnHeading.Row(r);
    for (std::size_t i = 0; i < level.size(); ++i) {
      const OmDimensionTree::ConstNode* node = level[i];
      if (node != nullptr && (i == 0 || !SkipNodesInColumnHead(r, static_cast<std::int32_t>(i),
                                                               static_cast<std::int32_t>(i) - 1))) {
        AppendCellText(line, node->Label());
      }
      if (i + 1 < level.size())
        line += '\t';
    }
    mPage.WriteUncounted(line);
  }

  const OmPivotTable& table = mLayerHeading.Table();
  std::vector<std::int32_t> index = table.SizeVector();
  mLayerHeading.Fill(index);
  const std::int32_t rows = mRowHeading.NRows();
  if (rows == 0) {
    // Without row dimensions the table has one row and no row labels.
    line.clear();
    PrintCells(index, line);
    return;
  }
  // The row heading's nodes are read from its grid one at a time rather
  // than as whole columns, which would hold a pointer per row and column.
  const std::vector<std::int32_t>& rowDims = table.AxisDimensions(OmAxis::Row);
  const std::int32_t* rowLeaves = mRowHeading.LeafPositions().data();
  for (std::int32_t r = 0; r < rows; ++r) {
    line.clear();
    // A label is printed where its row differs from the row above in its
    // own heading column or one left of it.
    bool continues = r > 0;
    for (std::int32_t c = 0; c < headingColumns; ++c) {
      const OmDimensionTree::ConstNode* node = mRowHeading.At(r, c);
      if (continues)
        continues = SamePosition(mRowHeading.At(r - 1, c), node);
      if (node != nullptr && !continues)
        AppendCellText(line, node->Label());
      // Every label field is closed, empty or not, so the data fields always
      // start after the same number of tabs.
      line += '\t';
    }
    for (const std::int32_t d : rowDims)
      index[static_cast<std::size_t>(d)] = *rowLeaves++;
    PrintCells(index, line);
  }
}

void Data::PrintCells(std::vector<std::int32_t>& index, std::string& line) {
  const std::int32_t columns = mColumnHeading.NColumns();
  std::string_view stored;
  if (columns > 0) {
    const std::vector<std::int32_t>& dims = mLayerHeading.Table().AxisDimensions(OmAxis::Column);
    const std::int32_t* leaves = mColumnHeading.LeafPositions().data();
    for (std::int32_t c = 0; c < columns; ++c) {
      for (const std::int32_t d : dims)
        index[static_cast<std::size_t>(d)] = *leaves++;
      const OmCellText* cell = mLayerCells.At(index.data(), stored);
      AppendCellText(line, cell, stored);
      if (c + 1 < columns)
        line += '\t';
    }
  } else if (columns == 0) {
    // A table without column dimensions has one data column.
    const OmCellText* cell = mLayerCells.At(index.data(), stored);
    AppendCellText(line, cell, stored);
  }
  mPage.WriteUncounted(line);
}
