// Pivot tables.
#include "host/table/OmPivotTable.h"

#include <stdexcept>
#include <utility>

#include "host/output/OmText.h"
#include "host/table/OmCellArena.h"
#include "host/table/OmCellStore.h"

struct OmPivotTable::Data {
  std::unique_ptr<OmCellText> title = std::make_unique<OmStringCell>("");
  std::unique_ptr<OmText> caption;
  std::vector<std::string> footnotes;
  bool notes = false;
  std::vector<std::unique_ptr<OmDimension>> dimensions;
  // Table positions of the dimensions of each axis, indexed by OmAxis.
  std::vector<std::int32_t> axes[3];
  // Leaf counts, fixed when the first cell is stored.
  std::vector<std::int32_t> sizes;
  // All cells; the store keeps their references.
  OmCellArena cells;
  std::unique_ptr<OmCellStore> store;
  std::int64_t expected = 0;
};

namespace {

std::string Describe(OmPivotTable::IndexStatus status) {
  switch (status) {
    case OmPivotTable::IndexStatus::Valid:
      return "valid";
    case OmPivotTable::IndexStatus::WrongLength:
      return "the index does not have one entry per dimension";
    case OmPivotTable::IndexStatus::OutOfRange:
      return "an index entry is not a leaf position of its dimension";
    case OmPivotTable::IndexStatus::Used:
      return "a cell is stored at this index already";
  }
  return "invalid index";
}

// Whether each of the n entries is below its size; a negative entry, read
// unsigned, is not.
bool InRange(const std::int32_t* entries, const std::int32_t* sizes, std::size_t n) {
  for (std::size_t i = 0; i < n; ++i) {
    if (static_cast<std::uint32_t>(entries[i]) >= static_cast<std::uint32_t>(sizes[i]))
      return false;
  }
  return true;
}

void Require(OmPivotTable::IndexStatus status) {
  if (status != OmPivotTable::IndexStatus::Valid)
    throw std::invalid_argument(Describe(status));
}

}  // namespace

OmPivotTable::OmPivotTable() : mData(std::make_unique<Data>()) {}
OmPivotTable::~OmPivotTable() = default;

void OmPivotTable::Accept(Visitor& visitor) {
  visitor.Visit(*this);
}

const OmCellText& OmPivotTable::Title() const {
  return *mData->title;
}

OmCellText& OmPivotTable::SetTitle(std::unique_ptr<OmCellText> title) {
  mData->title = title ? std::move(title) : std::make_unique<OmStringCell>("");
  showTitle = true;
  return *mData->title;
}

OmCellText& OmPivotTable::SetTitle(std::string title) {
  return SetTitle(std::make_unique<OmStringCell>(std::move(title)));
}

const OmText* OmPivotTable::Caption() const {
  return mData->caption.get();
}
void OmPivotTable::SetCaption(std::unique_ptr<OmText> caption) {
  mData->caption = std::move(caption);
}
void OmPivotTable::SetCaption(std::string caption) {
  mData->caption = std::make_unique<OmText>(std::move(caption));
}

const std::vector<std::string>& OmPivotTable::Footnotes() const {
  return mData->footnotes;
}
std::int32_t OmPivotTable::AddFootnote(std::string text) {
  mData->footnotes.push_back(std::move(text));
  return static_cast<std::int32_t>(mData->footnotes.size() - 1);
}

bool OmPivotTable::IsNotes() const {
  return mData->notes;
}
void OmPivotTable::SetNotes(bool notes) {
  mData->notes = notes;
}

OmDimension& OmPivotTable::AddDimension(OmAxis axis, std::unique_ptr<OmCellText> label) {
  if (mData->store) {
    throw std::logic_error("dimensions cannot be added once the table holds cells");
  }
  auto dimension = std::make_unique<OmDimension>(axis, std::move(label));
  std::vector<std::int32_t>& onAxis = mData->axes[static_cast<int>(axis)];
  onAxis.push_back(NDimensions());
  try {
    mData->dimensions.push_back(std::move(dimension));
  } catch (...) {
    onAxis.pop_back();
    throw;
  }
  return *mData->dimensions.back();
}

OmDimension& OmPivotTable::AddDimension(OmAxis axis, std::string label) {
  return AddDimension(axis, std::make_unique<OmStringCell>(std::move(label)));
}

