// Row headings.
#include "host/table/OmDisplayRowHeading.h"

#include "host/table/OmAxisGrid.h"
#include "host/table/OmDisplayLayerHeading.h"
#include "host/table/OmPivotTable.h"

namespace {

std::vector<std::int32_t> LayerIndex(const OmDisplayLayerHeading& layer) {
  std::vector<std::int32_t> index;
  layer.Fill(index);
  return index;
}

}  // namespace

struct OmDisplayRowHeading::Data {
  Data(OmDisplayLayerHeading& layer, bool hideEmpty, bool labelsInCorner)
      : table(&layer.Table()),
        grid(layer.Table(), OmAxis::Row, LayerIndex(layer), hideEmpty, !labelsInCorner),
        corner(static_cast<std::size_t>(grid.NPositions()), nullptr),
        columns(static_cast<std::size_t>(grid.NPositions())) {
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
  // Heading columns made so far; null until asked for.
  mutable std::vector<std::unique_ptr<OmNodeColumn>> columns;
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
  static const OmNodeColumn kNone;
  if (i < 0 || i >= NColumns())
    return kNone;
  std::unique_ptr<OmNodeColumn>& column = mData->columns[static_cast<std::size_t>(i)];
  if (!column) {
    column = std::make_unique<OmNodeColumn>(mData->grid.NodesAtPosition(i));
  }
  return *column;
}

OmNodeColumn OmDisplayRowHeading::Row(std::int32_t r) const {
  return mData->grid.NodesOfCombination(r);
}

const std::vector<const OmCellText*>& OmDisplayRowHeading::CornerText() const {
  return mData->corner;
}

void OmDisplayRowHeading::Fill(std::vector<std::int32_t>& index, std::int32_t r) const {
  mData->grid.Fill(index, r);
}
