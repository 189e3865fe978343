// Category tree nodes.
#include "host/table/OmDimensionNode.h"

OmDimensionNode::OmDimensionNode(std::unique_ptr<OmCellText> label) : mLabel(std::move(label)) {}
OmDimensionNode::OmDimensionNode(OmDimensionNode&&) noexcept = default;
OmDimensionNode& OmDimensionNode::operator=(OmDimensionNode&&) noexcept = default;
OmDimensionNode::~OmDimensionNode() = default;
