// Filling of the text matrix, one column at a time and the last column
// first: each cell is folded into padded lines at the lines of its band,
// a band grows when a cell needs more lines than planned, and the row
// separator rules are drawn above and below the cells.
#include <algorithm>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "fold/OmWinStringFolder.h"
#include "pivot/OmPivotTableTxtExportPrivate.h"

namespace {

constexpr std::int64_t kMaxLines = std::numeric_limits<std::int32_t>::max();

// Columns of more rows than this are folded a batch of rows at a time, so
// that a column of a million cells never holds a million nodes at once.
constexpr std::int32_t kBatchRows = 1024;

}  // namespace

void OmPivotTableTxtExport::Data::UseColumnFolder(std::int32_t column) {
  if (mOptions.MaxLineWidth() > 0) {
    // Each column folds at its own planned width, which is also as far as
    // an over-long word may widen it.
    const std::int32_t width = mColumnWidths[static_cast<std::size_t>(column)];
    mStringFolder.reset();
    mStringFolder = std::make_unique<OmWinStringFolder>(FolderOptions(width));
  }
}

void OmPivotTableTxtExport::Data::FillColumn(std::int32_t column) {
  UseColumnFolder(column);
  if (column >= mRowHeading.NColumns()) {
    FillTableColumn(column);
  } else {
    FillRowHeadingColumn(column);
  }
}

void OmPivotTableTxtExport::Data::FillRowHeadingColumn(std::int32_t column) {
  if (mRowHeading.NColumns() <= 0)
    return;
  const std::int32_t rows = mRowHeading.NRows();
  NodeList nodes;
  std::int32_t width = 0;
  if (rows <= kBatchRows) {
    PreFormatCornerText(column, width, &nodes);
    PreFormatRowHeadColumn(column, width, &nodes);
    if (nodes.empty())
      return;
    FillBands(nodes, width, column, false, nullptr);
    return;
  }
  // A long column is folded a batch of rows at a time, at the width that
  // measuring the whole column gives. Nodes are made in the same order as
  // in one go, and each before any band it reads the height of is filled.
  if (mColumnWidths[static_cast<std::size_t>(column)] == 0) {
    PreFormatCornerText(column, width, nullptr);
    PreFormatRowHeadColumn(column, width, nullptr);
  }
  width = mColumnWidths[static_cast<std::size_t>(column)];
  std::int32_t measured = width;
  PreFormatCornerText(column, measured, &nodes);
  std::int32_t next = 0;
  FillBands(nodes, width, column, false, [&]() {
    if (next >= rows)
      return false;
    const std::int32_t end = next + std::min(kBatchRows, rows - next);
    PreFormatRowHeadRows(column, next, end, measured, &nodes);
    next = end;
    return true;
  });
}

void OmPivotTableTxtExport::Data::FillTableColumn(std::int32_t column) {
  const std::int32_t rows = std::max(mRowHeading.NRows(), 1);
  NodeList nodes;
  if (rows <= kBatchRows) {
    const std::int32_t width = PreFormatTableColumn(column, &nodes);
    // Without nodes there is no last band to close with a bottom rule.
    if (nodes.empty())
      return;
    FillBands(nodes, width, column, true, nullptr);
    return;
  }
  if (mColumnWidths[static_cast<std::size_t>(column)] == 0)
    PreFormatTableColumn(column, nullptr);
  const std::int32_t width = mColumnWidths[static_cast<std::size_t>(column)];
  std::int32_t measured = width;
  std::vector<std::int32_t> cellIndex;
  mLayerHeading.Fill(cellIndex);
  if (mColumnHeading.NColumns() != 0)
    PreFormatColHeadColumn(column, measured, cellIndex, &nodes);
  std::int32_t next = 0;
  FillBands(nodes, width, column, true, [&]() {
    if (next >= rows)
      return false;
    const std::int32_t end = next + std::min(kBatchRows, rows - next);
    PreFormatTableCells(column, cellIndex, next, end, measured, &nodes);
    next = end;
    return true;
  });
}

