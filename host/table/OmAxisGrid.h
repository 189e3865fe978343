// The heading grid of one axis of a pivot table for one layer: the visible
// combinations of the axis' leaves in nested order (the first dimension of
// the axis varying slowest) and the dimension node at every heading
// position of every combination. The row and column headings are views
// over it. It points into the table, which must outlive it.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "host/table/OmDimensionNode.h"
#include "host/table/OmPivotTable.h"

class OmDisplayLayerHeading;

class OmAxisGrid {
 public:
  using ConstNode = OmDimensionTree::ConstNode;

  // The heading positions of one dimension of the axis: its label's (when
  // the label takes a position), then one per category level.
  struct Block {
    std::int32_t dimension = 0;  // position in table order
    std::int32_t first = 0;      // first heading position of the block
    std::int32_t width = 0;      // number of heading positions
    bool labelPosition = false;  // whether the first position holds the root
    // For leaf l, entries l * width .. l * width + width - 1: the nodes at
    // the block's positions.
    std::vector<const ConstNode*> nodes;
  };

  // The grid of axis for the layer whose positions layerIndex holds (one
  // entry per table dimension). With hideEmpty, combinations without a cell
  // in the layer, whatever the other axes' positions, are left out. With
  // labelPositions, a shown dimension label takes a heading position.
  // Throws std::bad_alloc when the grid would be too large to hold.
  OmAxisGrid(const OmPivotTable& table, OmAxis axis, const std::vector<std::int32_t>& layerIndex,
             bool hideEmpty, bool labelPositions);
  // The same for the layer that layer currently shows.
  OmAxisGrid(const OmDisplayLayerHeading& layer, OmAxis axis, bool hideEmpty, bool labelPositions);

  std::int32_t NCombinations() const { return mNCombinations; }
  std::int32_t NPositions() const { return mNPositions; }
  const std::vector<Block>& Blocks() const { return mBlocks; }

  // The node at a heading position of a combination; null below a shallow
  // leaf. Both arguments must be in range.
  const ConstNode* At(std::int32_t combination, std::int32_t position) const {
    const auto b = static_cast<std::size_t>(mBlockOf[static_cast<std::size_t>(position)]);
    const Block& block = mBlocks[b];
    const std::int32_t leaf = mLeaves[static_cast<std::size_t>(combination) * mBlocks.size() + b];
    return block.nodes[static_cast<std::size_t>(leaf) * static_cast<std::size_t>(block.width) +
                       static_cast<std::size_t>(position - block.first)];
  }

  // The nodes of one combination at every heading position, and the nodes at
  // one heading position across every combination; empty when out of range.
  OmNodeColumn NodesOfCombination(std::int32_t combination) const;
  OmNodeColumn NodesAtPosition(std::int32_t position) const;

  // Writes the combination's leaf positions into index, first growing it to
  // one entry per table dimension; a combination out of range writes nothing.
  void Fill(std::vector<std::int32_t>& index, std::int32_t combination) const;
  // The leaf positions of every combination: for combination c, entries
  // c * k .. c * k + k - 1, k being the number of the axis' dimensions, in
  // the order of the table's AxisDimensions.
  const std::vector<std::int32_t>& Leaves() const { return mLeaves; }
  // The combination whose leaf positions index holds (one entry per table
  // dimension), or -1 when the grid does not show it.
  std::int32_t Find(const std::int32_t* index) const;

 private:
  void BuildBlocks(const OmPivotTable& table, const std::vector<std::int32_t>& dims,
                   bool labelPositions);
  void AllCombinations(const std::vector<std::int32_t>& sizes, std::uint64_t span);
  void MarkedCombinations(const OmPivotTable& table, const std::vector<std::int32_t>& layerIndex,
                          const std::vector<std::int32_t>& sizes, std::uint64_t span);
  void SortedCombinations(const OmPivotTable& table, const std::vector<std::int32_t>& layerIndex);

  std::vector<Block> mBlocks;
  // For each heading position, its block.
  std::vector<std::int32_t> mBlockOf;
  std::int32_t mNPositions = 0;
  std::int32_t mNCombinations = 0;
  std::size_t mNDimensions = 0;
  // For combination c, entries c * blocks .. c * blocks + blocks - 1: the
  // leaf position of each dimension of the axis.
  std::vector<std::int32_t> mLeaves;
};

// The node columns of a heading over a grid, each made on first request and
// then kept, since the exporter asks for the same column many times.
class OmKeptColumns {
 public:
  // count: how many columns there are. atPosition: a column holds the nodes
  // at one heading position (a row heading's), not those of one combination
  // (a column heading's).
  OmKeptColumns(std::int32_t count, bool atPosition);

  // Column i of grid; an empty column when i is out of range.
  const OmNodeColumn& Get(const OmAxisGrid& grid, std::int32_t i) const;

 private:
  bool mAtPosition;
  mutable std::vector<std::unique_ptr<OmNodeColumn>> mColumns;
};
