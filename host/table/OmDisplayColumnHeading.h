// The column heading of one layer of a pivot table: a grid of dimension
// nodes with one level (heading row) per heading position of the column
// dimensions (a shown dimension label, then one per category level) and one
// column per visible column combination. Built for the layer heading's
// current layer; refers to the table, which must outlive it, and to nothing
// else. Movable; a moved-from heading may only be destroyed or assigned to.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "host/table/OmDimensionNode.h"

class OmDisplayLayerHeading;

class OmDisplayColumnHeading {
 public:
  // With hideEmpty, a column combination whose cells in the layer are all
  // missing is left out. Throws std::bad_alloc when the heading would be
  // too large to hold.
  OmDisplayColumnHeading(OmDisplayLayerHeading& layer, bool hideEmpty);
  OmDisplayColumnHeading(OmDisplayColumnHeading&&) noexcept;
  OmDisplayColumnHeading& operator=(OmDisplayColumnHeading&&) noexcept;
  OmDisplayColumnHeading(const OmDisplayColumnHeading&) = delete;
  OmDisplayColumnHeading& operator=(const OmDisplayColumnHeading&) = delete;
  ~OmDisplayColumnHeading();

  // Levels: the column dimensions' blocks stacked, outermost first.
  std::int32_t NRows() const;
  // Visible column combinations. Without column dimensions there is one
  // implicit column (none when it is hidden); a column dimension without
  // leaves gives none.
  std::int32_t NColumns() const;

  // Table column j: one node per level, null below a shallow leaf. Made on
  // first request and kept, so the reference stays valid as long as the
  // heading. Empty for a j out of range.
  const OmNodeColumn& Column(std::int32_t j) const;
  // Level r across the table columns; empty for an r out of range.
  OmNodeColumn Row(std::int32_t r) const;

  // Extends index, when shorter, to one entry per table dimension (new
  // entries 0), then writes column j's leaf positions (nothing for a j out
  // of range).
  void Fill(std::vector<std::int32_t>& index, std::int32_t j) const;
  // The leaf positions of every column, for reading many of them: for column j,
  // entries j * k .. j * k + k - 1, k being the number of column dimensions, in
  // the order of the table's AxisDimensions(OmAxis::Column).
  const std::vector<std::int32_t>& LeafPositions() const;
  // The column whose leaf positions index holds (one entry per table
  // dimension), or -1 when no shown column has them.
  std::int32_t ColumnOf(const std::int32_t* index) const;

 private:
  struct Data;
  std::unique_ptr<Data> mData;
};
