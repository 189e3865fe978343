// The output tree: output parts in tree order with their levels. The tree
// owns its parts and deletes them when it is destroyed.
#pragma once

#include <cstdint>
#include <memory>

#include "host/output/ListTree.h"
#include "host/output/OmOutputPart.h"

class OmCellText;

class OmOutputTree : public ListTree<OmOutputPart*> {
 public:
  OmOutputTree() = default;
  OmOutputTree(OmOutputTree&& other) noexcept;
  OmOutputTree& operator=(OmOutputTree&& other) noexcept;
  ~OmOutputTree() override;

  // Appends a part at the end of the tree at the given level and takes it
  // over. The level must be at least 1 and at most one more than the level of
  // the last node (1 for the first node); otherwise throws
  // std::invalid_argument and the part is destroyed.
  Node Append(std::unique_ptr<OmOutputPart> part, std::int32_t level);

  // Moves every node of other to the end of this tree, adding shift to each
  // level. other's first node must be at a level that Append would accept
  // once shifted; otherwise throws std::invalid_argument and nothing moves.
  void AppendTree(OmOutputTree&& other, std::int32_t shift);

  // Removes the first node and its descendants and returns them as a tree of
  // their own, keeping their levels. An empty tree gives an empty tree.
  OmOutputTree ExtractFirst();

 private:
  void DeleteParts();

  // Level of the last node, 0 for an empty tree: Append checks against it.
  std::int32_t mLastLevel = 0;
};

// Replaces the part at node by a new, selected OmTextBlock whose only line is
// the cell's display text, keeps the node's level and the descendants, and
// returns the position of the replacement (the same list node). The old part
// is destroyed. The tree must be an OmOutputTree (it owns its parts). The
// character set name is recorded in the block and not used.
ListTree<OmOutputPart*>::Node Amputate(ListTree<OmOutputPart*>::Node node, OmCellText* cell,
                                       const char* charset);