void OmPivotTableTxtExport::Data::FillBands(NodeList& nodes, std::int32_t width,
                                            std::int32_t column, bool tableColumn,
                                            const std::function<bool()>& more) {
  const std::int32_t separator = SeparatorFlag();
  FoldScratch scratch(mOptions.ColumnSeparator(), SeparatorFlag());
  std::int64_t line = separator;  // the first line of band k
  std::int64_t lastLine = line;   // the first line of the last band
  std::size_t k = 0;
  std::size_t kept = 0;  // the last band from 1 on whose node has text
  for (;;) {
    const std::size_t bands = std::min(nodes.size(), mRowHeights.size());
    for (; k < bands; ++k) {
      OmFormattedNode& node = *nodes[k];
      FillBand(nodes, k, static_cast<std::int32_t>(k), line, width, column, tableColumn, scratch);
      lastLine = line;
      line += std::int64_t{mRowHeights[k]} + separator;
      if (more && k >= 1) {
        // The bottom rule reads back only as far as the last node with text
        // (or the first node), so the nodes before that one may go.
        if (!node.IsEmpty()) {
          if (kept >= 1)
            nodes[kept].reset();
          kept = k;
        } else {
          nodes[k].reset();
        }
      }
    }
    if (!more || !more())
      break;
  }
  if (k == 0)
    return;
  const std::int64_t bottom = lastLine + mRowHeights[k - 1];
  FillRowSeparator(nodes, static_cast<std::int32_t>(std::min(bottom, kMaxLines)),
                   static_cast<std::int32_t>(k), column);
}

void OmPivotTableTxtExport::Data::FillBand(NodeList& nodes, std::size_t index, std::int32_t band,
                                           std::int64_t line, std::int32_t width,
                                           std::int32_t column, bool tableColumn,
                                           FoldScratch& scratch) {
  OmFormattedNode& node = *nodes[index];
  const auto first = static_cast<std::size_t>(line);
  const auto matrixColumn = static_cast<std::size_t>(column);
  // An empty node writes nothing, not even the rule above it; in a table
  // column, text that a spanning cell already put there stays.
  const bool blank = &node == mBlankNode.get();
  if (!blank && node.IsEmpty())
    return;
  OmTextMatrix::Spot spot = nullptr;
  if (tableColumn) {
    spot = mMatrix.SpotOf(first, matrixColumn);
    if (!OmTextMatrix::IsEmptyAt(spot))
      return;
  }
  if (nodes[index].get_deleter().spare != nullptr &&
      FillPlainNode(node, first, width, column, scratch)) {
    FillRowSeparator(nodes, static_cast<std::int32_t>(line - scratch.separator),
                     static_cast<std::int32_t>(index), column, &scratch);
    return;
  }
  // The shared blank node (one row) folds to the same lines every time at a
  // width, and a blank of one line in a table column takes the text the
  // first one stored.
  const bool oneLineBlank = blank && tableColumn && scratch.blankWidth == width &&
                            scratch.blankLines.size() == 1 && scratch.blankCount <= 1;
  if (oneLineBlank && scratch.blankId != 0) {
    OmTextMatrix::SetPieceIdAt(spot, scratch.blankId);
    FillRowSeparator(nodes, static_cast<std::int32_t>(line - scratch.separator),
                     static_cast<std::int32_t>(index), column, &scratch);
    return;
  }
  std::int32_t count = scratch.blankCount;
  if (!blank || scratch.blankWidth != width) {
    std::vector<std::string>& folded = blank ? scratch.blankLines : scratch.lines;
    folded.clear();
    count = mStringFolder->SplitString(node, width, folded, true);
    if (blank) {
      scratch.blankWidth = width;
      scratch.blankCount = count;
      scratch.blankId = 0;
      scratch.blankRuleId = 0;
    }
  }
  const std::vector<std::string>& lines = blank ? scratch.blankLines : scratch.lines;
  InsertExtraRows(band, static_cast<std::int32_t>(line), column, count, node.NRows());
  for (std::size_t j = 0; j < lines.size(); ++j)
    PutCellLine(first + j, column, lines[j], scratch);
  if (oneLineBlank)
    scratch.blankId = OmTextMatrix::IdAt(mMatrix.SpotOf(first, matrixColumn));
  FillRowSeparator(nodes, static_cast<std::int32_t>(line - scratch.separator),
                   static_cast<std::int32_t>(index), column, &scratch);
}

