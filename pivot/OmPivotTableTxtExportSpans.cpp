// Heading spans: whether a heading cell is printed (a category is printed at
// its first position only) and how much room a printed cell may take. Along
// a dimension a cell spans the positions that show the same node; across
// levels it spans the positions that are empty. Nodes are compared by
// identity, never by label.
#include <algorithm>
#include <cstdint>
#include <limits>
#include <vector>

#include "pivot/OmPivotTableTxtExportPrivate.h"

using Data = OmPivotTableTxtExportPrivate::Data;

namespace {

using Node = OmDimensionTree::ConstNode;

const OmNodeColumn& EmptyColumn() {
  static const OmNodeColumn kEmpty;
  return kEmpty;
}

// The entry of a node column; null past its end, so that an index outside
// the heading reads as an empty position rather than as stray memory.
const Node* EntryAt(const OmNodeColumn& column, std::int64_t i) {
  if (i < 0 || static_cast<std::size_t>(i) >= column.size())
    return nullptr;
  return column[static_cast<std::size_t>(i)];
}

// The planned node column i of one of the record's lists; empty when the
// plan has none there.
const OmNodeColumn& PlannedColumn(const OmVector<OmNodeColumn>& columns, std::int64_t i) {
  if (i < 0 || static_cast<std::size_t>(i) >= columns.Size())
    return EmptyColumn();
  return columns[static_cast<std::size_t>(i)];
}

std::int32_t At(const std::vector<std::int32_t>& values, std::int64_t i) {
  if (i < 0 || static_cast<std::size_t>(i) >= values.size())
    return 0;
  return values[static_cast<std::size_t>(i)];
}

// The sum of the first count heights; heights that were never planned count
// as 0, and the loop stops at the planned ones whatever count is.
std::int64_t SumOfHeights(const std::vector<std::int32_t>& heights, std::int32_t count) {
  std::int64_t sum = 0;
  const std::size_t end = count < 1 ? 0 : std::min(heights.size(), static_cast<std::size_t>(count));
  for (std::size_t i = 0; i < end; ++i)
    sum += heights[i];
  return sum;
}

// Sums of widths and heights are kept in 64 bits and brought back into the
// 32-bit range, so that absurd sizes saturate instead of wrapping.
std::int32_t Clamp(std::int64_t value) {
  constexpr std::int64_t kMin = std::numeric_limits<std::int32_t>::min();
  constexpr std::int64_t kMax = std::numeric_limits<std::int32_t>::max();
  return static_cast<std::int32_t>(value < kMin ? kMin : value > kMax ? kMax : value);
}

}  // namespace

bool Data::SkipNodesInColumnHead(std::int32_t level, std::int32_t a, std::int32_t b) const {
  // Tab-separated layers plan nothing, so the heading's own columns are
  // read; it hands them out by reference, which keeps the export linear.
  const bool tab = mOptions.TabSeparated();
  const OmNodeColumn& columnA = tab ? mColumnHeading.Column(a) : PlannedColumn(mColHeadColumns, a);
  const OmNodeColumn& columnB = tab ? mColumnHeading.Column(b) : PlannedColumn(mColHeadColumns, b);
  // Levels past both columns' ends are empty in both and compare equal.
  const std::int64_t deepest =
      static_cast<std::int64_t>(std::max(columnA.size(), columnB.size())) - 1;
  for (std::int64_t l = std::min<std::int64_t>(level, deepest); l >= 0; --l) {
    if (!SamePosition(EntryAt(columnA, l), EntryAt(columnB, l)))
      return false;
  }
  return true;
}

bool Data::SkipNodesInRowHead(std::int32_t column, std::int32_t a, std::int32_t b) const {
  const bool tab = mOptions.TabSeparated();
  // Heading columns past the last one are empty in every row.
  const std::int64_t last = (tab ? static_cast<std::int64_t>(mRowHeading.NColumns())
                                 : static_cast<std::int64_t>(mRowHeadColumns.Size())) -
                            1;
  for (std::int32_t c = static_cast<std::int32_t>(std::min<std::int64_t>(column, last)); c >= 0;
       --c) {
    const OmNodeColumn& nodes = tab ? mRowHeading.Column(c) : PlannedColumn(mRowHeadColumns, c);
    if (!SamePosition(EntryAt(nodes, a), EntryAt(nodes, b)))
      return false;
  }
  return true;
}

bool Data::IsColumnHeadingCellPrinted(const OmNodeColumn& nodes, std::int32_t matrixColumn,
                                      std::int32_t level) const {
  if (EntryAt(nodes, level) == nullptr)
    return false;
  const std::int32_t t = matrixColumn - mRowHeading.NColumns();
  if (t < 1)
    return true;
  return !SkipNodesInColumnHead(level, t, t - 1);
}

