// Pre-formatting of the matrix columns: the cells of a column become
// formatted nodes, one per band, and a column not yet planned is measured
// from them. The upper band of a row-heading column is the corner, of a data
// column the column heading; the lower bands are row labels or data cells.
#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "pivot/OmPivotTableTxtExportPrivate.h"

namespace {

using NodeList = OmPivotTableTxtExportPrivate::Data::NodeList;

}  // namespace

void OmPivotTableTxtExport::Data::AddMeasuredNode(std::int32_t col, std::string text,
                                                  std::int32_t columns, std::int32_t lines,
                                                  std::int32_t extra, std::int32_t& width,
                                                  NodeList* nodes) {
  const std::int32_t planned = mColumnWidths[static_cast<std::size_t>(col)];
  if (nodes != nullptr && planned != 0 && columns == 1 && extra == 0) {
    // A cell or label of one column that stays one line in its planned
    // column takes a plain node, filled without folding.
    std::int32_t length = 0;
    if (mStringFolder->MeasureUnfolded(text, lines, planned, length)) {
      AddPlainNode(*nodes, text, lines, length);
      return;
    }
  }
  if (nodes == nullptr) {
    // Measuring only: a planned column has nothing to learn from the cell,
    // and a cell that folds to itself is measured without a node.
    if (planned != 0)
      return;
    // A fold makes at most a line per byte and one more; twice that bounds
    // the lines the cell can add to its band with room to spare.
    mExtraLinesBound += 2 * static_cast<std::int64_t>(text.size()) + 2;
    std::int32_t minimum = 0;
    if (columns == 1 && extra == 0 && mStringFolder->MeasureUnfolded(text, lines, width, minimum)) {
      width = std::max(width, minimum);
      if (!mWidestCharacters.empty()) {
        std::int64_t& widest = mWidestCharacters[static_cast<std::size_t>(col)];
        widest = std::max(widest, OmTextMeasure::WidestCharacter(text));
      }
      return;
    }
  }
  std::unique_ptr<OmFormattedNode> node =
      mStringFolder->MakeNode(std::move(text), columns, lines, extra);
  if (nodes == nullptr && MayGrowItsBand(*node))
    ++mGrowableNodes;
  if (mColumnWidths[static_cast<std::size_t>(col)] == 0) {
    width = std::max(width, mStringFolder->GetMinimumColumnWidth(*node, width));
    if (columns == 1 && !mWidestCharacters.empty()) {
      std::int64_t& widest = mWidestCharacters[static_cast<std::size_t>(col)];
      widest = std::max(widest, OmTextMeasure::WidestCharacter(node->String()));
    }
  }
  if (nodes != nullptr)
    nodes->push_back(std::move(node));
}

bool OmPivotTableTxtExport::Data::MayGrowItsBand(OmFormattedNode& node) const {
  if (mOptions.WidthRestriction() != -1 || node.NRows() < 1)
    return true;
  // Without a restriction the fold joins lines until they fit the rows,
  // counting all but the blank lines that a line break followed by another
  // fold point, or by the end of the text, leaves.
  const std::string& text = node.String();
  const std::vector<std::int32_t>& folds = node.FoldPoints();
  for (std::size_t i = 0; i < folds.size(); ++i) {
    const auto p = static_cast<std::size_t>(folds[i]);
    if (text[p] != '\n' && text[p] != '\r')
      continue;
    if (p + 1 == text.size() || (i + 1 < folds.size() && folds[i + 1] == folds[i] + 1))
      return true;
  }
  return false;
}

void OmPivotTableTxtExport::Data::PreFormatCornerText(std::int32_t col, std::int32_t& width,
                                                      NodeList* nodes) {
  const std::int32_t headRows = mColumnHeading.NRows();
  if (headRows > 0) {
    const std::vector<const OmCellText*>& texts = mRowHeading.CornerText();
    const OmCellText* corner = col >= 0 && static_cast<std::size_t>(col) < texts.size()
                                   ? texts[static_cast<std::size_t>(col)]
                                   : nullptr;
    // The corner is one cell, one column wide, over the whole upper band.
    std::string text = corner != nullptr ? GetCellText(corner) : std::string(" ");
    const std::int32_t rows = GetNumberOfRowsAvailableInCorner(texts, col);
    AddMeasuredNode(col, std::move(text), 1, rows, 0, width, nodes);
    if (nodes != nullptr) {
      for (std::int32_t r = 1; r < headRows; ++r)
        nodes->push_back(SharedNode(false));
    }
  }
  const std::int32_t planned = mColumnWidths[static_cast<std::size_t>(col)];
  if (planned != 0)
    width = planned;
}

