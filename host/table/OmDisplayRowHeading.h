// The row heading of one layer of a pivot table: a grid of dimension nodes
// with one row per visible row combination and one column per heading
// position of the row dimensions (a dimension's label, when it is shown and
// not placed in the corner, then one position per category level). Built
// for the layer heading's current layer; refers to the table, which must
// outlive it, and to nothing else. Movable; a moved-from heading may only
// be destroyed or assigned to.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "host/table/OmDimensionNode.h"

class OmCellText;
class OmDisplayLayerHeading;

class OmDisplayRowHeading {
 public:
  // With hideEmpty, a row combination whose cells in the layer are all
  // missing is left out. With labelsInCorner, the shown row dimension labels
  // go to CornerText() instead of taking heading columns. Throws
  // std::bad_alloc when the heading would be too large to hold.
  OmDisplayRowHeading(OmDisplayLayerHeading& layer, bool hideEmpty, bool labelsInCorner);
  OmDisplayRowHeading(OmDisplayRowHeading&&) noexcept;
  OmDisplayRowHeading& operator=(OmDisplayRowHeading&&) noexcept;
  OmDisplayRowHeading(const OmDisplayRowHeading&) = delete;
  OmDisplayRowHeading& operator=(const OmDisplayRowHeading&) = delete;
  ~OmDisplayRowHeading();

  // Heading columns: the row dimensions' blocks side by side.
  std::int32_t NColumns() const;
  // Visible row combinations. Without row dimensions there is one
  // implicit row (none when it is hidden); a row dimension without leaves
  // gives none.
  std::int32_t NRows() const;

  // Heading column i: one node per row, null below a shallow leaf. Made on
  // first request and kept, so the reference stays valid as long as the
  // heading and repeated calls are cheap. Empty for an i out of range.
  const OmNodeColumn& Column(std::int32_t i) const;
  // Row r across the heading columns; empty for an r out of range.
  OmNodeColumn Row(std::int32_t r) const;
  // The node of row r in heading column i, as Column(i) holds it, read
  // without making the column; null when either is out of range.
  const OmDimensionTree::ConstNode* At(std::int32_t r, std::int32_t i) const;
  // One entry per heading column: with labelsInCorner, the label of each
  // row dimension whose label is shown at that dimension's first column;
  // null everywhere else.
  const std::vector<const OmCellText*>& CornerText() const;

  // Extends index, when shorter, to one entry per table dimension (new
  // entries 0), then writes row r's leaf positions (nothing for an r out of
  // range).
  void Fill(std::vector<std::int32_t>& index, std::int32_t r) const;
  // The leaf positions of every row, for reading many of them: for row r,
  // entries r * k .. r * k + k - 1, k being the number of row dimensions, in
  // the order of the table's AxisDimensions(OmAxis::Row).
  const std::vector<std::int32_t>& LeafPositions() const;
  // The row whose leaf positions index holds (one entry per table
  // dimension), or -1 when no shown row has them.
  std::int32_t RowOf(const std::int32_t* index) const;

 private:
  struct Data;
  std::unique_ptr<Data> mData;
};
