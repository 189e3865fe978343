// Row headings.
#include "host/table/OmDisplayRowHeading.h"

#include "host/table/OmAxisGrid.h"
#include "host/table/OmDisplayLayerHeading.h"
#include "host/table/OmPivotTable.h"

struct OmDisplayRowHeading::Data {
  Data(OmDisplayLayerHeading& layer, bool hideEmpty, bool labelsInCorner)
      : table(&layer.Table()),
        grid(layer, OmAxis::Row, hideEmpty, !labelsInCorner),
        corner(static_cast<std::size_t>(grid.NPositions()), nullptr),
        columns(grid.NPositions(), true) {
    if (!labelsInCorner)
      return;
    for (const OmAxisGrid::Block& block : grid.Blocks()) {
      const OmDimension& dimension = table->Dimension(block.dimension);
      if (dimension.ShowLabel() && block.width > 0) {
        corner[static_cast<std::size_t>(block.first)] = dimension.Label();
      }
    }
  }

  const OmPivotTable* table;
  OmAxisGrid grid;
  std::vector<const OmCellText*> corner;
  OmKeptColumns columns;
};

OmDisplayRowHeading::OmDisplayRowHeading(OmDisplayLayerHeading& layer, bool hideEmpty,
                                         bool labelsInCorner)
    : mData(std::make_unique<Data>(layer, hideEmpty, labelsInCorner)) {}

OmDisplayRowHeading::OmDisplayRowHeading(OmDisplayRowHeading&&) noexcept = default;
OmDisplayRowHeading& OmDisplayRowHeading::operator=(OmDisplayRowHeading&&) noexcept = default;
OmDisplayRowHeading::~OmDisplayRowHeading() = default;

std::int32_t OmDisplayRowHeading::NColumns() const {
  return mData->grid.NPositions();
}
std::int32_t OmDisplayRowHeading::NRows() const {
  return mData->grid.NCombinations();
}

const OmNodeColumn& OmDisplayRowHeading::Column(std::int32_t i) const {
  return mData->columns.Get(mData->grid, i);
}

OmNodeColumn OmDisplayRowHeading::Row(std::int32_t r) const {
  return mData->grid.NodesOfCombination(r);
}

const OmDimensionTree::ConstNode* OmDisplayRowHeading::At(std::int32_t r, std::int32_t i) const {
  const OmAxisGrid& grid = mData->grid;
  if (r < 0 || r >= grid.NCombinations() || i < 0 || i >= grid.NPositions())
    return nullptr;
  return grid.At(r, i);
}

const std::vector<const OmCellText*>& OmDisplayRowHeading::CornerText() const {
  return mData->corner;
}

void OmDisplayRowHeading::Fill(std::vector<std::int32_t>& index, std::int32_t r) const {
  mData->grid.Fill(index, r);
}

const std::vector<std::int32_t>& OmDisplayRowHeading::LeafPositions() const {
  return mData->grid.Leaves();
}

std::int32_t OmDisplayRowHeading::RowOf(const std::int32_t* index) const {
  return mData->grid.Find(index);
}
