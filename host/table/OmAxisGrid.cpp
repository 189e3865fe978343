// Heading grids of one axis.
#include "host/table/OmAxisGrid.h"

#include <algorithm>
#include <new>

#include "host/table/OmDisplayLayerHeading.h"

namespace {

// The leaf positions of the layer the heading shows, one per dimension.
std::vector<std::int32_t> LayerIndex(const OmDisplayLayerHeading& layer) {
  std::vector<std::int32_t> index;
  layer.Fill(index);
  return index;
}

// Entries a grid may hold (combinations times heading positions, or leaves
// times a block's width) before it gives up with std::bad_alloc: 64 million.
// Past that a heading is far beyond anything that can be printed, and
// failing early beats being killed for lack of memory later.
constexpr std::uint64_t kMaxEntries = std::uint64_t{1} << 26;
// The combinations of an axis are marked in a bitmap when there are at most
// this many more than eight per cell of the layer; otherwise the
// combinations that hold cells are sorted. Either way a layer costs time in
// proportion to its own cells, however many layers the table has.
constexpr std::uint64_t kBitmapFloor = 4096;

void CheckEntries(std::uint64_t count) {
  if (count > kMaxEntries)
    throw std::bad_alloc();
}

// The product of sizes; false when it does not fit 63 bits.
bool Span(const std::vector<std::int32_t>& sizes, std::uint64_t& span) {
  span = 1;
  for (const std::int32_t size : sizes) {
    const auto s = static_cast<std::uint64_t>(size);
    if (s != 0 && span > (std::uint64_t{1} << 62) / s)
      return false;
    span *= s;
  }
  return true;
}

// Whether the layer holds a cell at every position of the row and column
// dimensions, so that every combination of either axis holds one.
bool IsFull(const OmPivotTable& table, const std::vector<std::int32_t>& layerIndex) {
  std::uint64_t positions = 1;
  for (const OmAxis axis : {OmAxis::Row, OmAxis::Column}) {
    for (const std::int32_t d : table.AxisDimensions(axis)) {
      const auto size = static_cast<std::uint64_t>(table.Dimension(d).NLeaves());
      if (size == 0 || positions > (std::uint64_t{1} << 62) / size)
        return false;
      positions *= size;
    }
  }
  return static_cast<std::uint64_t>(table.NCellsInLayer(layerIndex)) == positions;
}

}  // namespace

OmAxisGrid::OmAxisGrid(const OmPivotTable& table, OmAxis axis,
                       const std::vector<std::int32_t>& layerIndex, bool hideEmpty,
                       bool labelPositions)
    : mNDimensions(static_cast<std::size_t>(table.NDimensions())) {
  const std::vector<std::int32_t>& dims = table.AxisDimensions(axis);
  BuildBlocks(table, dims, labelPositions);

  std::vector<std::int32_t> sizes;
  for (const std::int32_t d : dims)
    sizes.push_back(table.Dimension(d).NLeaves());
  std::uint64_t span = 0;
  const bool fits = Span(sizes, span);
  if (!hideEmpty) {
    if (!fits || span > INT32_MAX)
      throw std::bad_alloc();
    AllCombinations(sizes, span);
  } else if (fits && span <= INT32_MAX && IsFull(table, layerIndex)) {
    // Nothing to hide, and no need to visit the cells to see so.
    AllCombinations(sizes, span);
  } else if (fits && span <= kBitmapFloor +
                                 8 * static_cast<std::uint64_t>(table.NCellsInLayer(layerIndex))) {
    MarkedCombinations(table, layerIndex, sizes, span);
  } else {
    SortedCombinations(table, layerIndex);
  }
  CheckEntries(static_cast<std::uint64_t>(mNCombinations) *
               static_cast<std::uint64_t>(mNPositions));
}