void OmPivotTableTxtExport::Data::PutCellLine(std::size_t line, std::int32_t column,
                                              std::string_view text, FoldScratch& scratch) {
  if (column == 0) {
    // The first column also draws the table's left edge.
    scratch.piece.assign(scratch.columnSeparator);
    scratch.piece.append(text);
    mMatrix.SetPiece(line, 0, scratch.piece);
  } else {
    mMatrix.AppendToPiece(line, static_cast<std::size_t>(column), text);
  }
}

bool OmPivotTableTxtExport::Data::FillPlainNode(OmFormattedNode& node, std::size_t first,
                                                std::int32_t width, std::int32_t column,
                                                FoldScratch& scratch) {
  std::string& text = scratch.plainLine;
  text.clear();
  std::size_t padTo = 0;
  if (!mStringFolder->PadUnfolded(node.String(), node.NRows(), width, text, padTo))
    return false;
  PutCellLine(first, column, text, scratch);
  if (node.NRows() > 1) {
    // The lines under the text are blank, padded and closed alike.
    text.assign(padTo, ' ').append(scratch.columnSeparator);
    for (std::int32_t j = 1; j < node.NRows(); ++j)
      PutCellLine(first + static_cast<std::size_t>(j), column, text, scratch);
  }
  return true;
}

void OmPivotTableTxtExport::Data::FillRowSeparator(NodeList& nodes, std::int32_t line,
                                                   std::int32_t band, std::int32_t column,
                                                   FoldScratch* scratch) {
  const std::size_t lines = mMatrix.NumLines();
  if (SeparatorFlag() == 0 || line < 0 || static_cast<std::size_t>(line) >= lines)
    return;
  const auto at = static_cast<std::size_t>(line);
  const OmTextMatrix::Spot spot = mMatrix.SpotOf(at, static_cast<std::size_t>(column));
  if (!OmTextMatrix::IsEmptyAt(spot))
    return;
  // The rule above the shared blank node is the same all down a column (the
  // bottom rule reads back to other nodes).
  const bool aboveBlank = scratch != nullptr && at + 1 != lines && band >= 0 &&
                          static_cast<std::size_t>(band) < nodes.size() &&
                          nodes[static_cast<std::size_t>(band)].get() == mBlankNode.get();
  if (aboveBlank && scratch->blankRuleId != 0) {
    OmTextMatrix::SetPieceIdAt(spot, scratch->blankRuleId);
    return;
  }

  // The rule takes its width from the cell below it; the bottom rule, from
  // the last band that has text (or the first band).
  std::int64_t index = band;
  if (at + 1 == lines) {
    index = std::int64_t{band} - 1;
    // A released (null) node had no text, or lies before one with text.
    while (index >= 1 && static_cast<std::size_t>(index) < nodes.size() &&
           (!nodes[static_cast<std::size_t>(index)] ||
            nodes[static_cast<std::size_t>(index)]->IsEmpty())) {
      --index;
    }
  }
  if (index < 0 || static_cast<std::size_t>(index) >= nodes.size() ||
      !nodes[static_cast<std::size_t>(index)]) {
    return;
  }
  const OmFormattedNode& node = *nodes[static_cast<std::size_t>(index)];
  if (column != 0 && node.IsEmpty())
    return;

  // The rule of a cell that spans columns runs over them, so their own
  // pieces on this line go.
  const std::int64_t span = node.NColumns();
  const std::int64_t lastColumn = std::min<std::int64_t>(
      std::int64_t{column} + span - 1, static_cast<std::int64_t>(mMatrix.NumColumns()) - 1);
  for (std::int64_t c = std::int64_t{column} + 1; c <= lastColumn; ++c) {
    mMatrix.ClearPiece(at, static_cast<std::size_t>(c));
  }

  std::int64_t target =
      std::int64_t{mColumnWidths[static_cast<std::size_t>(column)]} + node.ExtraWidth();
  if (span > 1)
    target += (span - 1) * mStringFolder->GetStringLength(mOptions.ColumnSeparator());
  // A column's rules are mostly alike: the last one's stored text serves
  // again.
  if (scratch != nullptr && scratch->ruleId != 0 && scratch->ruleTarget == target) {
    OmTextMatrix::SetPieceIdAt(spot, scratch->ruleId);
  } else {
    mMatrix.SetPiece(at, static_cast<std::size_t>(column), RulePiece(target, column == 0));
    if (scratch != nullptr) {
      scratch->ruleId = OmTextMatrix::IdAt(spot);
      scratch->ruleTarget = target;
    }
  }
  if (aboveBlank)
    scratch->blankRuleId = scratch->ruleId;
}

