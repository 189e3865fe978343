// The cells of a pivot table by index, kept for OmPivotTable. Cells are
// grouped by layer (the positions of the layer dimensions), so that the
// cells of one layer can be visited without looking at the others; within a
// layer they sit in a dense array of slots when the layer is filled densely
// enough and in an open-addressing hash table otherwise. The store keeps the
// cells' 32-bit references, 4 bytes a dense slot, and not the cells. Not
// thread-safe: lookups remember the last layer used.
#pragma once

#include <cstddef>
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
  // How the dimensions of a layer are laid out; shared by all layers.
  struct Shape;
  class Layer;

  // The reference of the cell at index, or 0. index holds one in-range
  // entry per dimension; the caller checks that.
  Ref Find(const std::int32_t* index) const;
  // Stores cell (not 0) at index (checked as for Find) and returns true;
  // returns false and stores nothing when the index holds a cell already.
  // Throws std::bad_alloc when memory runs out; the store is then unchanged.
  bool Insert(const std::int32_t* index, Ref cell);

  // Where a cell for an index goes, found by Locate for one Put. A caller
  // that must refuse a used index before making its cell looks the index
  // up once this way rather than with Find and then Insert.
  struct Place {
    // Whether the index holds a cell already.
    bool used = false;
    // The free slot to fill, when the index's layer has one ready.
    Ref* slot = nullptr;
    Layer* layer = nullptr;
  };
  // The place of index (checked as for Find); changes nothing.
  Place Locate(const std::int32_t* index);
  // Stores cell (not 0) at index, whose place Locate found free, with no
  // change to the store since. Throws std::bad_alloc when memory runs out;
  // the store is then unchanged.
  void Put(const Place& place, const std::int32_t* index, Ref cell);

  // The cells of one layer, found once for many lookups. Valid until the
  // next Insert or Put.
  class View {
   public:
    // The reference of the cell at index, or 0; index is checked as for
    // Find, and its layer entries are those of the view's layer.
    Ref Find(const std::int32_t* index) const {
      if (mDense == nullptr)
        return mLayer == nullptr ? 0 : FindInLayer(mLayer, index);
      std::uint64_t key = 0;
      for (std::size_t i = 0; i < mNDims; ++i)
        key += static_cast<std::uint64_t>(index[mDims[i]]) * mStrides[i];
      return mDense[key];
    }

   private:
    friend class OmCellStore;
    // Null when the layer has no cells.
    const Layer* mLayer = nullptr;
    // The layer's slots when it is an array, with what linearizes an index.
    const Ref* mDense = nullptr;
    const std::int32_t* mDims = nullptr;
    const std::uint64_t* mStrides = nullptr;
    std::size_t mNDims = 0;
  };
  // The layer whose positions layerIndex holds (one entry per dimension;
  // only the layer dimensions' entries are read).
  View LayerView(const std::int32_t* layerIndex) const;
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

 private:
  static Ref FindInLayer(const Layer* layer, const std::int32_t* index);
  std::string LayerKey(const std::int32_t* index) const;
  // The layer of index; null when it has no cells. Most lookups are in the
  // only layer or in the layer found last, which needs no hashing.
  Layer* FindLayer(const std::int32_t* index) const {
    if (mLayerDims.empty())
      return mSingle.get();
    return IsLastLayer(index) ? mLastLayer : FindOtherLayer(index);
  }
  Layer* FindOtherLayer(const std::int32_t* index) const;
  bool IsLastLayer(const std::int32_t* index) const {
    if (mLastLayer == nullptr)
      return false;
    for (std::size_t i = 0; i < mLayerDims.size(); ++i) {
      if (index[mLayerDims[i]] != mLastPositions[i])
        return false;
    }
    return true;
  }

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