void OmAxisGrid::BuildBlocks(const OmPivotTable& table, const std::vector<std::int32_t>& dims,
                             bool labelPositions) {
  std::int64_t positions = 0;
  for (const std::int32_t d : dims) {
    const OmDimension& dimension = table.Dimension(d);
    const OmDimensionTree& tree = dimension.Tree();
    Block block;
    block.dimension = d;
    block.first = static_cast<std::int32_t>(positions);
    block.labelPosition = labelPositions && dimension.ShowLabel();
    block.width = (block.labelPosition ? 1 : 0) + dimension.Depth();
    const std::int32_t leaves = dimension.NLeaves();
    CheckEntries(static_cast<std::uint64_t>(leaves) * static_cast<std::uint64_t>(block.width));
    block.nodes.assign(static_cast<std::size_t>(leaves) * static_cast<std::size_t>(block.width),
                       nullptr);
    // Each leaf's path from the top-level category down, nulls below it.
    auto at = block.nodes.begin();
    for (std::int32_t leaf = 0; leaf < leaves; ++leaf) {
      const auto next = at + block.width;
      if (block.labelPosition)
        *at++ = tree.Handle(OmDimensionTree::Root());
      for (const OmDimensionTree::NodeId node : tree.Path(tree.Leaf(leaf))) {
        *at++ = tree.Handle(node);
      }
      at = next;
    }
    positions += block.width;
    if (positions > INT32_MAX)
      throw std::bad_alloc();
    mBlocks.push_back(std::move(block));
  }
  mNPositions = static_cast<std::int32_t>(positions);
  mBlockOf.reserve(static_cast<std::size_t>(mNPositions));
  for (std::size_t b = 0; b < mBlocks.size(); ++b) {
    mBlockOf.insert(mBlockOf.end(), static_cast<std::size_t>(mBlocks[b].width),
                    static_cast<std::int32_t>(b));
  }
}

// Every combination, for a heading that hides nothing.
void OmAxisGrid::AllCombinations(const std::vector<std::int32_t>& sizes, std::uint64_t span) {
  const std::size_t k = sizes.size();
  CheckEntries(span * k);
  mLeaves.assign(static_cast<std::size_t>(span) * k, 0);
  std::vector<std::int32_t> odometer(k, 0);
  for (std::uint64_t c = 0; c < span; ++c) {
    std::copy(odometer.begin(), odometer.end(),
              mLeaves.begin() + static_cast<std::ptrdiff_t>(c * k));
    for (std::size_t i = k; i > 0; --i) {
      if (++odometer[i - 1] < sizes[i - 1])
        break;
      odometer[i - 1] = 0;
    }
  }
  mNCombinations = static_cast<std::int32_t>(span);
}

// The combinations that hold a cell of the layer, found in one pass over
// the layer's cells that marks each cell's combination in a bitmap, which is
// then read in order.
void OmAxisGrid::MarkedCombinations(const OmPivotTable& table,
                                    const std::vector<std::int32_t>& layerIndex,
                                    const std::vector<std::int32_t>& sizes, std::uint64_t span) {
  const std::size_t k = sizes.size();
  // What the visit needs, in flat arrays: the table positions of the axis'
  // dimensions, their strides and the bitmap, a bit per combination.
  struct Marks {
    std::vector<std::int32_t> dims;
    std::vector<std::uint64_t> strides;
    std::vector<std::uint64_t> words;
  } marks;
  marks.strides.assign(k, 1);
  for (std::size_t i = k; i > 1; --i) {
    marks.strides[i - 2] = marks.strides[i - 1] * static_cast<std::uint64_t>(sizes[i - 1]);
  }
  for (const Block& block : mBlocks)
    marks.dims.push_back(block.dimension);
  marks.words.assign(static_cast<std::size_t>(span / 64 + 1), 0);
  table.ForEachIndexInLayer(
      layerIndex,
      [](void* context, const std::int32_t* index) {
        Marks& m = *static_cast<Marks*>(context);
        std::uint64_t key = 0;
        for (std::size_t i = 0; i < m.dims.size(); ++i)
          key += static_cast<std::uint64_t>(index[m.dims[i]]) * m.strides[i];
        m.words[static_cast<std::size_t>(key >> 6)] |= std::uint64_t{1} << (key & 63);
      },
      &marks);
  std::uint64_t count = 0;
  for (const std::uint64_t word : marks.words)
    count += static_cast<std::uint64_t>(__builtin_popcountll(word));
  if (count > INT32_MAX)
    throw std::bad_alloc();
  CheckEntries(count * k);
  mLeaves.reserve(static_cast<std::size_t>(count) * k);
  std::vector<std::int32_t> odometer(k, 0);
  for (std::uint64_t c = 0; c < span; ++c) {
    if ((marks.words[static_cast<std::size_t>(c >> 6)] >> (c & 63) & 1) != 0) {
      mLeaves.insert(mLeaves.end(), odometer.begin(), odometer.end());
    }
    for (std::size_t i = k; i > 0; --i) {
      if (++odometer[i - 1] < sizes[i - 1])
        break;
      odometer[i - 1] = 0;
    }
  }
  mNCombinations = static_cast<std::int32_t>(count);
}

