// Pivot-table cell storage.
#include "host/table/OmCellStore.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

// The dimensions inside one layer (every dimension that is not a layer
// dimension), with their sizes and the strides of the linearized index, in
// which the last dimension varies fastest. When the product of the sizes
// does not fit 64 bits, cells are keyed by the bytes of their positions.
struct OmCellStore::Shape {
  std::vector<std::int32_t> dims;
  std::vector<std::int32_t> sizes;
  std::vector<std::uint64_t> strides;
  bool linear = true;
  std::uint64_t span = 1;
  // Layers start as arrays when this many cells are expected in each.
  std::uint64_t expected = 0;
};

namespace {

constexpr std::uint64_t kEmptyKey = std::numeric_limits<std::uint64_t>::max();
// Layers with at most this many slots are dense from their first cell; no
// larger than an empty hash table, so that a table of many thin layers
// costs memory in proportion to its cells.
constexpr std::uint64_t kSmallSpan = 32;

// A hint alone makes at most this many slots (128 MB) at once: it is only
// a caller's word, and a wrong one must not allocate a huge array. A larger
// layer that really fills up becomes an array as its cells arrive.
constexpr std::uint64_t kHintedSpan = std::uint64_t{1} << 24;

// A layer filled to a quarter of its slots costs no more as an array.
bool IsDenseEnough(std::uint64_t cells, std::uint64_t span) {
  return cells >= span / 4 + (span % 4 != 0);
}

struct Slot {
  std::uint64_t key;
  OmCellStore::Ref cell;
};

}  // namespace

// The cells of one layer.
class OmCellStore::Layer {
 public:
  explicit Layer(const Shape& shape) : mShape(shape) {
    if (shape.linear && (shape.span <= kSmallSpan || (shape.span <= kHintedSpan &&
                                                      IsDenseEnough(shape.expected, shape.span)))) {
      mDense.assign(static_cast<std::size_t>(shape.span), 0);
      mMode = Mode::Dense;
    } else if (!shape.linear) {
      mMode = Mode::Wide;
    }
  }

  // Kept out of line so that the callers' array path stays lean.
  [[gnu::noinline]] Ref Find(const std::int32_t* index) const {
    switch (mMode) {
      case Mode::Dense:
        return mDense[static_cast<std::size_t>(Key(index))];
      case Mode::Sparse: {
        const Slot& slot = mSparse[Probe(Key(index))];
        return slot.key == kEmptyKey ? 0 : slot.cell;
      }
      case Mode::Wide: {
        const auto it = mWide.find(WideKey(index));
        return it == mWide.end() ? 0 : it->second;
      }
    }
    return 0;
  }

  bool Insert(const std::int32_t* index, Ref cell) {
    switch (mMode) {
      case Mode::Dense: {
        Ref& slot = mDense[static_cast<std::size_t>(Key(index))];
        if (slot != 0)
          return false;
        slot = cell;
        ++mCount;
        return true;
      }
      case Mode::Sparse: {
        const std::uint64_t key = Key(index);
        if (mSparse[Probe(key)].key != kEmptyKey)
          return false;
        if (IsDenseEnough(mCount + 1, mShape.span)) {
          MakeDense();
          return Insert(index, cell);
        }
        if ((mCount + 1) * 2 > mSparse.size())
          Rehash(mSparse.size() * 2);
        mSparse[Probe(key)] = Slot{key, cell};
        ++mCount;
        return true;
      }
      case Mode::Wide:
        if (!mWide.emplace(WideKey(index), cell).second)
          return false;
        ++mCount;
        return true;
    }
    return false;
  }

  // Where a cell for index goes: used when it holds one, and the slot when
  // the layer is an array.
  void Locate(const std::int32_t* index, Place& place) {
    if (mMode == Mode::Dense) {
      place.slot = &mDense[static_cast<std::size_t>(Key(index))];
      place.used = *place.slot != 0;
    } else {
      place.used = Find(index) != 0;
    }
  }
  // Counts a cell written straight into a slot that Locate gave.
  void CountFilledSlot() { ++mCount; }
  // The slots when the layer is an array, else null.
  const Ref* DenseSlots() const { return mMode == Mode::Dense ? mDense.data() : nullptr; }

  std::size_t Count() const { return mCount; }

