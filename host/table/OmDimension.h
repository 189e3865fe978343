// One dimension of a pivot table: its axis, its label and whether the label
// is shown, its category tree and, on the layer axis, its current leaf.
// Dimensions are made and owned by their OmPivotTable (AddDimension); their
// addresses stay fixed for the life of the table.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "host/table/OmDimensionNode.h"

class OmCellText;

enum class OmAxis { Row, Column, Layer };

class OmDimension {
 public:
  using NodeId = OmDimensionTree::NodeId;

  // Made by OmPivotTable::AddDimension; label may be null.
  OmDimension(OmAxis axis, std::unique_ptr<OmCellText> label);
  OmDimension(const OmDimension&) = delete;
  OmDimension& operator=(const OmDimension&) = delete;
  ~OmDimension();

  OmAxis Axis() const { return mAxis; }
  // The dimension's label: the label of its tree's root; may be null.
  const OmCellText* Label() const { return mTree.Value(OmDimensionTree::Root()).Label(); }
  OmCellText* Label() { return mTree.Value(OmDimensionTree::Root()).Label(); }
  // Whether the label is shown (default true).
  bool ShowLabel() const { return mShowLabel; }
  void SetShowLabel(bool show) { mShowLabel = show; }

  // Adds a category as the last child of parent (the root, the default, for
  // a top-level category) and returns its node number, which later calls
  // take as parent. A category that gets children becomes a group; the
  // others are the leaves. Throws std::out_of_range for a parent that is
  // not a node of this dimension and std::logic_error once the table holds
  // a cell (leaf positions are then fixed); the label is dropped then.
  NodeId AddCategory(std::unique_ptr<OmCellText> label);
  NodeId AddCategory(std::string label);
  NodeId AddCategory(NodeId parent, std::unique_ptr<OmCellText> label);
  NodeId AddCategory(NodeId parent, std::string label);

  const OmDimensionTree& Tree() const { return mTree; }
  // The number of leaves, which is the range of this dimension's index entry.
  std::int32_t NLeaves() const { return mTree.NLeaves(); }
  // The largest depth of a leaf (a top-level category has depth 1); 0
  // without leaves.
  std::int32_t Depth() const { return mTree.MaxDepth(); }

  // The current leaf of a layer dimension (default 0), which the layer
  // heading's LastLayer() selects. SetCurrentLeaf throws
  // std::invalid_argument on a dimension that is not on the layer axis and
  // std::out_of_range for a position that is not a leaf.
  std::int32_t CurrentLeaf() const { return mCurrentLeaf; }
  void SetCurrentLeaf(std::int32_t leaf);

 private:
  friend class OmPivotTable;

  OmAxis mAxis;
  bool mShowLabel = true;
  // Set by the table when it stores its first cell.
  bool mFrozen = false;
  std::int32_t mCurrentLeaf = 0;
  OmDimensionTree mTree;
};