// The combinations that hold a cell of the layer when there are far more
// combinations than cells: the cells' combinations are collected, sorted
// and made unique.
void OmAxisGrid::SortedCombinations(const OmPivotTable& table,
                                    const std::vector<std::int32_t>& layerIndex) {
  const std::size_t k = mBlocks.size();
  struct Found {
    std::vector<std::int32_t> dims;
    std::vector<std::int32_t> entries;
  } all;
  for (const Block& block : mBlocks)
    all.dims.push_back(block.dimension);
  table.ForEachIndexInLayer(
      layerIndex,
      [](void* context, const std::int32_t* index) {
        Found& f = *static_cast<Found*>(context);
        for (const std::int32_t d : f.dims)
          f.entries.push_back(index[d]);
      },
      &all);
  const std::vector<std::int32_t>& found = all.entries;
  const std::size_t n = k == 0 ? 0 : found.size() / k;
  std::vector<std::size_t> order(n);
  for (std::size_t i = 0; i < n; ++i)
    order[i] = i;
  const auto less = [&](std::size_t a, std::size_t b) {
    return std::lexicographical_compare(found.begin() + static_cast<std::ptrdiff_t>(a * k),
                                        found.begin() + static_cast<std::ptrdiff_t>(a * k + k),
                                        found.begin() + static_cast<std::ptrdiff_t>(b * k),
                                        found.begin() + static_cast<std::ptrdiff_t>(b * k + k));
  };
  std::sort(order.begin(), order.end(), less);
  std::uint64_t count = 0;
  for (std::size_t i = 0; i < n; ++i) {
    if (i > 0 && !less(order[i - 1], order[i]))
      continue;
    const auto from = found.begin() + static_cast<std::ptrdiff_t>(order[i] * k);
    mLeaves.insert(mLeaves.end(), from, from + static_cast<std::ptrdiff_t>(k));
    ++count;
  }
  if (count > INT32_MAX)
    throw std::bad_alloc();
  mNCombinations = static_cast<std::int32_t>(count);
}

OmNodeColumn OmAxisGrid::NodesOfCombination(std::int32_t combination) const {
  OmNodeColumn nodes;
  if (combination < 0 || combination >= mNCombinations)
    return nodes;
  for (std::int32_t p = 0; p < mNPositions; ++p)
    nodes.push_back(At(combination, p));
  return nodes;
}

OmNodeColumn OmAxisGrid::NodesAtPosition(std::int32_t position) const {
  OmNodeColumn nodes;
  if (position < 0 || position >= mNPositions)
    return nodes;
  for (std::int32_t c = 0; c < mNCombinations; ++c)
    nodes.push_back(At(c, position));
  return nodes;
}

void OmAxisGrid::Fill(std::vector<std::int32_t>& index, std::int32_t combination) const {
  if (combination < 0 || combination >= mNCombinations)
    return;
  if (index.size() < mNDimensions)
    index.resize(mNDimensions, 0);
  const std::size_t k = mBlocks.size();
  for (std::size_t i = 0; i < k; ++i) {
    index[static_cast<std::size_t>(mBlocks[i].dimension)] =
        mLeaves[static_cast<std::size_t>(combination) * k + i];
  }
}

std::int32_t OmAxisGrid::Find(const std::int32_t* index) const {
  // Every way of building the grid lists the combinations in ascending
  // order of their leaf positions, so a binary search finds one.
  const std::size_t k = mBlocks.size();
  auto compare = [&](std::int32_t combination) {
    const std::int32_t* leaves = mLeaves.data() + static_cast<std::size_t>(combination) * k;
    for (std::size_t i = 0; i < k; ++i) {
      const std::int32_t wanted = index[mBlocks[i].dimension];
      if (leaves[i] != wanted)
        return leaves[i] < wanted ? -1 : 1;
    }
    return 0;
  };
  std::int32_t low = 0;
  std::int32_t high = mNCombinations;
  while (low < high) {
    const std::int32_t middle = low + (high - low) / 2;
    if (compare(middle) < 0) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  return low < mNCombinations && compare(low) == 0 ? low : -1;
}

OmAxisGrid::OmAxisGrid(const OmDisplayLayerHeading& layer, OmAxis axis, bool hideEmpty,
                       bool labelPositions)
    : OmAxisGrid(layer.Table(), axis, LayerIndex(layer), hideEmpty, labelPositions) {}

OmKeptColumns::OmKeptColumns(std::int32_t count, bool atPosition)
    : mAtPosition(atPosition), mColumns(static_cast<std::size_t>(count)) {}

const OmNodeColumn& OmKeptColumns::Get(const OmAxisGrid& grid, std::int32_t i) const {
  static const OmNodeColumn kNone;
  if (i < 0 || static_cast<std::size_t>(i) >= mColumns.size())
    return kNone;
  std::unique_ptr<OmNodeColumn>& column = mColumns[static_cast<std::size_t>(i)];
  if (!column) {
    column = std::make_unique<OmNodeColumn>(mAtPosition ? grid.NodesAtPosition(i)
                                                        : grid.NodesOfCombination(i));
  }
  return *column;
}
