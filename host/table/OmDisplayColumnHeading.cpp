// Column headings.
#include "host/table/OmDisplayColumnHeading.h"

#include "host/table/OmAxisGrid.h"
#include "host/table/OmDisplayLayerHeading.h"
#include "host/table/OmPivotTable.h"

struct OmDisplayColumnHeading::Data {
  Data(OmDisplayLayerHeading& layer, bool hideEmpty)
      : grid(layer, OmAxis::Column, hideEmpty, true), columns(grid.NCombinations(), false) {}

  OmAxisGrid grid;
  OmKeptColumns columns;
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
  return mData->columns.Get(mData->grid, j);
}

OmNodeColumn OmDisplayColumnHeading::Row(std::int32_t r) const {
  return mData->grid.NodesAtPosition(r);
}

void OmDisplayColumnHeading::Fill(std::vector<std::int32_t>& index, std::int32_t j) const {
  mData->grid.Fill(index, j);
}

const std::vector<std::int32_t>& OmDisplayColumnHeading::LeafPositions() const {
  return mData->grid.Leaves();
}

std::int32_t OmDisplayColumnHeading::ColumnOf(const std::int32_t* index) const {
  return mData->grid.Find(index);
}
