// Planning of a formatted layer: the matrix is sized, the heading node
// columns are collected, the columns are measured and narrowed to the line
// width, and every column is filled, the last one first.
#include <algorithm>
#include <cstdint>
#include <limits>
#include <new>
#include <string>
#include <vector>

#include "fold/OmWinStringFolder.h"
#include "pivot/OmPivotTableTxtExportPrivate.h"

namespace {

// Puts the wider of two matrix columns first.
struct Descending {
  const std::vector<std::int32_t>& widths;
  bool operator()(std::uint64_t a, std::uint64_t b) const {
    return widths[static_cast<std::size_t>(a)] > widths[static_cast<std::size_t>(b)];
  }
};

// A count of lines, columns or rows as an int32, or lack of memory when the
// layer is too large to be counted so.
std::int32_t CountOrThrow(std::int64_t count) {
  if (count > std::numeric_limits<std::int32_t>::max())
    throw std::bad_alloc();
  return static_cast<std::int32_t>(count);
}

// Products of counts stop here, far above any grid that can be laid out.
constexpr std::int64_t kHuge = std::int64_t{1} << 62;

}  // namespace

std::int64_t OmLayerGrid::Positions() const {
  if (textRows == 0 || columns == 0)
    return 0;
  return textRows > kHuge / columns ? kHuge : textRows * columns;
}

OmLayerGrid OmPivotTableTxtExport::PlanGrid(std::int64_t colHeadRows, std::int64_t rowHeadRows,
                                            std::int64_t rowHeadColumns, std::int64_t dataColumns) {
  // Each count is at most 2^61, so sums stay at most 2^62.
  auto count = [](std::int64_t n) { return std::clamp<std::int64_t>(n, 0, kHuge / 2); };
  // A layer without table rows still has one, without labels; one without
  // data columns still has one data column.
  OmLayerGrid grid;
  grid.textRows = count(colHeadRows) + std::max<std::int64_t>(count(rowHeadRows), 1);
  grid.columns = count(rowHeadColumns) + std::max<std::int64_t>(count(dataColumns), 1);
  return grid;
}

OmLayerGrid OmPivotTableTxtExport::PlanGrid(OmDisplayLayerHeading& layer,
                                            const OmTextExportOptions& options) {
  const OmDisplayColumnHeading columns(layer, options.HideEmptyRowsAndColumns());
  const OmDisplayRowHeading rows(layer, options.HideEmptyRowsAndColumns(),
                                 options.RowDimensionLabelsInCorner());
  return PlanGrid(columns.NRows(), rows.NRows(), rows.NColumns(), columns.NColumns());
}

void OmPivotTableTxtExport::Data::PrepareFormatting() {
  // The host never reports negative counts; should one, it counts as none.
  const std::int64_t colHeadRows = std::max(mColumnHeading.NRows(), 0);
  const std::int64_t rowHeadRows = std::max(mRowHeading.NRows(), 0);
  const std::int64_t rowHeadColumns = std::max(mRowHeading.NColumns(), 0);
  const std::int64_t dataColumns = std::max(mColumnHeading.NColumns(), 0);

  mStringFolder = std::make_unique<OmWinStringFolder>(FolderOptions(mOptions.WidthRestriction()));

  const OmLayerGrid grid = PlanGrid(colHeadRows, rowHeadRows, rowHeadColumns, dataColumns);
  const std::int32_t columns = CountOrThrow(grid.columns);
  const std::int32_t textRows = CountOrThrow(grid.textRows);
  // Matrix lines are counted in 32 bits, like the rows and heights.
  const std::int32_t matrixRows =
      CountOrThrow(mOptions.RowSeparator().empty() ? textRows : 2 * std::int64_t{textRows} + 1);

  // A layer that may stream is sized only once it is known not to.
  mPlannedLines = matrixRows;
  bool mayStream = rowHeadRows > kWindowRows && grid.Positions() > mStreamPositions;
  if (!mayStream)
    mMatrix.Resize(static_cast<std::size_t>(matrixRows), static_cast<std::size_t>(columns));
  mColumnWidths.assign(static_cast<std::size_t>(columns), 0);
  if (mMeasure.CountsColumns())
    mWidestCharacters.assign(static_cast<std::size_t>(columns), 0);
  mRowHeights.assign(static_cast<std::size_t>(textRows), 1);
  for (std::int32_t i = 0; i < rowHeadColumns; ++i)
    mRowHeadColumns.PushBack(mRowHeading.Column(i));
  for (std::int32_t j = 0; j < dataColumns; ++j) {
    mColHeadColumns.PushBack(mColumnHeading.Column(j));
  }

  // Only -1 means no limit; 0 and other negative widths are planned for.
  if (mOptions.MaxLineWidth() != -1) {
    PreCalculateColumnWidths();
    KeepWidestCharacters();
  } else if (mayStream) {
    mayStream = MeasureAsFilled();
  }
  if (mayStream && PlanWindows()) {
    mStreaming = true;
    return;
  }
  FillWhole();
}