std::int32_t OmPivotTable::NDimensions() const {
  return static_cast<std::int32_t>(mData->dimensions.size());
}

const OmDimension& OmPivotTable::Dimension(std::int32_t i) const {
  if (i < 0 || i >= NDimensions())
    throw std::out_of_range("no dimension " + std::to_string(i));
  return *mData->dimensions[static_cast<std::size_t>(i)];
}

OmDimension& OmPivotTable::Dimension(std::int32_t i) {
  if (i < 0 || i >= NDimensions())
    throw std::out_of_range("no dimension " + std::to_string(i));
  return *mData->dimensions[static_cast<std::size_t>(i)];
}

const std::vector<std::int32_t>& OmPivotTable::AxisDimensions(OmAxis axis) const {
  return mData->axes[static_cast<int>(axis)];
}

OmPivotTable::IndexStatus OmPivotTable::CheckRange(const std::vector<std::int32_t>& index,
                                                   std::int32_t* badEntry) const {
  const std::size_t n = mData->dimensions.size();
  if (index.size() != n)
    return IndexStatus::WrongLength;
  const std::int32_t* entries = index.data();
  std::size_t i = 0;
  while (i < n && entries[i] >= 0 &&
         entries[i] < (mData->store ? mData->sizes[i] : mData->dimensions[i]->NLeaves())) {
    ++i;
  }
  if (i == n)
    return IndexStatus::Valid;
  if (badEntry != nullptr)
    *badEntry = static_cast<std::int32_t>(i);
  return IndexStatus::OutOfRange;
}

OmPivotTable::IndexStatus OmPivotTable::CheckIndex(const std::vector<std::int32_t>& index,
                                                   std::int32_t* badEntry) const {
  const IndexStatus status = CheckRange(index, badEntry);
  if (status != IndexStatus::Valid)
    return status;
  if (mData->store && mData->store->Find(index.data()) != 0)
    return IndexStatus::Used;
  return IndexStatus::Valid;
}

void OmPivotTable::Freeze() {
  if (mData->store)
    return;
  std::vector<std::int32_t> sizes;
  std::vector<bool> layer;
  for (const auto& dimension : mData->dimensions) {
    sizes.push_back(dimension->NLeaves());
    layer.push_back(dimension->Axis() == OmAxis::Layer);
  }
  mData->store = std::make_unique<OmCellStore>(sizes, layer);
  mData->store->Expect(mData->expected);
  mData->sizes = std::move(sizes);
  for (auto& dimension : mData->dimensions)
    dimension->mFrozen = true;
}

template <class Make>
OmCellText& OmPivotTable::Store(const std::vector<std::int32_t>& index, Make make) {
  // Once the table is frozen, a well-formed index is checked inline; any
  // other goes the long way, which says what is wrong with it.
  if (!mData->store || index.size() != mData->sizes.size() ||
      !InRange(index.data(), mData->sizes.data(), index.size())) {
    Require(CheckRange(index, nullptr));
    Freeze();
  }
  // One lookup both refuses a used index, before any cell is made, and
  // finds the slot the new cell goes into.
  OmCellStore& store = *mData->store;
  const OmCellStore::Place place = store.Locate(index.data());
  if (place.used)
    Require(IndexStatus::Used);
  const OmCellArena::Ref ref = make(mData->cells);
  try {
    store.Put(place, index.data(), ref);
  } catch (...) {
    mData->cells.RemoveLast(ref);
    throw;
  }
  return mData->cells.At(ref);
}

OmCellText& OmPivotTable::SetCell(const std::vector<std::int32_t>& index,
                                  std::unique_ptr<OmCellText> cell) {
  if (!cell)
    throw std::invalid_argument("a null cell cannot be stored");
  return Store(index, [&cell](OmCellArena& cells) { return cells.Adopt(std::move(cell)); });
}

// The arena makes these cells as OmNumberCells.
OmNumberCell& OmPivotTable::SetNumber(const std::vector<std::int32_t>& index, double value) {
  return static_cast<OmNumberCell&>(
      Store(index, [value](OmCellArena& cells) { return cells.AddNumber(value); }));
}

OmNumberCell& OmPivotTable::SetNumber(const std::vector<std::int32_t>& index, double value,
                                      int decimals) {
  return static_cast<OmNumberCell&>(Store(
      index, [value, decimals](OmCellArena& cells) { return cells.AddNumber(value, decimals); }));
}