  // Visits every cell; index is the full index whose layer entries the
  // caller has set, and whose other entries are written here.
  void ForEach(std::int32_t* index, Visit visit, const void* context) const {
    const std::vector<std::int32_t>& dims = mShape.dims;
    const std::size_t n = dims.size();
    switch (mMode) {
      case Mode::Dense: {
        for (std::size_t i = 0; i < n; ++i)
          index[dims[i]] = 0;
        if (n == 0) {
          if (mDense[0] != 0)
            visit(context, index, mDense[0]);
          break;
        }
        // Walk the slots in order a run of the last dimension at a time,
        // counting the other positions like an odometer between runs. A
        // dimension without leaves has one slot, like one of a leaf.
        const std::int32_t last = dims[n - 1];
        const std::int32_t run = std::max(mShape.sizes[n - 1], 1);
        const Ref* slot = mDense.data();
        const Ref* end = slot + mDense.size();
        while (slot != end) {
          for (std::int32_t p = 0; p < run; ++p, ++slot) {
            if (*slot != 0) {
              index[last] = p;
              visit(context, index, *slot);
            }
          }
          for (std::size_t i = n - 1; i > 0; --i) {
            if (++index[dims[i - 1]] < mShape.sizes[i - 1])
              break;
            index[dims[i - 1]] = 0;
          }
        }
        break;
      }
      case Mode::Sparse:
        for (const Slot& slot : mSparse) {
          if (slot.key == kEmptyKey)
            continue;
          std::uint64_t key = slot.key;
          for (std::size_t i = n; i > 0; --i) {
            const auto size = static_cast<std::uint64_t>(mShape.sizes[i - 1]);
            index[dims[i - 1]] = static_cast<std::int32_t>(key % size);
            key /= size;
          }
          visit(context, index, slot.cell);
        }
        break;
      case Mode::Wide:
        for (const auto& [key, cell] : mWide) {
          for (std::size_t i = 0; i < n; ++i) {
            std::memcpy(&index[dims[i]], key.data() + i * sizeof(std::int32_t),
                        sizeof(std::int32_t));
          }
          visit(context, index, cell);
        }
        break;
    }
  }

 private:
  enum class Mode { Dense, Sparse, Wide };

  std::uint64_t Key(const std::int32_t* index) const {
    std::uint64_t key = 0;
    for (std::size_t i = 0; i < mShape.dims.size(); ++i) {
      key += static_cast<std::uint64_t>(index[mShape.dims[i]]) * mShape.strides[i];
    }
    return key;
  }

  std::string WideKey(const std::int32_t* index) const {
    std::string key(mShape.dims.size() * sizeof(std::int32_t), '\0');
    for (std::size_t i = 0; i < mShape.dims.size(); ++i) {
      std::memcpy(key.data() + i * sizeof(std::int32_t), &index[mShape.dims[i]],
                  sizeof(std::int32_t));
    }
    return key;
  }

  // The slot that holds key, or the empty slot where it would go.
  std::size_t Probe(std::uint64_t key) const {
    const std::size_t mask = mSparse.size() - 1;
    std::size_t at = static_cast<std::size_t>((key * 0x9E3779B97F4A7C15ULL) >> mShift) & mask;
    while (mSparse[at].key != kEmptyKey && mSparse[at].key != key)
      at = (at + 1) & mask;
    return at;
  }

  void Rehash(std::size_t capacity) {
    std::vector<Slot> old(capacity, Slot{kEmptyKey, 0});
    old.swap(mSparse);
    int bits = 0;
    while ((std::size_t{1} << bits) < capacity)
      ++bits;
    mShift = 64 - bits;
    for (const Slot& slot : old) {
      if (slot.key != kEmptyKey)
        mSparse[Probe(slot.key)] = slot;
    }
  }

  void MakeDense() {
    std::vector<Ref> dense(static_cast<std::size_t>(mShape.span), 0);
    for (const Slot& slot : mSparse) {
      if (slot.key != kEmptyKey)
        dense[static_cast<std::size_t>(slot.key)] = slot.cell;
    }
    mDense.swap(dense);
    std::vector<Slot>().swap(mSparse);
    mMode = Mode::Dense;
  }

  const Shape& mShape;
  Mode mMode = Mode::Sparse;
  std::size_t mCount = 0;
  std::vector<Ref> mDense;
  std::vector<Slot> mSparse = std::vector<Slot>(16, Slot{kEmptyKey, 0});
  int mShift = 60;
  std::unordered_map<std::string, Ref> mWide;
};

OmCellStore::OmCellStore(const std::vector<std::int32_t>& sizes, const std::vector<bool>& layer)
    : mShape(std::make_unique<Shape>()), mNDimensions(static_cast<std::int32_t>(sizes.size())) {
  for (std::int32_t d = 0; d < mNDimensions; ++d) {
    const auto i = static_cast<std::size_t>(d);
    if (layer[i]) {
      mLayerDims.push_back(d);
    } else {
      mShape->dims.push_back(d);
      mShape->sizes.push_back(sizes[i]);
    }
  }
  // Strides from the last dimension backwards; the span must stay below the
  // empty-slot key, so a product that reaches it counts as overflow.
  const std::size_t n = mShape->dims.size();
  mShape->strides.assign(n, 0);
  std::uint64_t span = 1;
  for (std::size_t i = n; i > 0; --i) {
    mShape->strides[i - 1] = span;
    const auto size =
        static_cast<std::uint64_t>(mShape->sizes[i - 1] > 0 ? mShape->sizes[i - 1] : 1);
    if (span > (kEmptyKey - 1) / size) {
      mShape->linear = false;
      break;
    }
    span *= size;
  }
  mShape->span = span;
  for (const std::int32_t d : mLayerDims) {
    const auto size = static_cast<std::uint64_t>(std::max(sizes[static_cast<std::size_t>(d)], 1));
    mLayerCount = mLayerCount > std::numeric_limits<std::uint64_t>::max() / size
                      ? std::numeric_limits<std::uint64_t>::max()
                      : mLayerCount * size;
  }
}

