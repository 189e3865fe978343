// The cells of a pivot table by index, kept for OmPivotTable. Cells are
// grouped by layer (the positions of the layer dimensions), so that the
// cells of one layer can be visited without looking at the others; within a
// layer they sit in a dense array of slots when the layer is filled densely
// enough and in an open-addressing hash table otherwise. The store keeps the
// cells' 32-bit references, 4 bytes a dense slot, and not the cells. Not
// thread-safe: lookups remember the last layer used.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

class OmCellStore {
 public:
  // sizes: the number of leaves of each dimension, in table order; layer:
  // for each dimension whether it is on the layer axis.
  OmCellStore(const std::vector<std::int32_t>& sizes, const std::vector<bool>& layer);
  OmCellStore(const OmCellStore&) = delete;
  OmCellStore& operator=(const OmCellStore&) = delete;
  ~OmCellStore();

  // Names a cell; 0 names none.
  using Ref = std::uint32_t;

  // The reference of the cell at index, or 0. index holds one in-range
  // entry per dimension; the caller checks that.
  Ref Find(const std::int32_t* index) const;
  // Stores cell (not 0) at index (checked as for Find) and returns true;
  // returns false and stores nothing when the index holds a cell already.
  // Throws std::bad_alloc when memory runs out; the store is then unchanged.
  bool Insert(const std::int32_t* index, Ref cell);
  // Says that about cells cells are coming, spread evenly over the layers:
  // layers made from now on that this would fill densely enough start as
  // arrays.
  void Expect(std::int64_t cells);
  // The number of cells stored.
  std::int64_t Count() const { return mCount; }
  // The number of cells in the layer whose positions layerIndex holds (one
  // entry per dimension; only the layer dimensions' entries are read).
  std::int64_t CountInLayer(const std::int32_t* layerIndex) const;

  // Calls visit(context, index, cell) for every cell whose layer positions
  // are those of layerIndex (one entry per dimension; only the layer
  // dimensions' entries are read), or for every cell when layerIndex is
  // null. index is a full index, valid during the call only. Cells are
  // visited in no particular order.
  using Visit = void (*)(const void* context, const std::int32_t* index, Ref cell);
  void ForEach(const std::int32_t* layerIndex, Visit visit, const void* context) const;

  // How the dimensions of a layer are laid out; shared by all layers.
  struct Shape;
  class Layer;

 private:
  std::string LayerKey(const std::int32_t* index) const;
  // The layer of index; null when it has no cells.
  Layer* FindLayer(const std::int32_t* index) const;
  bool IsLastLayer(const std::int32_t* index) const;

  std::unique_ptr<Shape> mShape;
  std::vector<std::int32_t> mLayerDims;
  std::int32_t mNDimensions = 0;
  std::int64_t mCount = 0;
  // The number of layers the table's layer dimensions make, saturating.
  std::uint64_t mLayerCount = 1;
  // Without layer dimensions every cell is in mSingle; otherwise the layers
  // are found by the bytes of their positions.
  std::unique_ptr<Layer> mSingle;
  std::unordered_map<std::string, std::unique_ptr<Layer>> mLayers;
  // The layer found last and its positions: an exporter asks for the cells
  // of one layer after another.
  mutable std::vector<std::int32_t> mLastPositions;
  mutable Layer* mLastLayer = nullptr;
};