void OmPivotTableTxtExport::Data::FillWhole() {
  mStreaming = false;
  const auto columns = static_cast<std::int32_t>(mColumnWidths.size());
  if (mMatrix.NumColumns() != static_cast<std::size_t>(columns) ||
      mMatrix.NumLines() != static_cast<std::size_t>(mPlannedLines)) {
    mMatrix.Resize(static_cast<std::size_t>(mPlannedLines), static_cast<std::size_t>(columns));
  }
  for (std::int32_t col = columns - 1; col >= 0; --col)
    FillColumn(col);
}

void OmPivotTableTxtExport::Data::PreCalculateColumnWidths() {
  const auto columns = static_cast<std::int32_t>(mColumnWidths.size());
  if (columns == 0)
    return;
  const std::int64_t maxWidth = mOptions.MaxLineWidth();
  const std::int32_t rowHeadColumns = mRowHeading.NColumns();

  for (std::int32_t col = columns - 1; col >= 0; --col) {
    if (col < rowHeadColumns) {
      // The corner text counts toward the width of its column.
      std::int32_t width = 0;
      PreFormatCornerText(col, width, nullptr);
      PreFormatRowHeadColumn(col, width, nullptr);
    } else {
      PreFormatTableColumn(col, nullptr);
    }
  }

  std::int64_t total = 0;
  for (const std::int32_t width : mColumnWidths)
    total += width;
  // One separator before the first column, one after each column.
  const std::int64_t separators =
      (std::int64_t{columns} + 1) * mMeasure.Width(mOptions.ColumnSeparator());
  if (total + separators <= maxWidth)
    return;

  std::int64_t average = total / columns;
  std::vector<std::uint64_t> order;
  SortColumns(order);

  // Narrow the widest columns toward the average width, pass after pass,
  // until the table fits or a pass cuts nothing. The exact cuts are the
  // layout's own rule: a column whose surplus over the average, plus one,
  // covers the remaining excess gives up just that excess.
  for (;;) {
    const std::int32_t first = mColumnWidths[static_cast<std::size_t>(order[0])];
    if (first < average || first <= 1 || total + separators <= maxWidth)
      return;
    const bool smallAverage = average <= 1;
    std::int64_t passCut = 0;
    for (std::size_t k = 0; k < order.size(); ++k) {
      std::int32_t& width = mColumnWidths[static_cast<std::size_t>(order[k])];
      const std::int64_t excess = total + separators - maxWidth;
      std::int64_t cut = excess;
      if (width - average + 1 < excess || smallAverage)
        cut = width - average;
      width = static_cast<std::int32_t>(width - cut);
      total -= cut;
      passCut += cut;
      if (k + 1 == order.size())
        break;
      const std::int32_t next = mColumnWidths[static_cast<std::size_t>(order[k + 1])];
      if (next < average || next <= 1)
        break;
      if (total + separators <= maxWidth)
        return;
    }
    if (total + separators <= maxWidth || passCut == 0)
      return;
    average = total / columns;
  }
}

void OmPivotTableTxtExport::Data::SortColumns(std::vector<std::uint64_t>& order) const {
  order.resize(mColumnWidths.size(), 0);
  for (std::size_t i = 0; i < order.size(); ++i)
    order[i] = i;
  // The standard unstable sort: which of two equally wide columns is
  // narrowed first is the sort's own choice, and part of the plan.
  std::sort(order.begin(), order.end(), Descending{mColumnWidths});
}

void OmPivotTableTxtExport::Data::KeepWidestCharacters() {
  // A wide character is never cut, so in a narrower column it would push
  // the separators after it out of line. Columns of narrow characters are
  // left as planned, so that ASCII text is laid out as in bytes.
  for (std::size_t c = 0; c < mWidestCharacters.size() && c < mColumnWidths.size(); ++c) {
    if (mWidestCharacters[c] > 1 && mColumnWidths[c] < mWidestCharacters[c])
      mColumnWidths[c] = static_cast<std::int32_t>(mWidestCharacters[c]);
  }
}

OmStringFolder::Options OmPivotTableTxtExport::Data::FolderOptions(
    std::int32_t widthRestriction) const {
  OmStringFolder::Options folderOptions;
  folderOptions.columnSeparator = mOptions.ColumnSeparator();
  folderOptions.rowSeparator = mOptions.RowSeparator();
  folderOptions.widthRestriction = widthRestriction;
  folderOptions.displayWidth = mOptions.DisplayWidth();
  return folderOptions;
}