const std::string& OmPivotTableTxtExport::Data::RulePiece(std::int64_t target, bool firstColumn) {
  if (target == mRuleTarget && firstColumn == mRuleFirstColumn)
    return mRulePiece;
  const std::string rowSeparator = mOptions.RowSeparator();
  const std::string columnSeparator = mOptions.ColumnSeparator();
  std::string piece;
  const std::int64_t wanted = target;
  std::int64_t shown = 0;  // the piece's display width
  if (firstColumn) {
    piece = columnSeparator;
    shown = mMeasure.Width(columnSeparator);
    target += shown;
  }
  if (target > shown) {
    // The separator is repeated whole, so a long one may overshoot. One of
    // no display width (a zero-width character) counts as one position, so
    // that the rule still ends.
    const std::int64_t step = std::max<std::int64_t>(mMeasure.Width(rowSeparator), 1);
    const std::int64_t repeats = (target - shown + step - 1) / step;
    const auto size = static_cast<std::int64_t>(piece.size());
    const auto bytes = static_cast<std::int64_t>(rowSeparator.size());
    if (repeats > (static_cast<std::int64_t>(piece.max_size() / 2) - size) / bytes) {
      throw std::bad_alloc();
    }
    piece.reserve(static_cast<std::size_t>(size + repeats * bytes) + columnSeparator.size());
    if (bytes == 1) {
      piece.append(static_cast<std::size_t>(repeats), rowSeparator[0]);
    } else {
      for (std::int64_t i = 0; i < repeats; ++i)
        piece.append(rowSeparator);
    }
  }
  piece.append(columnSeparator);
  mRulePiece = std::move(piece);
  mRuleTarget = wanted;
  mRuleFirstColumn = firstColumn;
  return mRulePiece;
}

void OmPivotTableTxtExport::Data::InsertExtraRows(std::int32_t band, std::int32_t firstLine,
                                                  std::int32_t column, std::int32_t lines,
                                                  std::int32_t plannedLines) {
  if (lines <= plannedLines)
    return;
  const std::int64_t extra = std::int64_t{lines} - plannedLines;
  const auto numLines = static_cast<std::int64_t>(mMatrix.NumLines());
  // Line positions are 32-bit; a layer that would need more lines is treated
  // as one that does not fit in memory.
  if (numLines + extra > kMaxLines)
    throw std::bad_alloc();
  if (band >= 0 && static_cast<std::size_t>(band) < mRowHeights.size()) {
    mRowHeights[static_cast<std::size_t>(band)] += static_cast<std::int32_t>(extra);
  }

  // The columns to the right are filled already: they continue blank down
  // the new lines, as wide (in display positions) as their piece on the
  // band's first line. The columns to the left are filled later.
  const std::string columnSeparator = mOptions.ColumnSeparator();
  const auto separatorWidth = static_cast<std::size_t>(mMeasure.Width(columnSeparator));
  const std::size_t columns = mMatrix.NumColumns();
  const auto first = static_cast<std::size_t>(std::max(firstLine, 0));
  std::vector<std::string> blanks;
  for (std::size_t c = static_cast<std::size_t>(column) + 1; c < columns; ++c) {
    std::size_t size = mMatrix.PieceSize(first, c);
    std::string blank;
    if (size != 0) {
      if (mMeasure.CountsColumns())
        size = static_cast<std::size_t>(mMeasure.Width(mMatrix.Piece(first, c)));
      blank.assign(size > separatorWidth ? size - separatorWidth : 0, ' ');
      blank.append(columnSeparator);
    }
    blanks.push_back(std::move(blank));
  }

  const auto at = static_cast<std::size_t>(
      std::clamp<std::int64_t>(std::int64_t{firstLine} + plannedLines, 0, numLines));
  mMatrix.InsertLines(at, static_cast<std::size_t>(extra));
  for (std::size_t i = 0; i < static_cast<std::size_t>(extra); ++i) {
    for (std::size_t b = 0; b < blanks.size(); ++b) {
      if (!blanks[b].empty())
        mMatrix.SetPiece(at + i, static_cast<std::size_t>(column) + 1 + b, blanks[b]);
    }
  }
}
