// Layer headings.
#include "host/table/OmDisplayLayerHeading.h"

#include "host/table/OmPivotTable.h"

struct OmDisplayLayerHeading::Data {
  enum class State { Start, OnLayer, Done };

  Data(OmPivotTable& t, bool hide) : table(&t), hideEmpty(hide) {}

  OmPivotTable* table;
  bool hideEmpty;
  State state = State::Start;
  // The leaf position of each layer dimension, in axis order.
  std::vector<std::int32_t> positions;
};

namespace {

std::vector<std::int32_t> CurrentLeaves(const OmPivotTable& table) {
  std::vector<std::int32_t> positions;
  for (const std::int32_t d : table.AxisDimensions(OmAxis::Layer)) {
    positions.push_back(table.Dimension(d).CurrentLeaf());
  }
  return positions;
}

}  // namespace

OmDisplayLayerHeading::OmDisplayLayerHeading(OmPivotTable& table, bool hideEmpty)
    : mData(std::make_unique<Data>(table, hideEmpty)) {
  mData->positions = CurrentLeaves(table);
}

OmDisplayLayerHeading::OmDisplayLayerHeading(OmDisplayLayerHeading&&) noexcept = default;
OmDisplayLayerHeading& OmDisplayLayerHeading::operator=(OmDisplayLayerHeading&&) noexcept = default;
OmDisplayLayerHeading::~OmDisplayLayerHeading() = default;

OmPivotTable& OmDisplayLayerHeading::Table() const {
  return *mData->table;
}
bool OmDisplayLayerHeading::HideEmpty() const {
  return mData->hideEmpty;
}

std::int32_t OmDisplayLayerHeading::NDimensions() const {
  return static_cast<std::int32_t>(mData->positions.size());
}

OmNodeColumn OmDisplayLayerHeading::Nodes(std::int32_t i) const {
  OmNodeColumn nodes;
  if (i < 0 || i >= NDimensions())
    return nodes;
  const auto at = static_cast<std::size_t>(i);
  const OmDimension& dimension =
      mData->table->Dimension(mData->table->AxisDimensions(OmAxis::Layer)[at]);
  const OmDimensionTree& tree = dimension.Tree();
  if (dimension.ShowLabel())
    nodes.push_back(tree.Handle(OmDimensionTree::Root()));
  const OmDimensionTree::NodeId leaf = tree.Leaf(mData->positions[at]);
  if (leaf != OmDimensionTree::kNoNode) {
    for (const OmDimensionTree::NodeId node : tree.Path(leaf))
      nodes.push_back(tree.Handle(node));
  }
  return nodes;
}

void OmDisplayLayerHeading::Fill(std::vector<std::int32_t>& index) const {
  const auto size = static_cast<std::size_t>(mData->table->NDimensions());
  if (index.size() < size)
    index.resize(size, 0);
  const std::vector<std::int32_t>& dims = mData->table->AxisDimensions(OmAxis::Layer);
  for (std::size_t i = 0; i < dims.size(); ++i) {
    index[static_cast<std::size_t>(dims[i])] = mData->positions[i];
  }
}

bool OmDisplayLayerHeading::NextLayer() {
  Data& data = *mData;
  const std::vector<std::int32_t>& dims = data.table->AxisDimensions(OmAxis::Layer);
  switch (data.state) {
    case Data::State::Start:
      for (const std::int32_t d : dims) {
        if (data.table->Dimension(d).NLeaves() == 0) {
          data.state = Data::State::Done;
          return false;
        }
      }
      data.positions.assign(dims.size(), 0);
      data.state = Data::State::OnLayer;
      return true;
    case Data::State::OnLayer:
      // Count like an odometer, the last layer dimension fastest.
      for (std::size_t i = dims.size(); i > 0; --i) {
        if (data.positions[i - 1] + 1 < data.table->Dimension(dims[i - 1]).NLeaves()) {
          ++data.positions[i - 1];
          for (std::size_t j = i; j < dims.size(); ++j)
            data.positions[j] = 0;
          return true;
        }
      }
      data.state = Data::State::Done;
      return false;
    case Data::State::Done:
      break;
  }
  return false;
}

bool OmDisplayLayerHeading::LastLayer() {
  mData->positions = CurrentLeaves(*mData->table);
  mData->state = Data::State::Done;
  return true;
}
