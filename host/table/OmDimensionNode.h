// A node of a dimension's category tree: the dimension itself at the root,
// then its groups and categories. Each node owns its label cell. Also the
// names the display headings use for the tree, its handles and their lists.
#pragma once

#include <deque>
#include <memory>

#include "host/output/OmCellText.h"
#include "host/table/OmVectorTree.h"

class OmDimensionNode {
 public:
  // label may be null: the node then has no text; printing skips it.
  explicit OmDimensionNode(std::unique_ptr<OmCellText> label);
  OmDimensionNode(OmDimensionNode&&) noexcept;
  OmDimensionNode& operator=(OmDimensionNode&&) noexcept;
  ~OmDimensionNode();

  // The node's label cell, owned by the node; null when it has none.
  const OmCellText* Label() const { return mLabel.get(); }
  OmCellText* Label() { return mLabel.get(); }

 private:
  std::unique_ptr<OmCellText> mLabel;
};

using OmDimensionTree = OmVectorTree<OmDimensionNode>;
// A list of heading positions: null where a heading has no node.
using OmNodeColumn = std::deque<const OmDimensionTree::ConstNode*>;
