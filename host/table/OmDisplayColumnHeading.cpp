// Column headings.
#include "host/table/OmDisplayColumnHeading.h"

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

struct OmDisplayColumnHeading::Data {
  Data(OmDisplayLayerHeading& layer, bool hideEmpty)
      : grid(layer.Table(), OmAxis::Column, LayerIndex(layer), hideEmpty, true),
        columns(static_cast<std::size_t>(grid.NCombinations())) {}

  OmAxisGrid grid;
  // Table columns made so far; null until asked for.
  mutable std::vector<std::unique_ptr<OmNodeColumn>> columns;
};

OmDisplayColumnHeading::OmDisplayColumnHeading(OmDisplayLayerHeading& layer, bool hideEmpty)
    : mData(std::make_unique<Data>(layer, hideEmpty)) {}

OmDisplayColumnHeading::OmDisplayColumnHeading(OmDisplayColumnHeading&&) noexcept = default;
OmDisplayColumnHeading& OmDisplayColumnHeading::operator=(OmDisplayColumnHeading&&) noexcept =
    default;
OmDisplayColumnHeading::~OmDisplayColumnHeading() = default;

std::int32_t OmDisplayColumnHeading::NRows() const {
  return mData->grid.NPositions();
}
std::int32_t OmDisplayColumnHeading::NColumns() const {
  return mData->grid.NCombinations();
}

const OmNodeColumn& OmDisplayColumnHeading::Column(std::int32_t j) const {
  static const OmNodeColumn kNone;
  if (j < 0 || j >= NColumns())
    return kNone;
  std::unique_ptr<OmNodeColumn>& column = mData->columns[static_cast<std::size_t>(j)];
  if (!column) {
    column = std::make_unique<OmNodeColumn>(mData->grid.NodesOfCombination(j));
  }
  return *column;
}

OmNodeColumn OmDisplayColumnHeading::Row(std::int32_t r) const {
  return mData->grid.NodesAtPosition(r);
}

void OmDisplayColumnHeading::Fill(std::vector<std::int32_t>& index, std::int32_t j) const {
  mData->grid.Fill(index, j);
}