void OmPivotTableTxtExport::Data::PreFormatRowHeadColumn(std::int32_t col, std::int32_t& width,
                                                         NodeList* nodes) {
  PreFormatRowHeadRows(col, 0, mRowHeading.NRows(), width, nodes);
  std::int32_t& planned = mColumnWidths[static_cast<std::size_t>(col)];
  if (planned == 0) {
    planned = width;
  } else {
    width = planned;
  }
}

void OmPivotTableTxtExport::Data::PreFormatRowHeadRows(std::int32_t col, std::int32_t firstRow,
                                                       std::int32_t endRow, std::int32_t& width,
                                                       NodeList* nodes) {
  const OmNodeColumn& column = mRowHeadColumns[static_cast<std::size_t>(col)];
  for (std::int32_t r = std::max(firstRow, 0); r < endRow; ++r) {
    if (!IsRowHeadingCellPrinted(col, r)) {
      if (nodes != nullptr)
        nodes->push_back(SharedNode(false));
      continue;
    }
    const OmDimensionTree::ConstNode* entry = column[static_cast<std::size_t>(r)];
    const OmCellText* label = entry != nullptr ? entry->Label() : nullptr;
    // A node without a label leaves no node at all, so the bands below it
    // take the nodes of the rows after them; this shift is the layout's own.
    if (label == nullptr) {
      ++mUnlabelledEntries;
      continue;
    }
    std::int32_t extra = 0;
    const std::int32_t columns = GetNumberOfColumnsAvailableInRowHead(col, r, extra);
    const std::int32_t lines = GetNumberOfRowsAvailableInRowHead(col, r);
    AddMeasuredNode(col, GetCellText(label), columns, lines, extra, width, nodes);
  }
}

void OmPivotTableTxtExport::Data::PreFormatColHeadColumn(std::int32_t col, std::int32_t& width,
                                                         std::vector<std::int32_t>& cellIndex,
                                                         NodeList* nodes) {
  const std::int32_t dataColumn = col - mRowHeading.NColumns();
  mColumnHeading.Fill(cellIndex, dataColumn);
  const OmNodeColumn& column = mColHeadColumns[static_cast<std::size_t>(dataColumn)];
  const std::int32_t levels = mColumnHeading.NRows();
  for (std::int32_t r = 0; r < levels; ++r) {
    if (!IsColumnHeadingCellPrinted(column, col, r)) {
      // Covered by a cell that spans from the left.
      if (nodes != nullptr)
        nodes->push_back(SharedNode(false));
      continue;
    }
    const OmDimensionTree::ConstNode* entry = column[static_cast<std::size_t>(r)];
    const OmCellText* label = entry != nullptr ? entry->Label() : nullptr;
    if (label == nullptr) {
      ++mUnlabelledEntries;
      continue;
    }
    std::int32_t extra = 0;
    const std::int32_t columns = GetNumberOfColumnsAvailableInColHead(col, r, extra);
    const std::int32_t lines = GetNumberOfRowsAvailableInColHead(col, r);
    AddMeasuredNode(col, GetCellText(label), columns, lines, extra, width, nodes);
  }
  const std::int32_t planned = mColumnWidths[static_cast<std::size_t>(col)];
  if (planned != 0)
    width = planned;
}

std::int32_t OmPivotTableTxtExport::Data::PreFormatTableColumn(std::int32_t col, NodeList* nodes) {
  std::vector<std::int32_t> cellIndex;
  mLayerHeading.Fill(cellIndex);
  std::int32_t width = 0;
  if (mColumnHeading.NColumns() != 0)
    PreFormatColHeadColumn(col, width, cellIndex, nodes);
  PreFormatTableCells(col, cellIndex, 0, std::max(mRowHeading.NRows(), 1), width, nodes);
  std::int32_t& planned = mColumnWidths[static_cast<std::size_t>(col)];
  if (planned == 0)
    planned = width;
  return planned;
}