void OmCellStore::Expect(std::int64_t cells) {
  mShape->expected = cells > 0 ? static_cast<std::uint64_t>(cells) / mLayerCount : 0;
}

OmCellStore::~OmCellStore() = default;

std::string OmCellStore::LayerKey(const std::int32_t* index) const {
  std::string key(mLayerDims.size() * sizeof(std::int32_t), '\0');
  for (std::size_t i = 0; i < mLayerDims.size(); ++i) {
    std::memcpy(key.data() + i * sizeof(std::int32_t), &index[mLayerDims[i]], sizeof(std::int32_t));
  }
  return key;
}

OmCellStore::Layer* OmCellStore::FindOtherLayer(const std::int32_t* index) const {
  const std::string key = LayerKey(index);
  const auto it = mLayers.find(key);
  if (it == mLayers.end())
    return nullptr;
  mLastPositions.resize(mLayerDims.size());
  for (std::size_t i = 0; i < mLayerDims.size(); ++i)
    mLastPositions[i] = index[mLayerDims[i]];
  mLastLayer = it->second.get();
  return mLastLayer;
}

OmCellStore::Ref OmCellStore::FindInLayer(const Layer* layer, const std::int32_t* index) {
  return layer->Find(index);
}

OmCellStore::Ref OmCellStore::Find(const std::int32_t* index) const {
  const Layer* layer = FindLayer(index);
  return layer == nullptr ? 0 : layer->Find(index);
}

bool OmCellStore::Insert(const std::int32_t* index, Ref cell) {
  if (mLayerDims.empty() && !mSingle)
    mSingle = std::make_unique<Layer>(*mShape);
  Layer* layer = FindLayer(index);
  if (layer == nullptr) {
    auto made = std::make_unique<Layer>(*mShape);
    layer = made.get();
    mLayers.emplace(LayerKey(index), std::move(made));
  }
  if (!layer->Insert(index, cell))
    return false;
  ++mCount;
  return true;
}

OmCellStore::Place OmCellStore::Locate(const std::int32_t* index) {
  Place place;
  place.layer = FindLayer(index);
  if (place.layer != nullptr)
    place.layer->Locate(index, place);
  return place;
}

void OmCellStore::Put(const Place& place, const std::int32_t* index, Ref cell) {
  if (place.slot == nullptr) {
    Insert(index, cell);
    return;
  }
  *place.slot = cell;
  place.layer->CountFilledSlot();
  ++mCount;
}

OmCellStore::View OmCellStore::LayerView(const std::int32_t* layerIndex) const {
  View view;
  view.mLayer = FindLayer(layerIndex);
  if (view.mLayer != nullptr) {
    view.mDense = view.mLayer->DenseSlots();
    view.mDims = mShape->dims.data();
    view.mStrides = mShape->strides.data();
    view.mNDims = mShape->dims.size();
  }
  return view;
}

std::int64_t OmCellStore::CountInLayer(const std::int32_t* layerIndex) const {
  const Layer* layer = FindLayer(layerIndex);
  return layer == nullptr ? 0 : static_cast<std::int64_t>(layer->Count());
}

void OmCellStore::ForEach(const std::int32_t* layerIndex, Visit visit, const void* context) const {
  std::vector<std::int32_t> index(static_cast<std::size_t>(mNDimensions), 0);
  if (layerIndex == nullptr) {
    if (mSingle)
      mSingle->ForEach(index.data(), visit, context);
    for (const auto& [key, layer] : mLayers) {
      for (std::size_t i = 0; i < mLayerDims.size(); ++i) {
        std::memcpy(&index[static_cast<std::size_t>(mLayerDims[i])],
                    key.data() + i * sizeof(std::int32_t), sizeof(std::int32_t));
      }
      layer->ForEach(index.data(), visit, context);
    }
    return;
  }
  const Layer* layer = FindLayer(layerIndex);
  if (layer == nullptr)
    return;
  for (const std::int32_t d : mLayerDims) {
    index[static_cast<std::size_t>(d)] = layerIndex[d];
  }
  layer->ForEach(index.data(), visit, context);
}
