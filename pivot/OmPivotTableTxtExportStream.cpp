// Band-at-a-time layout of a long formatted layer. Once every column width
// is planned, a window of bands lays out exactly as it would inside the
// whole matrix, provided no row label spans across the window's edges: its
// columns are filled last first, its bands grow as their cells need, and
// only its own lines are held. The heading band is kept for the page breaks
// that repeat it, and the nodes the bottom rule is drawn from are kept per
// column until the last window.
#include <algorithm>
#include <cstdint>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "pivot/OmPivotTableTxtExportPrivate.h"

using Data = OmPivotTableTxtExportPrivate::Data;

bool Data::PlanWindows() {
  const std::int32_t headRows = mColumnHeading.NRows();
  const std::int32_t rows = mRowHeading.NRows();
  const std::int32_t rowHeadColumns = mRowHeading.NColumns();
  const std::int32_t dataColumns = mColumnHeading.NColumns();
  if (rows <= kWindowRows || headRows < 0 || rowHeadColumns < 0 || dataColumns <= 0)
    return false;
  // Widths planned as 0 are measured again as their columns fill.
  for (const std::int32_t width : mColumnWidths) {
    if (width <= 0)
      return false;
  }
  // The page planning needs an upper bound of the layer's lines.
  if (CountLines(mPlannedLines + mExtraLinesBound) > std::numeric_limits<std::int32_t>::max())
    return false;
  // A printed heading entry without a label leaves no node, which shifts the
  // nodes below it to other bands; such a layer is laid out whole. Measuring
  // has met every entry.
  if (mUnlabelledEntries != 0)
    return false;
  // A window may end before row b when the first heading column changes
  // there: then no row label, in any heading column, spans on into row b.
  // Wide layers take fewer rows to a window, so that filling a column
  // touches few enough lines to stay in the cache.
  const auto columns = static_cast<std::int64_t>(mColumnWidths.size());
  const auto windowRows = static_cast<std::int32_t>(
      std::clamp<std::int64_t>(kWindowPositions / columns, kMinWindowRows, kWindowRows));
  mWindowEnds.clear();
  std::int32_t start = 0;
  for (std::int32_t b = windowRows; b < rows;) {
    if (b - start >= windowRows && (rowHeadColumns == 0 || !SkipNodesInRowHead(0, b - 1, b))) {
      mWindowEnds.push_back(headRows + b);
      start = b;
      b = std::min(rows, b + windowRows);
    } else {
      ++b;
    }
  }
  if (mWindowEnds.empty())
    return false;
  mWindowEnds.push_back(headRows + rows);
  mFirstNodes.resize(mColumnWidths.size());
  mLastTextNodes.resize(mColumnWidths.size());
  return true;
}

bool Data::MeasureAsFilled() {
  // A layer without data columns is never laid out a window at a time.
  if (mColumnHeading.NColumns() <= 0)
    return false;
  const std::int32_t rowHeadColumns = mRowHeading.NColumns();
  for (auto col = static_cast<std::int32_t>(mColumnWidths.size()) - 1; col >= 0; --col) {
    const std::int64_t before = mGrowableNodes;
    std::int64_t headNodes = 0;
    std::int32_t width = 0;
    if (col >= rowHeadColumns) {
      // As PreFormatTableColumn, counting the heading's nodes apart.
      std::vector<std::int32_t> cellIndex;
      mLayerHeading.Fill(cellIndex);
      if (mColumnHeading.NColumns() != 0)
        PreFormatColHeadColumn(col, width, cellIndex, nullptr);
      headNodes = mGrowableNodes - before;
      PreFormatTableCells(col, cellIndex, 0, std::max(mRowHeading.NRows(), 1), width, nullptr);
      mColumnWidths[static_cast<std::size_t>(col)] = width;
    } else {
      PreFormatCornerText(col, width, nullptr);
      headNodes = mGrowableNodes - before;
      PreFormatRowHeadColumn(col, width, nullptr);
    }
    // Only cells whose fold may grow their band are folded again to see;
    // the first column is measured last, so nothing depends on it.
    const bool bodyNodes = mGrowableNodes - before > headNodes;
    if (col > 0 && (headNodes > 0 || bodyNodes) && GrowsABand(col, headNodes > 0, bodyNodes))
      return false;
  }
  return true;
}

bool Data::GrowsABand(std::int32_t column, bool head, bool body) {
  const std::int32_t width = mColumnWidths[static_cast<std::size_t>(column)];
  NodeList nodes;
  std::vector<std::string> lines;
  // Folds the nodes made so far, then lets them go.
  auto grows = [&]() {
    for (const NodePtr& node : nodes) {
      lines.clear();
      if (!node->IsEmpty() && mStringFolder->SplitString(*node, width, lines, true) > node->NRows())
        return true;
    }
    nodes.clear();
    return false;
  };
  const std::int32_t headRows = mColumnHeading.NRows();
  if (head) {
    MakeWindowNodes(column, 0, headRows, nodes);
    if (grows())
      return true;
  }
  if (!body)
    return false;
  const std::int32_t rows =
      column >= mRowHeading.NColumns() ? std::max(mRowHeading.NRows(), 1) : mRowHeading.NRows();
  for (std::int32_t next = 0; next < rows; next += kWindowRows) {
    const std::int32_t end = next + std::min(kWindowRows, rows - next);
    MakeWindowNodes(column, headRows + next, headRows + end, nodes);
    if (grows())
      return true;
  }
  return false;
}

