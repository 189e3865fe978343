// The layers of a pivot table and the one that is current: the
// combinations of one leaf of each layer dimension, the first layer
// dimension varying slowest. Row and column headings are built for the
// current layer. The heading refers to its table, which must outlive it.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "host/table/OmDimensionNode.h"

class OmPivotTable;

class OmDisplayLayerHeading {
 public:
  // Stands on the current leaves of the layer dimensions. hideEmpty is kept
  // for the headings of the layer; layers themselves are never hidden.
  OmDisplayLayerHeading(OmPivotTable& table, bool hideEmpty);
  OmDisplayLayerHeading(OmDisplayLayerHeading&&) noexcept;
  OmDisplayLayerHeading& operator=(OmDisplayLayerHeading&&) noexcept;
  OmDisplayLayerHeading(const OmDisplayLayerHeading&) = delete;
  OmDisplayLayerHeading& operator=(const OmDisplayLayerHeading&) = delete;
  ~OmDisplayLayerHeading();

  OmPivotTable& Table() const;
  bool HideEmpty() const;

  // The number of layer dimensions.
  std::int32_t NDimensions() const;
  // For layer dimension i: its root when its label is shown, then the path
  // from the top-level category down to the current leaf (none when the
  // dimension has no leaves). Empty for an i that is not a layer dimension.
  OmNodeColumn Nodes(std::int32_t i) const;
  // Extends index, when shorter, to one entry per table dimension (new
  // entries 0), then writes the current layer's leaf positions.
  void Fill(std::vector<std::int32_t>& index) const;

  // The first call moves to the first layer, each later one to the next;
  // returns false when there is none (a layer dimension without leaves
  // gives no layer; a table without layer dimensions has exactly one). Once
  // it has returned false, or after LastLayer(), it returns false and the
  // heading stays where it is.
  bool NextLayer();
  // Moves to the combination of the dimensions' current leaves and returns
  // true.
  bool LastLayer();

 private:
  struct Data;
  std::unique_ptr<Data> mData;
};