void OmPivotTableTxtExport::Data::PreFormatTableCells(std::int32_t col,
                                                      std::vector<std::int32_t>& cellIndex,
                                                      std::int32_t firstRow, std::int32_t endRow,
                                                      std::int32_t& width, NodeList* nodes) {
  const std::int32_t headRows = std::max(mColumnHeading.NRows(), 0);
  const std::int32_t rows = mRowHeading.NRows();
  const std::uint64_t* occupied = nullptr;
  const std::uint64_t* occupiedEnd = nullptr;
  const bool sparse = rows > 0 && OccupiedRows(col - mRowHeading.NColumns(), occupied, occupiedEnd);
  if (sparse) {
    occupied =
        std::lower_bound(occupied, occupiedEnd, firstRow, [](std::uint64_t key, std::int32_t row) {
          return static_cast<std::int64_t>(key & 0xFFFFFFFFu) < row;
        });
  }
  // The rows' positions are copied from the heading's list, and the cell
  // found in the layer's own slots: this runs once per position.
  const OmPivotTable& table = mLayerHeading.Table();
  cellIndex.resize(static_cast<std::size_t>(table.NDimensions()), 0);
  const std::vector<std::int32_t>& rowDims = table.AxisDimensions(OmAxis::Row);
  const std::int32_t* rowLeaves = mRowHeading.LeafPositions().data();
  auto lookUp = [&](std::int32_t r) {
    const std::int32_t* leaves = rowLeaves + static_cast<std::size_t>(r) * rowDims.size();
    for (std::size_t i = 0; i < rowDims.size(); ++i)
      cellIndex[static_cast<std::size_t>(rowDims[i])] = leaves[i];
    std::string_view stored;
    if (const OmCellText* cell = mLayerCells.At(cellIndex.data(), stored)) {
      const std::int32_t lines = mRowHeights[static_cast<std::size_t>(headRows + r)];
      AddMeasuredNode(col, GetCellText(cell, stored), 1, lines, 0, width, nodes);
      return true;
    }
    return false;
  };
  // Measuring a sparse column visits only its cells: a blank is not
  // measured.
  if (sparse && nodes == nullptr) {
    for (; occupied != occupiedEnd; ++occupied) {
      const auto r = static_cast<std::int32_t>(*occupied & 0xFFFFFFFFu);
      if (r >= endRow)
        break;
      lookUp(r);
    }
    return;
  }
  for (std::int32_t r = std::max(firstRow, 0); r < endRow; ++r) {
    if (rows > 0) {
      bool held = true;
      if (sparse) {
        held = occupied != occupiedEnd && static_cast<std::int32_t>(*occupied & 0xFFFFFFFFu) == r;
        if (held)
          ++occupied;
      }
      if (held && lookUp(r))
        continue;
    }
    // No cell, or no row to look one up for: a blank that is not measured.
    if (nodes != nullptr)
      nodes->push_back(SharedNode(true));
  }
}

void OmPivotTableTxtExport::Data::AddPlainNode(NodeList& nodes, const std::string& text,
                                               std::int32_t rows, std::int32_t length) {
  if (mSpareNodes.empty()) {
    if (mSpareNodes.capacity() <= mPlainNodes.size())
      mSpareNodes.reserve(2 * mPlainNodes.size() + 16);
    mPlainNodes.push_back(std::make_unique<OmFormattedNode>());
    mSpareNodes.push_back(mPlainNodes.back().get());
  }
  OmFormattedNode* node = mSpareNodes.back();
  mSpareNodes.pop_back();
  node->Assign(text, 1, rows, 0, length);
  nodes.emplace_back(node, NodeRelease(&mSpareNodes));
}

OmPivotTableTxtExport::Data::NodePtr OmPivotTableTxtExport::Data::SharedNode(bool blank) {
  std::unique_ptr<OmFormattedNode>& node = blank ? mBlankNode : mEmptyNode;
  if (!node)
    node = blank ? mStringFolder->MakeNode(" ", 1, 1, 0) : mStringFolder->MakeNode();
  return NodePtr(node.get(), NodeRelease(false));
}

bool OmPivotTableTxtExport::Data::OccupiedRows(std::int32_t dataColumn, const std::uint64_t*& first,
                                               const std::uint64_t*& end) {
  if (!mOccupancyKnown) {
    mOccupancyKnown = true;
    const std::int64_t positions =
        std::int64_t{mRowHeading.NRows()} * std::max(mColumnHeading.NColumns(), 0);
    const OmPivotTable& table = mLayerHeading.Table();
    std::vector<std::int32_t> layerIndex = table.SizeVector();
    mLayerHeading.Fill(layerIndex);
    if (positions >= mSparsePositions &&
        table.NCellsInLayer(layerIndex) <= positions / kPositionsPerCell) {
      table.ForEachIndexInLayer(
          layerIndex,
          [](void* context, const std::int32_t* index) {
            Data& data = *static_cast<Data*>(context);
            const std::int32_t row = data.mRowHeading.RowOf(index);
            const std::int32_t column = data.mColumnHeading.ColumnOf(index);
            if (row >= 0 && column >= 0) {
              data.mOccupied.push_back(static_cast<std::uint64_t>(column) << 32 |
                                       static_cast<std::uint64_t>(row));
            }
          },
          this);
      std::sort(mOccupied.begin(), mOccupied.end());
      mSparse = true;
    }
  }
  if (!mSparse || dataColumn < 0)
    return false;
  const auto key = static_cast<std::uint64_t>(dataColumn) << 32;
  const std::uint64_t* all = mOccupied.data();
  const std::uint64_t* allEnd = all + mOccupied.size();
  first = std::lower_bound(all, allEnd, key);
  end = std::lower_bound(first, allEnd, key + (std::uint64_t{1} << 32));
  return true;
}