bool Data::IsRowHeadingCellPrinted(std::int32_t column, std::int32_t row) const {
  if (EntryAt(PlannedColumn(mRowHeadColumns, column), row) == nullptr)
    return false;
  if (row < 1)
    return true;
  return !SkipNodesInRowHead(column, row - 1, row);
}

std::int32_t Data::GetNumberOfColumnsAvailableInColHead(std::int32_t matrixColumn,
                                                        std::int32_t level,
                                                        std::int32_t& extra) const {
  const std::int32_t t = matrixColumn - mRowHeading.NColumns();
  const std::int32_t n = mColumnHeading.NColumns();
  extra = 0;
  if (static_cast<std::int64_t>(t) + 1 >= n)
    return 1;
  std::int64_t width = 0;
  std::int32_t count = 1;
  // Every candidate is compared with the cell's own column, not with its
  // left neighbour.
  for (std::int32_t candidate = t + 1; candidate < n && SkipNodesInColumnHead(level, t, candidate);
       candidate = t + count) {
    width += At(mColumnWidths, static_cast<std::int64_t>(matrixColumn) + count);
    ++count;
  }
  extra = Clamp(width);
  return count;
}

std::int32_t Data::GetNumberOfRowsAvailableInColHead(std::int32_t matrixColumn,
                                                     std::int32_t level) const {
  std::int64_t lines = At(mRowHeights, level);
  const std::int32_t rows = mColumnHeading.NRows();
  if (static_cast<std::int64_t>(level) + 1 >= rows)
    return Clamp(lines);
  const OmNodeColumn& nodes = PlannedColumn(
      mColHeadColumns, static_cast<std::int64_t>(matrixColumn) - mRowHeading.NColumns());
  const std::int32_t separator = SeparatorFlag();
  for (std::int32_t k = level + 1; k < rows; ++k) {
    if (EntryAt(nodes, k) != nullptr)
      break;
    lines += static_cast<std::int64_t>(At(mRowHeights, k)) + separator;
  }
  return Clamp(lines);
}

std::int32_t Data::GetNumberOfColumnsAvailableInRowHead(std::int32_t column, std::int32_t row,
                                                        std::int32_t& extra) const {
  const std::int32_t n = mRowHeading.NColumns();
  extra = 0;
  if (static_cast<std::int64_t>(column) + 1 >= n)
    return 1;
  std::int64_t width = 0;
  for (std::int32_t c = column + 1; c < n; ++c) {
    if (EntryAt(PlannedColumn(mRowHeadColumns, c), row) != nullptr) {
      extra = Clamp(width);
      return c - column;
    }
    width += At(mColumnWidths, c);
  }
  extra = Clamp(width);
  return n - column;
}

std::int32_t Data::GetNumberOfRowsAvailableInRowHead(std::int32_t column, std::int32_t row) const {
  const std::int32_t headRows = mColumnHeading.NRows();
  std::int64_t lines = At(mRowHeights, static_cast<std::int64_t>(headRows) + row);
  const std::int32_t rows = mRowHeading.NRows();
  if (static_cast<std::int64_t>(row) + 1 >= rows)
    return Clamp(lines);
  const std::int32_t separator = SeparatorFlag();
  // As along the column heading, every candidate row is compared with the
  // cell's own row.
  for (std::int32_t k = row + 1; k < rows && SkipNodesInRowHead(column, row, k); ++k) {
    lines += static_cast<std::int64_t>(At(mRowHeights, static_cast<std::int64_t>(headRows) + k)) +
             separator;
  }
  return Clamp(lines);
}

std::int32_t Data::GetNumberOfRowsAvailableInCorner(const std::vector<const OmCellText*>&,
                                                    std::int32_t) const {
  // The corner has the whole column heading band. Without heading rows and
  // with a separator this gives -1, which is kept as the formula yields it.
  const std::int32_t rows = mColumnHeading.NRows();
  const std::int64_t lines =
      SumOfHeights(mRowHeights, rows) + (static_cast<std::int64_t>(rows) - 1) * SeparatorFlag();
  return Clamp(lines);
}

std::int32_t Data::GetRowIndexInMatrix(std::int32_t rows) const {
  // A separator line opens the matrix and follows every band.
  const std::int32_t separator = SeparatorFlag();
  const std::int64_t bands = rows < 1 ? 0 : rows;
  return Clamp(separator + SumOfHeights(mRowHeights, rows) + bands * separator);
}