void Data::MakeWindowNodes(std::int32_t column, std::int32_t firstBand, std::int32_t endBand,
                           NodeList& nodes) {
  std::int32_t measured = mColumnWidths[static_cast<std::size_t>(column)];
  const std::int32_t headRows = mColumnHeading.NRows();
  const std::int32_t firstRow = std::max(firstBand - headRows, 0);
  const std::int32_t endRow = endBand - headRows;
  if (column >= mRowHeading.NColumns()) {
    std::vector<std::int32_t> cellIndex;
    mLayerHeading.Fill(cellIndex);
    if (firstBand == 0) {
      PreFormatColHeadColumn(column, measured, cellIndex, &nodes);
    } else {
      mColumnHeading.Fill(cellIndex, column - mRowHeading.NColumns());
    }
    PreFormatTableCells(column, cellIndex, firstRow, endRow, measured, &nodes);
  } else {
    if (firstBand == 0)
      PreFormatCornerText(column, measured, &nodes);
    PreFormatRowHeadRows(column, firstRow, endRow, measured, &nodes);
  }
}

void Data::FillWindow(std::int32_t firstBand, std::int32_t endBand, bool last) {
  const std::int64_t separator = SeparatorFlag();
  // The rule above each band, the bands, and after the last the bottom rule.
  std::int64_t lines = separator * (std::int64_t{endBand} - firstBand + (last ? 1 : 0));
  for (std::int32_t k = firstBand; k < endBand; ++k)
    lines += mRowHeights[static_cast<std::size_t>(k)];
  mMatrix.Resize(static_cast<std::size_t>(lines), mColumnWidths.size());
  for (auto col = static_cast<std::int32_t>(mColumnWidths.size()) - 1; col >= 0; --col)
    FillWindowColumn(col, firstBand, endBand, last);
}

void Data::FillWindowColumn(std::int32_t column, std::int32_t firstBand, std::int32_t endBand,
                            bool last) {
  UseColumnFolder(column);
  const std::int32_t width = mColumnWidths[static_cast<std::size_t>(column)];
  const bool tableColumn = column >= mRowHeading.NColumns();
  NodeList nodes;
  nodes.reserve(static_cast<std::size_t>(endBand - firstBand) + 1);
  MakeWindowNodes(column, firstBand, endBand, nodes);

  const std::int32_t separator = SeparatorFlag();
  FoldScratch scratch(mOptions.ColumnSeparator(), separator);
  std::int64_t line = separator;
  for (std::int32_t k = firstBand; k < endBand; ++k) {
    const auto index = static_cast<std::size_t>(k - firstBand);
    if (index >= nodes.size())
      break;
    FillBand(nodes, index, k, line, width, column, tableColumn, scratch);
    line += std::int64_t{mRowHeights[static_cast<std::size_t>(k)]} + separator;
  }

  NodePtr& firstNode = mFirstNodes[static_cast<std::size_t>(column)];
  NodePtr& lastText = mLastTextNodes[static_cast<std::size_t>(column)];
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    if (firstBand == 0 && i == 0) {
      firstNode = std::move(nodes[i]);
    } else if (!nodes[i]->IsEmpty()) {
      lastText = std::move(nodes[i]);
    }
  }
  if (!last)
    return;
  // The bottom rule reads back to the last node with text after the first
  // band, or else to the first band's node.
  NodeList ends;
  ends.push_back(std::move(firstNode));
  ends.push_back(std::move(lastText));
  const std::int64_t bottom = line - separator;
  FillRowSeparator(ends,
                   static_cast<std::int32_t>(
                       std::min<std::int64_t>(bottom, std::numeric_limits<std::int32_t>::max())),
                   2, column);
}

void Data::StreamExport() {
  FillWindow(0, mWindowEnds[0], mWindowEnds.size() == 1);
  const std::int32_t headEnd = GetRowIndexInMatrix(mColumnHeading.NRows());
  mHeadLines.clear();
  for (std::int32_t i = 0; i < headEnd && static_cast<std::size_t>(i) < mMatrix.NumLines(); ++i) {
    mHeadLines.emplace_back();
    mMatrix.AppendLine(static_cast<std::size_t>(i), mHeadLines.back());
  }
  StartBody(headEnd);
  std::int64_t index = 0;
  std::string line;
  for (std::size_t w = 0; w < mWindowEnds.size(); ++w) {
    if (w > 0)
      FillWindow(mWindowEnds[w - 1], mWindowEnds[w], w + 1 == mWindowEnds.size());
    const std::size_t lines = mMatrix.NumLines();
    for (std::size_t i = 0; i < lines; ++i, ++index) {
      line.clear();
      mMatrix.AppendLine(i, line);
      PrintBodyLine(index, headEnd, line);
    }
  }
  mStreamedLines = index;
  mMatrix.Resize(0, 0);
}
