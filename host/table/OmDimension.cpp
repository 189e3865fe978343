// Pivot-table dimensions.
#include "host/table/OmDimension.h"

#include <stdexcept>
#include <utility>

OmDimension::OmDimension(OmAxis axis, std::unique_ptr<OmCellText> label)
    : mAxis(axis), mTree(OmDimensionNode(std::move(label))) {}

OmDimension::~OmDimension() = default;

OmDimension::NodeId OmDimension::AddCategory(std::unique_ptr<OmCellText> label) {
  return AddCategory(OmDimensionTree::Root(), std::move(label));
}

OmDimension::NodeId OmDimension::AddCategory(std::string label) {
  return AddCategory(OmDimensionTree::Root(), std::make_unique<OmStringCell>(std::move(label)));
}

OmDimension::NodeId OmDimension::AddCategory(NodeId parent, std::string label) {
  return AddCategory(parent, std::make_unique<OmStringCell>(std::move(label)));
}

OmDimension::NodeId OmDimension::AddCategory(NodeId parent, std::unique_ptr<OmCellText> label) {
  if (mFrozen) {
    throw std::logic_error("categories cannot be added once the table holds cells");
  }
  return mTree.AddChild(parent, OmDimensionNode(std::move(label)));
}

void OmDimension::SetCurrentLeaf(std::int32_t leaf) {
  if (mAxis != OmAxis::Layer) {
    throw std::invalid_argument("only a layer dimension has a current leaf");
  }
  if (leaf < 0 || leaf >= NLeaves()) {
    throw std::out_of_range("current leaf " + std::to_string(leaf) + " is not a leaf position");
  }
  mCurrentLeaf = leaf;
}