OmCellText& OmPivotTable::SetText(const std::vector<std::int32_t>& index, std::string text) {
  return Store(index, [&text](OmCellArena& cells) { return cells.AddText(std::move(text)); });
}

void OmPivotTable::ExpectCells(std::int64_t count) {
  mData->expected = count;
  if (mData->store)
    mData->store->Expect(count);
}

const OmCellText* OmPivotTable::Cell(const std::vector<std::int32_t>& index) const {
  if (!mData->store || index.size() != mData->sizes.size() ||
      !InRange(index.data(), mData->sizes.data(), index.size())) {
    return nullptr;
  }
  const OmCellStore::Ref ref = mData->store->Find(index.data());
  return ref == 0 ? nullptr : &mData->cells.At(ref);
}

std::int64_t OmPivotTable::NCells() const {
  return mData->store ? mData->store->Count() : 0;
}

std::int64_t OmPivotTable::NCellsInLayer(const std::vector<std::int32_t>& layerIndex) const {
  if (!mData->store || layerIndex.size() != mData->sizes.size())
    return 0;
  return mData->store->CountInLayer(layerIndex.data());
}

void OmPivotTable::ForEachCellInLayer(
    const std::vector<std::int32_t>& layerIndex,
    const std::function<void(const std::int32_t* index, const OmCellText& cell)>& visit) const {
  if (!mData->store || layerIndex.size() != mData->sizes.size())
    return;
  using Visit = std::function<void(const std::int32_t*, const OmCellText&)>;
  using Context = std::pair<const Visit*, const OmCellArena*>;
  const Context both{&visit, &mData->cells};
  mData->store->ForEach(
      layerIndex.data(),
      [](const void* context, const std::int32_t* index, OmCellStore::Ref cell) {
        const auto* found = static_cast<const Context*>(context);
        (*found->first)(index, found->second->At(cell));
      },
      &both);
}

void OmPivotTable::ForEachIndexInLayer(const std::vector<std::int32_t>& layerIndex,
                                       VisitIndex visit, void* context) const {
  if (!mData->store || layerIndex.size() != mData->sizes.size())
    return;
  using Context = std::pair<VisitIndex, void*>;
  const Context both{visit, context};
  mData->store->ForEach(
      layerIndex.data(),
      [](const void* passed, const std::int32_t* index, OmCellStore::Ref) {
        const auto* found = static_cast<const Context*>(passed);
        found->first(found->second, index);
      },
      &both);
}

struct OmPivotTable::LayerCells::Rep {
  OmCellStore::View view;
  const OmCellArena* cells = nullptr;
};

OmPivotTable::LayerCells::LayerCells(std::unique_ptr<Rep> rep) : mRep(std::move(rep)) {}
OmPivotTable::LayerCells::LayerCells(LayerCells&&) noexcept = default;
OmPivotTable::LayerCells& OmPivotTable::LayerCells::operator=(LayerCells&&) noexcept = default;
OmPivotTable::LayerCells::~LayerCells() = default;

const OmCellText* OmPivotTable::LayerCells::At(const std::int32_t* index) const {
  const OmCellStore::Ref ref = mRep->view.Find(index);
  return ref == 0 ? nullptr : &mRep->cells->At(ref);
}

const OmCellText* OmPivotTable::LayerCells::At(const std::int32_t* index,
                                               std::string_view& text) const {
  const OmCellStore::Ref ref = mRep->view.Find(index);
  if (ref == 0) {
    text = std::string_view();
    return nullptr;
  }
  text = mRep->cells->BlockText(ref);
  return &mRep->cells->At(ref);
}

OmPivotTable::LayerCells OmPivotTable::CellsInLayer(
    const std::vector<std::int32_t>& layerIndex) const {
  auto rep = std::make_unique<LayerCells::Rep>();
  rep->cells = &mData->cells;
  if (mData->store && layerIndex.size() == mData->sizes.size())
    rep->view = mData->store->LayerView(layerIndex.data());
  return LayerCells(std::move(rep));
}

std::vector<std::int32_t> OmPivotTable::SizeVector() const {
  return std::vector<std::int32_t>(mData->dimensions.size(), 0);
}
