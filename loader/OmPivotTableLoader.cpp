// The document loader's frames for pivot tables: cells, dimensions with
// their category trees, the sparse "cells" list and the dense "data" form.
// Cells are stored as they stream in once the table's dimensions are known
// (a long "data" list's by a second thread, when the document is read in
// place); "cells" or "data" that come before "dimensions" are held and
// replayed.
#include "loader/OmPivotTableLoader.h"

#include <algorithm>
#include <array>
#include <condition_variable>
#include <cstdint>
#include <cstring>
#include <deque>
#include <exception>
#include <limits>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "host/output/OmCellText.h"
#include "host/output/OmText.h"
#include "host/table/OmPivotTable.h"

namespace omtext::loader {
namespace {

// Categories may nest this deep below their dimension; deeper trees are
// refused, since no real table needs them.
constexpr int kMaxCategoryDepth = 1000;
static_assert(kMaxHeldDepth == 2 * kMaxCategoryDepth + 3,
              "held values must nest as deep as a table's deepest dimensions");

// The longest text of a pivot-table cell (64 KiB). Cell text is folded to
// column widths, and folding a text with many line breaks back into few
// lines costs time that grows with the square of its length; the limit keeps
// one cell well under a second.
constexpr std::size_t kMaxCellTextBytes = std::size_t{1} << 16;

void CheckCellText(std::string_view text, Position at) {
  if (text.size() > kMaxCellTextBytes) {
    Fail(at, "a cell's text may hold at most " + std::to_string(kMaxCellTextBytes) + " bytes");
  }
}

// "1 leaf", "2 leaves": a count with its noun.
std::string Count(std::int64_t n, std::string_view one, std::string_view many) {
  return std::to_string(n) + " " + std::string(n == 1 ? one : many);
}

}  // namespace

// A CELL of the document as read: a text or a number, with its footnote
// numbers (and where each stands) and markers.
struct ParsedCell {
  bool isText = true;
  std::string text;
  double value = 0;
  int decimals = -1;
  std::vector<std::int16_t> footnotes;
  std::vector<Position> footnotePositions;
  std::vector<std::string> markers;
  Position at;

  void Reset(Position start) {
    isText = true;
    text.clear();
    value = 0;
    decimals = -1;
    footnotes.clear();
    footnotePositions.clear();
    markers.clear();
    at = start;
  }
  void SetText(std::string_view newText, Position start) {
    CheckCellText(newText, start);
    Reset(start);
    text.assign(newText.data(), newText.size());
  }
  void SetNumber(std::string_view raw, Position start) {
    Reset(start);
    isText = false;
    value = ParseDouble(raw, start);
  }
};

namespace {

void AddExtras(OmCellText& cell, ParsedCell& parsed) {
  // Most cells have neither, and this runs for every cell.
  if (parsed.footnotes.empty() && parsed.markers.empty())
    return;
  for (std::int16_t number : parsed.footnotes)
    cell.AddFootnote(number);
  for (std::string& marker : parsed.markers)
    cell.AddMarker(std::move(marker));
}

// Stores parsed as the table's cell at index, taking its text.
void StoreParsed(OmPivotTable& table, const std::vector<std::int32_t>& index, ParsedCell& parsed) {
  OmCellText* stored = nullptr;
  if (parsed.isText) {
    stored = &table.SetText(index, std::move(parsed.text));
  } else if (parsed.decimals >= 0) {
    stored = &table.SetNumber(index, parsed.value, parsed.decimals);
  } else {
    stored = &table.SetNumber(index, parsed.value);
  }
  AddExtras(*stored, parsed);
}

std::unique_ptr<OmCellText> MakeCell(ParsedCell& parsed) {
  std::unique_ptr<OmCellText> cell;
  if (parsed.isText) {
    cell = std::make_unique<OmStringCell>(std::move(parsed.text));
  } else if (parsed.decimals >= 0) {
    cell = std::make_unique<OmNumberCell>(parsed.value, parsed.decimals);
  } else {
    cell = std::make_unique<OmNumberCell>(parsed.value);
  }
  AddExtras(*cell, parsed);
  return cell;
}

// Whoever receives the cells that CellFrames parse.
class CellSink {
 public:
  virtual void TakeCell(ParsedCell& cell) = 0;

 protected:
  ~CellSink() = default;
};

// A list of footnote numbers of a cell.
class FootnoteListFrame : public Frame {
 public:
  explicit FootnoteListFrame(ParsedCell& cell) : Frame(Position{}), mCell(cell) {}
  void Reopen(Position start) { Restart(start); }
  void OnNumber(std::string_view raw, Position at) override {
    mCell.footnotes.push_back(
        static_cast<std::int16_t>(ParseInteger(raw, at, 0, 32767, "footnote number")));
    mCell.footnotePositions.push_back(at);
  }
  void OnEnd(Position) override {}

 protected:
  std::string Expected() const override { return "a footnote number in \"footnotes\""; }

 private:
  ParsedCell& mCell;
};

// A cell given as an object: {"text": ...} or {"value": ..., "decimals":
// ...}, with "footnotes" and "markers".
class CellFrame : public Frame {
 public:
  CellFrame()
      : Frame(Position{}), mFootnotes(mCell), mMarkers(Position{}, mCell.markers, "\"markers\"") {}

  void Reopen(Position start, CellSink& sink) {
    Restart(start);
    mSink = &sink;
    mCell.Reset(start);
    mKeys.Clear();
  }

  void OnKey(std::string_view key, Position at) override {
    mKey = FindKey(kKeys, key);
    if (mKey < 0)
      Fail(at, "unknown key " + Quote(key) + " in a cell");
    mKeys.Mark(mKey, key, at);
    mKeyAt[static_cast<std::size_t>(mKey)] = at;
  }
  void OnString(std::string_view text, Position at) override {
    if (mKey != kText)
      Mismatch(at, "a string");
    CheckCellText(text, at);
    mCell.text.assign(text.data(), text.size());
  }
  void OnNumber(std::string_view raw, Position at) override {
    if (mKey == kValue) {
      mCell.value = ParseDouble(raw, at);
    } else if (mKey == kDecimals) {
      mCell.decimals = static_cast<int>(ParseInteger(raw, at, 0, 20, "\"decimals\""));
    } else {
      Mismatch(at, "a number");
    }
  }
  Frame* OnArray(Position at) override {
    if (mKey == kFootnotes) {
      mFootnotes.Reopen(at);
      return &mFootnotes;
    }
    if (mKey == kMarkers) {
      mMarkers.Reopen(at);
      return &mMarkers;
    }
    Mismatch(at, "a list");
  }
  void OnEnd(Position) override {
    if (mKeys.Has(kText) == mKeys.Has(kValue)) {
      Fail(Start(), mKeys.Has(kText) ? "a cell has \"text\" or \"value\", not both"
                                     : "a cell needs \"text\" or \"value\"");
    }
    if (mKeys.Has(kDecimals) && !mKeys.Has(kValue)) {
      Fail(mKeyAt[kDecimals], "\"decimals\" is only allowed with \"value\"");
    }
    mCell.isText = mKeys.Has(kText);
    mSink->TakeCell(mCell);
  }

 protected:
  std::string Expected() const override {
    return ExpectedFor(kKeys[static_cast<std::size_t>(mKey)]);
  }

 private:
  enum Key { kText, kValue, kDecimals, kFootnotes, kMarkers, kKeyCount };
  static constexpr std::array<KeySpec, kKeyCount> kKeys{
      {{"text", "a string"},
       {"value", "a number"},
       {"decimals", "an integer"},
       {"footnotes", "a list of footnote numbers"},
       {"markers", "a list of strings"}}};

  ParsedCell mCell;
  FootnoteListFrame mFootnotes;
  StringListFrame mMarkers;
  CellSink* mSink = nullptr;
  int mKey = -1;
  KeySet mKeys;
  std::array<Position, kKeyCount> mKeyAt{};
};

// One category as read: its label, its parent among the dimension's
// categories (-1 for a top-level one), and whether it is a group.
struct CategoryEntry {
  std::int32_t parent = -1;
  bool group = false;
  ParsedCell label;
};

class PivotTableBody;

class CategoryListFrame;

// A category object: a cell, or a group {"group": CELL, "categories":
// [...]}, told apart by its first key.
class CategoryObjectFrame : public Frame, public CellSink {
 public:
  CategoryObjectFrame(std::vector<CategoryEntry>& entries, PivotTableBody& body, int depth)
      : Frame(Position{}), mEntries(entries), mBody(body), mDepth(depth) {}

  void Reopen(Position start, std::int32_t parent) {
    Restart(start);
    mParent = parent;
    mMode = Mode::kUndecided;
    mKeys.Clear();
  }

  void OnKey(std::string_view key, Position at) override;
  Frame* OnObject(Position at) override;
  Frame* OnArray(Position at) override;
  void OnString(std::string_view text, Position at) override;
  void OnNumber(std::string_view raw, Position at) override;
  void OnBool(bool value, Position at) override;
  void OnNull(Position at) override;
  void OnEnd(Position at) override;
  void TakeCell(ParsedCell& cell) override;

 protected:
  std::string Expected() const override {
    return ExpectedFor(kKeys[static_cast<std::size_t>(mKey)]);
  }

 private:
  enum class Mode { kUndecided, kCell, kGroup };
  enum Key { kGroup, kCategories };
  static constexpr std::array<KeySpec, 2> kKeys{
      {{"group", "a cell"}, {"categories", "a list of categories"}}};

  std::vector<CategoryEntry>& mEntries;
  PivotTableBody& mBody;
  int mDepth;
  std::int32_t mParent = -1;
  Mode mMode = Mode::kUndecided;
  // The group's own entry, reserved when it is known to be a group so that
  // its categories can name it as their parent.
  std::int32_t mSelf = -1;
  int mKey = kGroup;
  KeySet mKeys;
  Position mCategoriesAt;
  CellFrame mCell;
  std::unique_ptr<CategoryListFrame> mList;
};

// A list of categories: a dimension's own or a group's.
class CategoryListFrame : public Frame {
 public:
  CategoryListFrame(std::vector<CategoryEntry>& entries, PivotTableBody& body, int depth)
      : Frame(Position{}), mEntries(entries), mBody(body), mDepth(depth) {}

  void Reopen(Position start, std::int32_t parent) {
    Restart(start);
    mParent = parent;
    mCount = 0;
  }
  std::int32_t Count() const { return mCount; }

  Frame* OnObject(Position at) override {
    if (!mObject)
      mObject = std::make_unique<CategoryObjectFrame>(mEntries, mBody, mDepth);
    mObject->Reopen(at, mParent);
    ++mCount;
    return mObject.get();
  }
  void OnString(std::string_view text, Position at) override { AddLeaf().label.SetText(text, at); }
  void OnNumber(std::string_view raw, Position at) override { AddLeaf().label.SetNumber(raw, at); }
  void OnEnd(Position) override {}

 protected:
  std::string Expected() const override { return "a category (a cell or a group)"; }

 private:
  CategoryEntry& AddLeaf() {
    ++mCount;
    mEntries.push_back(CategoryEntry{mParent, false, ParsedCell{}});
    return mEntries.back();
  }

  std::vector<CategoryEntry>& mEntries;
  PivotTableBody& mBody;
  int mDepth;
  std::int32_t mParent = -1;
  std::int32_t mCount = 0;
  std::unique_ptr<CategoryObjectFrame> mObject;
};

void CategoryObjectFrame::OnKey(std::string_view key, Position at) {
  const int k = FindKey(kKeys, key);
  if (mMode == Mode::kUndecided) {
    if (k >= 0) {
      if (mDepth >= kMaxCategoryDepth) {
        Fail(Start(), "categories are nested more than " + std::to_string(kMaxCategoryDepth) +
                          " levels deep");
      }
      mMode = Mode::kGroup;
      mSelf = static_cast<std::int32_t>(mEntries.size());
      mEntries.push_back(CategoryEntry{mParent, true, ParsedCell{}});
    } else {
      mMode = Mode::kCell;
      mCell.Reopen(Start(), *this);
    }
  }
  if (mMode == Mode::kCell)
    return mCell.OnKey(key, at);
  if (k < 0)
    Fail(at, "unknown key " + Quote(key) + " in a group");
  mKey = k;
  if (mKey == kCategories)
    mCategoriesAt = at;
  mKeys.Mark(mKey, key, at);
}

Frame* CategoryObjectFrame::OnObject(Position at) {
  if (mMode == Mode::kCell)
    return mCell.OnObject(at);
  if (mKey != kGroup)
    Mismatch(at, "an object");
  mCell.Reopen(at, *this);
  return &mCell;
}

Frame* CategoryObjectFrame::OnArray(Position at) {
  if (mMode == Mode::kCell)
    return mCell.OnArray(at);
  if (mKey != kCategories)
    Mismatch(at, "a list");
  if (!mList)
    mList = std::make_unique<CategoryListFrame>(mEntries, mBody, mDepth + 1);
  mList->Reopen(at, mSelf);
  return mList.get();
}

void CategoryObjectFrame::OnString(std::string_view text, Position at) {
  if (mMode == Mode::kCell)
    return mCell.OnString(text, at);
  if (mKey != kGroup)
    Mismatch(at, "a string");
  mEntries[static_cast<std::size_t>(mSelf)].label.SetText(text, at);
}

void CategoryObjectFrame::OnNumber(std::string_view raw, Position at) {
  if (mMode == Mode::kCell)
    return mCell.OnNumber(raw, at);
  if (mKey != kGroup)
    Mismatch(at, "a number");
  mEntries[static_cast<std::size_t>(mSelf)].label.SetNumber(raw, at);
}

void CategoryObjectFrame::OnBool(bool value, Position at) {
  if (mMode == Mode::kCell)
    return mCell.OnBool(value, at);
  Mismatch(at, "a boolean");
}

void CategoryObjectFrame::OnNull(Position at) {
  if (mMode == Mode::kCell)
    return mCell.OnNull(at);
  Mismatch(at, "null");
}

void CategoryObjectFrame::OnEnd(Position at) {
  if (mMode == Mode::kUndecided)
    Fail(Start(), "a category object needs \"group\" or a cell's keys");
  if (mMode == Mode::kCell)
    return mCell.OnEnd(at);
  if (!mKeys.Has(kGroup))
    Fail(Start(), "missing key \"group\" in a group");
  if (!mKeys.Has(kCategories))
    Fail(Start(), "missing key \"categories\" in a group");
  if (mList->Count() == 0)
    Fail(mCategoriesAt, "a group needs at least one category");
}

void CategoryObjectFrame::TakeCell(ParsedCell& cell) {
  if (mMode == Mode::kGroup) {
    mEntries[static_cast<std::size_t>(mSelf)].label = std::move(cell);
  } else {
    mEntries.push_back(CategoryEntry{mParent, false, std::move(cell)});
  }
}

// Leaf positions of a "cells" index.
class IndexFrame : public Frame {
 public:
  IndexFrame() : Frame(Position{}) {}
  void Reopen(Position start) {
    Restart(start);
    index.clear();
    positions.clear();
  }
  void OnNumber(std::string_view raw, Position at) override {
    index.push_back(
        static_cast<std::int32_t>(ParseInteger(raw, at, 0, 2147483647, "leaf position")));
    positions.push_back(at);
  }
  void OnEnd(Position) override {}

  std::vector<std::int32_t> index;
  std::vector<Position> positions;

 protected:
  std::string Expected() const override { return "a leaf position in an index"; }
};

class DimensionFrame;
class DataListFrame;
class CellsStoredAside;

// The body of a pivot table part.
class PivotTableBody : public PartBody, public CellSink {
 public:
  PivotTableBody(Position start, ReadMode mode);
  ~PivotTableBody() override;

  void OnKey(std::string_view key, Position at) override;
  Frame* OnObject(Position at) override;
  Frame* OnArray(Position at) override;
  void OnString(std::string_view text, Position at) override;
  void OnNumber(std::string_view raw, Position at) override;
  void OnBool(bool value, Position at) override;
  void OnNull(Position at) override;
  void OnEnd(Position at) override;
  void TakeCell(ParsedCell& cell) override;
  std::unique_ptr<OmOutputPart> MakePart() override;
  // Cells held with the rest of the part come after the dimensions, which
  // place them, so they are not held a second time.
  bool ReplayLast(std::string_view key) const override { return key == "cells" || key == "data"; }

  // Called as the document's parts of the table arrive.
  void AddDimension(DimensionFrame& dimension);
  void DimensionsDone();
  void StoreIndexed(const IndexFrame& index, ParsedCell& cell);
  void StoreDense(ParsedCell& cell);
  // Stores a bare text or number of "data" at the dense index.
  void StoreDenseText(std::string_view text);
  void StoreDenseNumber(double value);
  // The "data" list has closed.
  void DenseDone();
  // Notes the footnote numbers a cell uses, to check them against the
  // table's footnote list once the table is complete.
  void NoteFootnotes(const ParsedCell& cell);

  OmPivotTable& Table() { return *mTable; }
  std::vector<std::int32_t>& DenseIndex() { return mDenseIndex; }
  CellFrame& SharedCellFrame() { return mCell; }

 protected:
  std::string Expected() const override;

 private:
  enum Key {
    kTitle,
    kShowTitle,
    kCaption,
    kNotes,
    kFootnotes,
    kDimensions,
    kCells,
    kData,
    kKeyCount
  };
  // "data" expects a list or a cell, as the table has dimensions or not.
  static constexpr std::array<KeySpec, kKeyCount> kKeys{{{"title", "a cell"},
                                                         {"show-title", "a boolean"},
                                                         {"caption", "a string"},
                                                         {"notes", "a boolean"},
                                                         {"footnotes", "a list of strings"},
                                                         {"dimensions", "a list of dimensions"},
                                                         {"cells", "a list of cell entries"},
                                                         {"data", "a list"}}};

  void StoreWhole(ParsedCell& cell);

  std::unique_ptr<OmPivotTable> mTable = std::make_unique<OmPivotTable>();
  int mKey = -1;
  KeySet mKeys;
  ReadMode mMode;
  bool mHolding = false;
  bool mReplaying = false;
  bool mDimensionsDone = false;
  // The slot the current cell belongs to: the title or a "data" cell.
  ParsedCell mTitle;
  bool mShowTitle = false;
  std::vector<std::string> mFootnotes;
  std::int32_t mLargestFootnote = -1;
  Position mLargestFootnoteAt;
  std::vector<std::int32_t> mDenseIndex;
  HoldFrame mHeld;
  CellFrame mCell;
  StringListFrame mFootnoteList;
  std::unique_ptr<Frame> mDimensionList;
  std::unique_ptr<Frame> mCellsList;
  std::unique_ptr<DataListFrame> mDataList;
  // Last, so that its thread, which stores into the table, ends first.
  std::unique_ptr<CellsStoredAside> mAside;
};

// One dimension: its label, axis, label flag, categories and current leaf.
class DimensionFrame : public Frame, public CellSink {
 public:
  DimensionFrame(Position start, PivotTableBody& body)
      : Frame(start), mBody(body), mList(mEntries, body, 1) {}

  void OnKey(std::string_view key, Position at) override {
    mKey = FindKey(kKeys, key);
    if (mKey < 0)
      Fail(at, "unknown key " + Quote(key) + " in a dimension");
    mKeys.Mark(mKey, key, at);
    mKeyAt[static_cast<std::size_t>(mKey)] = at;
  }
  Frame* OnObject(Position at) override {
    if (mKey != kLabel)
      Mismatch(at, "an object");
    mCell.Reopen(at, *this);
    return &mCell;
  }
  Frame* OnArray(Position at) override {
    if (mKey != kCategories)
      Mismatch(at, "a list");
    mList.Reopen(at, -1);
    return &mList;
  }
  void OnString(std::string_view text, Position at) override {
    if (mKey == kLabel) {
      mLabel.SetText(text, at);
    } else if (mKey == kAxis) {
      if (text == "row") {
        mAxis = OmAxis::Row;
      } else if (text == "column") {
        mAxis = OmAxis::Column;
      } else if (text == "layer") {
        mAxis = OmAxis::Layer;
      } else {
        Fail(at, "unknown axis " + Quote(text) + " (row, column or layer)");
      }
    } else {
      Mismatch(at, "a string");
    }
  }
  void OnNumber(std::string_view raw, Position at) override {
    if (mKey == kLabel) {
      mLabel.SetNumber(raw, at);
    } else if (mKey == kCurrent) {
      mCurrent = static_cast<std::int32_t>(ParseInteger(raw, at, 0, 2147483647, "\"current\""));
    } else {
      Mismatch(at, "a number");
    }
  }
  void OnBool(bool value, Position at) override {
    if (mKey != kShowLabel)
      Mismatch(at, "a boolean");
    mShowLabel = value;
  }
  void TakeCell(ParsedCell& cell) override { mLabel = std::move(cell); }

  void OnEnd(Position) override {
    for (int k : {kLabel, kAxis, kCategories}) {
      if (!mKeys.Has(k)) {
        Fail(Start(),
             "missing key " + Quote(kKeys[static_cast<std::size_t>(k)].name) + " in a dimension");
      }
    }
    if (mKeys.Has(kCurrent)) {
      if (mAxis != OmAxis::Layer) {
        Fail(mKeyAt[kCurrent], "\"current\" is only allowed on a layer dimension");
      }
      std::int32_t leaves = 0;
      for (const CategoryEntry& entry : mEntries)
        leaves += entry.group ? 0 : 1;
      if (mCurrent >= leaves) {
        Fail(mKeyAt[kCurrent], "\"current\" leaf position " + std::to_string(mCurrent) +
                                   " is out of range: the dimension has " +
                                   Count(leaves, "leaf", "leaves"));
      }
    }
    mBody.AddDimension(*this);
  }

  ParsedCell mLabel;
  OmAxis mAxis = OmAxis::Row;
  bool mShowLabel = true;
  std::int32_t mCurrent = 0;
  bool HasCurrent() const { return mKeys.Has(kCurrent); }
  std::vector<CategoryEntry> mEntries;

 protected:
  std::string Expected() const override {
    return ExpectedFor(kKeys[static_cast<std::size_t>(mKey)]);
  }

 private:
  enum Key { kLabel, kAxis, kShowLabel, kCategories, kCurrent, kKeyCount };
  static constexpr std::array<KeySpec, kKeyCount> kKeys{{{"label", "a cell"},
                                                         {"axis", "a string"},
                                                         {"show-label", "a boolean"},
                                                         {"categories", "a list of categories"},
                                                         {"current", "an integer"}}};

  PivotTableBody& mBody;
  int mKey = -1;
  KeySet mKeys;
  std::array<Position, kKeyCount> mKeyAt{};
  CellFrame mCell;
  CategoryListFrame mList;
};

// The table's "dimensions".
class DimensionListFrame : public Frame {
 public:
  DimensionListFrame(Position start, PivotTableBody& body) : Frame(start), mBody(body) {}
  Frame* OnObject(Position at) override {
    mDimension = std::make_unique<DimensionFrame>(at, mBody);
    return mDimension.get();
  }
  void OnEnd(Position) override { mBody.DimensionsDone(); }

 protected:
  std::string Expected() const override { return "a dimension (an object)"; }

 private:
  PivotTableBody& mBody;
  std::unique_ptr<DimensionFrame> mDimension;
};

// One [INDEX, CELL] entry of "cells".
class CellPairFrame : public Frame, public CellSink {
 public:
  explicit CellPairFrame(PivotTableBody& body) : Frame(Position{}), mBody(body) {}
  void Reopen(Position start) {
    Restart(start);
    mCount = 0;
  }
  Frame* OnArray(Position at) override {
    Next(at, 0);
    mIndex.Reopen(at);
    return &mIndex;
  }
  Frame* OnObject(Position at) override {
    Next(at, 1);
    mCell.Reopen(at, *this);
    return &mCell;
  }
  void OnString(std::string_view text, Position at) override {
    Next(at, 1);
    mScratch.SetText(text, at);
    TakeCell(mScratch);
  }
  void OnNumber(std::string_view raw, Position at) override {
    Next(at, 1);
    mScratch.SetNumber(raw, at);
    TakeCell(mScratch);
  }
  void TakeCell(ParsedCell& cell) override { mBody.StoreIndexed(mIndex, cell); }
  void OnEnd(Position) override {
    if (mCount != 2)
      Fail(Start(), "a cell entry is a list [INDEX, CELL]");
  }

 protected:
  std::string Expected() const override {
    return mCount == 0 ? "an index (a list of leaf positions)" : "a cell";
  }

 private:
  // Checks that the element at position `slot` of the pair comes next.
  void Next(Position at, int slot) {
    if (mCount != slot) {
      Fail(at, mCount >= 2 ? "a cell entry is a list [INDEX, CELL]"
                           : "expected " + Expected() + " in a cell entry");
    }
    ++mCount;
  }

  PivotTableBody& mBody;
  int mCount = 0;
  IndexFrame mIndex;
  CellFrame mCell;
  ParsedCell mScratch;
};

// The table's "cells".
class CellsListFrame : public Frame {
 public:
  CellsListFrame(Position start, PivotTableBody& body) : Frame(start), mPair(body) {}
  Frame* OnArray(Position at) override {
    mPair.Reopen(at);
    return &mPair;
  }
  void OnEnd(Position) override {}

 protected:
  std::string Expected() const override { return "a cell entry [INDEX, CELL]"; }

 private:
  CellPairFrame mPair;
};

// One list of the dense "data" form: one entry per leaf of the dimension
// at its depth; the innermost entries are cells or null.
class DataListFrame : public Frame, public CellSink {
 public:
  DataListFrame(PivotTableBody& body, std::int32_t level)
      : Frame(Position{}),
        mBody(body),
        mLevel(level),
        mLeaves(body.Table().Dimension(level).NLeaves()),
        mInnermost(level + 1 == body.Table().NDimensions()) {}

  void Reopen(Position start) {
    Restart(start);
    mCount = 0;
  }

  Frame* OnArray(Position at) override {
    Enter(at, false);
    if (!mChild)
      mChild = std::make_unique<DataListFrame>(mBody, mLevel + 1);
    mChild->Reopen(at);
    return mChild.get();
  }
  Frame* OnObject(Position at) override {
    Enter(at, true);
    CellFrame& cell = mBody.SharedCellFrame();
    cell.Reopen(at, *this);
    return &cell;
  }
  void OnString(std::string_view text, Position at) override {
    Enter(at, true);
    // A bare text or number has no footnotes or markers: it is stored as it
    // is, without filling a cell record first.
    CheckCellText(text, at);
    mBody.StoreDenseText(text);
  }
  void OnNumber(std::string_view raw, Position at) override {
    Enter(at, true);
    mBody.StoreDenseNumber(ParseDouble(raw, at));
  }
  void OnNull(Position at) override { Enter(at, true); }
  void OnCell(ParsedCell& cell, Position at) override {
    Enter(at, true);
    mBody.StoreDense(cell);
  }
  void TakeCell(ParsedCell& cell) override { mBody.StoreDense(cell); }
  void OnEnd(Position) override {
    if (mCount != mLeaves)
      Fail(Start(), Shape());
    if (mLevel == 0)
      mBody.DenseDone();
  }

 protected:
  std::string Expected() const override {
    return mInnermost ? "a cell or null in \"data\"" : "a list in \"data\"";
  }

 private:
  std::string Shape() const {
    return "this list of \"data\" must have one entry per leaf of dimension " +
           std::to_string(mLevel) + " (" + std::to_string(mLeaves) + "), not " +
           std::to_string(mCount);
  }
  // Checks the kind and count of the next entry and sets its index entry;
  // inlined, as it runs for every entry.
  [[gnu::always_inline]] void Enter(Position at, bool cell) {
    if (cell != mInnermost)
      Mismatch(at, cell ? "a cell" : "a list");
    if (mCount >= mLeaves) {
      ++mCount;
      Fail(Start(), Shape() + " or more");
    }
    mBody.DenseIndex()[static_cast<std::size_t>(mLevel)] = mCount++;
  }

  PivotTableBody& mBody;
  std::int32_t mLevel;
  std::int32_t mLeaves;
  bool mInnermost;
  std::int32_t mCount = 0;
  std::unique_ptr<DataListFrame> mChild;
};

// Records written into chunks of a block each, with the cells kept whole
// that the records name by their number in the chunk. A chunk goes to Take
// as soon as a record no longer fits in it.
class ChunkWriter {
 public:
  struct Chunk {
    ByteBlocks::Block bytes;
    std::vector<ParsedCell> whole;
  };

  ChunkWriter() = default;
  ChunkWriter(const ChunkWriter&) = delete;
  ChunkWriter& operator=(const ChunkWriter&) = delete;

 protected:
  ~ChunkWriter() = default;

  // Takes a full chunk; chunks come in order.
  virtual void Take(Chunk&& chunk) = 0;

  // Room for a record of at most `most` bytes; Advance past what was written.
  char* Room(std::size_t most) {
    char* out = mBytes.Reserve(most);
    if (mBytes.Blocks().size() > 1)
      HandOff(mBytes.Blocks().size() - 1);
    return out;
  }
  void Advance(char* out) { mBytes.Advance(out); }
  // Keeps cell whole in the chunk of the record to be written next, whose
  // Room must have been taken; returns its number there.
  std::size_t KeepWhole(ParsedCell& cell) {
    mWhole.push_back(std::move(cell));
    return mWhole.size() - 1;
  }
  // Hands over the chunk being written too.
  void Flush() {
    mBytes.Seal();
    HandOff(mBytes.Blocks().size());
    mBytes.Clear();
  }

 private:
  void HandOff(std::size_t blocks) {
    std::vector<ByteBlocks::Block>& written = mBytes.Blocks();
    // Whole cells belong to the last block handed over: a chunk is handed
    // over as soon as a second one starts.
    for (std::size_t b = 0; b < blocks; ++b) {
      Take(Chunk{std::move(written[b]),
                 b + 1 == blocks ? std::move(mWhole) : std::vector<ParsedCell>()});
    }
    written.erase(written.begin(), written.begin() + static_cast<std::ptrdiff_t>(blocks));
    mWhole.clear();
  }

  ByteBlocks mBytes;
  std::vector<ParsedCell> mWhole;
};

// A table's dense "data" list held before its dimensions are known, as
// records of its lists and cells: a byte for a list's start or end or a
// null, a number's decimals and value, a text's length and bytes. A cell
// with footnotes or markers, which few tables have, is kept whole.
class HeldData : public HeldValue, public CellSink, private ChunkWriter {
 public:
  // Made for the list opening at start, in place of OnArray.
  explicit HeldData(Position start) : HeldValue(start) { PutRecord(kList); }

  Frame* OnArray(Position) override {
    PutRecord(kList);
    return this;
  }
  Frame* OnObject(Position at) override {
    mCell.Reopen(at, *this);
    return &mCell;
  }
  void OnString(std::string_view text, Position at) override {
    CheckCellText(text, at);
    PutText(text);
  }
  void OnNumber(std::string_view raw, Position at) override { PutNumber(ParseDouble(raw, at), -1); }
  void OnNull(Position) override { PutRecord(kNull); }
  // Held again, when its table turns out to have no dimensions yet.
  void OnCell(ParsedCell& cell, Position) override { TakeCell(cell); }
  void OnEnd(Position) override { PutRecord(kEnd); }

  void TakeCell(ParsedCell& cell) override {
    if (!cell.footnotes.empty() || !cell.markers.empty()) {
      char* out = Room(1 + ByteBlocks::kVarintBytes);
      *out++ = kWhole;
      Advance(ByteBlocks::PutVarint(out, KeepWhole(cell)));
    } else if (cell.isText) {
      PutText(cell.text);
    } else {
      PutNumber(cell.value, cell.decimals);
    }
  }

  void Replay(Dispatcher& dispatcher) override {
    Flush();
    const Position at = Start();
    // Numbers without footnotes or markers are made here one after another.
    ParsedCell number;
    number.isText = false;
    for (Chunk& chunk : mChunks) {
      const char* in = chunk.bytes.bytes.get();
      const char* const end = in + chunk.bytes.used;
      while (in < end) {
        switch (static_cast<Record>(*in++)) {
          case kList:
            dispatcher.StartArray(at);
            break;
          case kEnd:
            dispatcher.End(at);
            break;
          case kNull:
            dispatcher.Null(at);
            break;
          case kNumber:
            number.decimals = static_cast<signed char>(*in++);
            std::memcpy(&number.value, in, sizeof number.value);
            in += sizeof number.value;
            dispatcher.Cell(number, at);
            break;
          case kText: {
            // A text alone is a cell as a bare string is.
            const auto length = static_cast<std::size_t>(ByteBlocks::GetVarint(in));
            dispatcher.String(std::string_view(in, length), at);
            in += length;
            break;
          }
          case kWhole:
            dispatcher.Cell(chunk.whole[static_cast<std::size_t>(ByteBlocks::GetVarint(in))], at);
            break;
        }
      }
      chunk = Chunk();
    }
    mChunks.clear();
  }

 protected:
  std::string Expected() const override { return "a list, a cell or null in \"data\""; }
  void Take(Chunk&& chunk) override { mChunks.push_back(std::move(chunk)); }

 private:
  enum Record : char { kList, kEnd, kNull, kNumber, kText, kWhole };

  void PutRecord(Record record) {
    char* out = Room(1);
    *out++ = record;
    Advance(out);
  }
  void PutNumber(double value, int decimals) {
    char* out = Room(2 + sizeof value);
    *out++ = kNumber;
    *out++ = static_cast<char>(decimals);
    std::memcpy(out, &value, sizeof value);
    Advance(out + sizeof value);
  }
  void PutText(std::string_view text) {
    char* out = Room(1 + ByteBlocks::kVarintBytes + text.size());
    *out++ = kText;
    out = ByteBlocks::PutVarint(out, text.size());
    std::memcpy(out, text.data(), text.size());
    Advance(out + text.size());
  }

  std::vector<Chunk> mChunks;
  CellFrame mCell;
};

// Stores the cells of a long "data" list into the table on a second thread
// while the reader reads on. The reader's frames check every cell and its
// place; each cell then passes as a record of its index and value, in
// chunks of records a few at a time, to the thread, which only stores it.
// The reader waits for the thread when the list closes, and takes over the
// one error it can meet, running out of memory.
class CellsStoredAside final : private ChunkWriter {
 public:
  explicit CellsStoredAside(OmPivotTable& table)
      : mTable(table), mIndexBytes(sizeof(std::int32_t) * table.SizeVector().size()) {
    mThread = std::thread([this] { Run(); });
  }
  ~CellsStoredAside() { Stop(); }

  void StoreText(const std::vector<std::int32_t>& index, std::string_view text) {
    char* out = PutIndex(kText, index, ByteBlocks::kVarintBytes + text.size());
    out = ByteBlocks::PutVarint(out, text.size());
    std::memcpy(out, text.data(), text.size());
    Advance(out + text.size());
  }
  void StoreNumber(const std::vector<std::int32_t>& index, double value) {
    char* out = PutIndex(kNumber, index, sizeof value);
    std::memcpy(out, &value, sizeof value);
    Advance(out + sizeof value);
  }
  void StoreCell(const std::vector<std::int32_t>& index, ParsedCell& cell) {
    if (!cell.footnotes.empty() || !cell.markers.empty()) {
      char* out = PutIndex(kWhole, index, ByteBlocks::kVarintBytes);
      Advance(ByteBlocks::PutVarint(out, KeepWhole(cell)));
    } else if (cell.isText) {
      StoreText(index, cell.text);
    } else if (cell.decimals < 0) {
      StoreNumber(index, cell.value);
    } else {
      char* out = PutIndex(kDecimals, index, 1 + sizeof cell.value);
      *out++ = static_cast<char>(cell.decimals);
      std::memcpy(out, &cell.value, sizeof cell.value);
      Advance(out + sizeof cell.value);
    }
  }

  // Waits until every cell is stored.
  void Finish() {
    Flush();
    {
      const std::lock_guard<std::mutex> lock(mMutex);
      mDone = true;
    }
    mReady.notify_one();
    mThread.join();
    if (mError)
      std::rethrow_exception(mError);
  }

 private:
  enum Record : char { kText, kNumber, kDecimals, kWhole };
  // Chunks waiting at most: a megabyte of records or so.
  static constexpr std::size_t kMostChunks = 16;

  // Writes a record's kind and index, leaving room for `rest` bytes more.
  char* PutIndex(Record record, const std::vector<std::int32_t>& index, std::size_t rest) {
    char* out = Room(1 + mIndexBytes + rest);
    *out++ = record;
    std::memcpy(out, index.data(), mIndexBytes);
    return out + mIndexBytes;
  }

  void Take(Chunk&& chunk) override {
    std::unique_lock<std::mutex> lock(mMutex);
    mRoom.wait(lock, [this] { return mQueue.size() < kMostChunks || mError; });
    if (mError)
      std::rethrow_exception(mError);
    mQueue.push_back(std::move(chunk));
    lock.unlock();
    mReady.notify_one();
  }

  void Run() {
    try {
      for (;;) {
        Chunk chunk;
        {
          std::unique_lock<std::mutex> lock(mMutex);
          mReady.wait(lock, [this] { return !mQueue.empty() || mDone || mStopping; });
          if (mStopping || mQueue.empty())
            return;
          chunk = std::move(mQueue.front());
          mQueue.pop_front();
        }
        mRoom.notify_one();
        Store(chunk);
      }
    } catch (...) {
      const std::lock_guard<std::mutex> lock(mMutex);
      mError = std::current_exception();
    }
    mRoom.notify_one();
  }

  void Store(Chunk& chunk) {
    std::vector<std::int32_t> index = mTable.SizeVector();
    const char* in = chunk.bytes.bytes.get();
    const char* const end = in + chunk.bytes.used;
    while (in < end) {
      const auto record = static_cast<Record>(*in++);
      std::memcpy(index.data(), in, mIndexBytes);
      in += mIndexBytes;
      switch (record) {
        case kText: {
          const auto length = static_cast<std::size_t>(ByteBlocks::GetVarint(in));
          mTable.SetText(index, std::string(in, length));
          in += length;
          break;
        }
        case kNumber: {
          double value = 0;
          std::memcpy(&value, in, sizeof value);
          in += sizeof value;
          mTable.SetNumber(index, value);
          break;
        }
        case kDecimals: {
          const int decimals = static_cast<signed char>(*in++);
          double value = 0;
          std::memcpy(&value, in, sizeof value);
          in += sizeof value;
          mTable.SetNumber(index, value, decimals);
          break;
        }
        case kWhole: {
          StoreParsed(mTable, index,
                      chunk.whole[static_cast<std::size_t>(ByteBlocks::GetVarint(in))]);
          break;
        }
      }
    }
  }

  // Ends the thread early, when the reader gives up.
  void Stop() {
    if (!mThread.joinable())
      return;
    {
      const std::lock_guard<std::mutex> lock(mMutex);
      mStopping = true;
    }
    mReady.notify_one();
    mThread.join();
  }

  OmPivotTable& mTable;
  std::size_t mIndexBytes;
  std::mutex mMutex;
  std::condition_variable mReady;
  std::condition_variable mRoom;
  std::deque<Chunk> mQueue;
  bool mDone = false;
  bool mStopping = false;
  std::exception_ptr mError;
  std::thread mThread;
};

PivotTableBody::PivotTableBody(Position start, ReadMode mode)
    : PartBody(start), mMode(mode), mFootnoteList(start, mFootnotes, "\"footnotes\"") {}

PivotTableBody::~PivotTableBody() = default;

void PivotTableBody::OnKey(std::string_view key, Position at) {
  mKey = FindKey(kKeys, key);
  if (mKey < 0)
    Fail(at, "key " + Quote(key) + " is not allowed in a \"pivot-table\" part");
  mHolding = false;
  if (mReplaying)
    return;
  mKeys.Mark(mKey, key, at);
  if ((mKey == kCells && mKeys.Has(kData)) || (mKey == kData && mKeys.Has(kCells))) {
    Fail(at, "a table has \"cells\" or \"data\", not both");
  }
  if ((mKey == kCells || mKey == kData) && !mDimensionsDone) {
    // The cells cannot be placed before the dimensions are known.
    mHolding = true;
    mHeld.OnKey(key, at);
  }
}

Frame* PivotTableBody::OnObject(Position at) {
  if (mHolding)
    return mHeld.OnObject(at);
  if (mKey != kTitle && !(mKey == kData && mTable->NDimensions() == 0)) {
    Mismatch(at, "an object");
  }
  mCell.Reopen(at, *this);
  return &mCell;
}

Frame* PivotTableBody::OnArray(Position at) {
  if (mHolding)
    return mMode.inPlace && mKey == kData ? mHeld.Hold(MakeHeldData(at), at) : mHeld.OnArray(at);
  switch (mKey) {
    case kFootnotes:
      mFootnoteList.Reopen(at);
      return &mFootnoteList;
    case kDimensions:
      mDimensionList = std::make_unique<DimensionListFrame>(at, *this);
      return mDimensionList.get();
    case kCells:
      mCellsList = std::make_unique<CellsListFrame>(at, *this);
      return mCellsList.get();
    case kData:
      if (mTable->NDimensions() > 0) {
        // The dense form names every position, so the table is as full as
        // the list is long; nulls aside, that is the number of cells.
        std::int64_t positions = 1;
        for (std::int32_t d = 0; d < mTable->NDimensions(); ++d) {
          const std::int64_t leaves = mTable->Dimension(d).NLeaves();
          positions =
              leaves == 0
                  ? 0
                  : std::min(positions, std::numeric_limits<std::int64_t>::max() / leaves) * leaves;
        }
        mTable->ExpectCells(positions);
        mDenseIndex = mTable->SizeVector();
        if (!mDataList)
          mDataList = std::make_unique<DataListFrame>(*this, 0);
        // Data held before the dimensions is stored on this thread: it was
        // read without a second one anyway, and only cells made here reuse
        // the held records' memory as the replay frees it.
        if (mMode.inPlace && !mReplaying && positions >= mMode.asidePositions)
          mAside = std::make_unique<CellsStoredAside>(*mTable);
        mDataList->Reopen(at);
        return mDataList.get();
      }
      break;
    default:
      break;
  }
  Mismatch(at, "a list");
}

void PivotTableBody::OnString(std::string_view text, Position at) {
  if (mHolding)
    return mHeld.OnString(text, at);
  if (mKey == kCaption) {
    mTable->SetCaption(std::string(text));
    return;
  }
  if (mKey != kTitle && !(mKey == kData && mTable->NDimensions() == 0)) {
    Mismatch(at, "a string");
  }
  ParsedCell cell;
  cell.SetText(text, at);
  TakeCell(cell);
}

void PivotTableBody::OnNumber(std::string_view raw, Position at) {
  if (mHolding)
    return mHeld.OnNumber(raw, at);
  if (mKey != kTitle && !(mKey == kData && mTable->NDimensions() == 0)) {
    Mismatch(at, "a number");
  }
  ParsedCell cell;
  cell.SetNumber(raw, at);
  TakeCell(cell);
}

void PivotTableBody::OnBool(bool value, Position at) {
  if (mHolding)
    return mHeld.OnBool(value, at);
  if (mKey == kShowTitle) {
    mShowTitle = value;
  } else if (mKey == kNotes) {
    mTable->SetNotes(value);
  } else {
    Mismatch(at, "a boolean");
  }
}

void PivotTableBody::OnNull(Position at) {
  if (mHolding)
    return mHeld.OnNull(at);
  // A table without dimensions may give its one cell as null: no cell.
  if (mKey != kData || mTable->NDimensions() != 0)
    Mismatch(at, "null");
}

void PivotTableBody::TakeCell(ParsedCell& cell) {
  if (mKey == kTitle) {
    NoteFootnotes(cell);
    mTitle = std::move(cell);
  } else {
    mDenseIndex.clear();
    StoreDense(cell);
  }
}

std::string PivotTableBody::Expected() const {
  if (mKey == kData && mTable->NDimensions() == 0)
    return "a cell or null for \"data\"";
  return ExpectedFor(kKeys[static_cast<std::size_t>(mKey)]);
}

void PivotTableBody::AddDimension(DimensionFrame& frame) {
  NoteFootnotes(frame.mLabel);
  OmDimension& dimension = mTable->AddDimension(frame.mAxis, MakeCell(frame.mLabel));
  dimension.SetShowLabel(frame.mShowLabel);
  std::vector<OmDimension::NodeId> ids;
  ids.reserve(frame.mEntries.size());
  for (CategoryEntry& entry : frame.mEntries) {
    NoteFootnotes(entry.label);
    const OmDimension::NodeId parent =
        entry.parent < 0 ? OmDimensionTree::Root() : ids[static_cast<std::size_t>(entry.parent)];
    ids.push_back(dimension.AddCategory(parent, MakeCell(entry.label)));
  }
  if (frame.HasCurrent())
    dimension.SetCurrentLeaf(frame.mCurrent);
}

void PivotTableBody::DimensionsDone() {
  mDimensionsDone = true;
  if (mHeld.Empty())
    return;
  mReplaying = true;
  mHeld.Replay(*this);
  mReplaying = false;
}

void PivotTableBody::NoteFootnotes(const ParsedCell& cell) {
  for (std::size_t i = 0; i < cell.footnotes.size(); ++i) {
    if (cell.footnotes[i] > mLargestFootnote) {
      mLargestFootnote = cell.footnotes[i];
      mLargestFootnoteAt = cell.footnotePositions[i];
    }
  }
}

void PivotTableBody::StoreWhole(ParsedCell& cell) {
  NoteFootnotes(cell);
  StoreParsed(*mTable, mDenseIndex, cell);
}

void PivotTableBody::StoreDense(ParsedCell& cell) {
  if (mAside) {
    NoteFootnotes(cell);
    mAside->StoreCell(mDenseIndex, cell);
  } else {
    StoreWhole(cell);
  }
}

void PivotTableBody::StoreDenseText(std::string_view text) {
  if (mAside) {
    mAside->StoreText(mDenseIndex, text);
  } else {
    mTable->SetText(mDenseIndex, std::string(text));
  }
}

void PivotTableBody::StoreDenseNumber(double value) {
  if (mAside) {
    mAside->StoreNumber(mDenseIndex, value);
  } else {
    mTable->SetNumber(mDenseIndex, value);
  }
}

void PivotTableBody::DenseDone() {
  if (mAside) {
    mAside->Finish();
    mAside.reset();
  }
}

void PivotTableBody::StoreIndexed(const IndexFrame& index, ParsedCell& cell) {
  std::int32_t bad = 0;
  switch (mTable->CheckIndex(index.index, &bad)) {
    case OmPivotTable::IndexStatus::Valid:
      break;
    case OmPivotTable::IndexStatus::WrongLength:
      Fail(index.Start(),
           "the index has " +
               Count(static_cast<std::int64_t>(index.index.size()), "entry", "entries") +
               "; the table has " + Count(mTable->NDimensions(), "dimension", "dimensions"));
    case OmPivotTable::IndexStatus::OutOfRange:
      Fail(index.positions[static_cast<std::size_t>(bad)],
           "leaf position " + std::to_string(index.index[static_cast<std::size_t>(bad)]) +
               " is out of range: dimension " + std::to_string(bad) + " has " +
               Count(mTable->Dimension(bad).NLeaves(), "leaf", "leaves"));
    case OmPivotTable::IndexStatus::Used:
      Fail(index.Start(), "this index appears twice in \"cells\"");
  }
  mDenseIndex = index.index;
  StoreWhole(cell);
}

void PivotTableBody::OnEnd(Position) {
  // "cells" or "data" without "dimensions": a table without dimensions.
  if (!mDimensionsDone)
    DimensionsDone();
  if (mLargestFootnote >= static_cast<std::int32_t>(mFootnotes.size())) {
    Fail(mLargestFootnoteAt,
         "footnote number " + std::to_string(mLargestFootnote) +
             " is out of range: the table has " +
             Count(static_cast<std::int64_t>(mFootnotes.size()), "footnote", "footnotes"));
  }
}

std::unique_ptr<OmOutputPart> PivotTableBody::MakePart() {
  for (std::string& footnote : mFootnotes)
    mTable->AddFootnote(std::move(footnote));
  if (mKeys.Has(kTitle))
    mTable->SetTitle(MakeCell(mTitle));
  mTable->showTitle = mKeys.Has(kShowTitle) ? mShowTitle : mKeys.Has(kTitle);
  return std::move(mTable);
}

}  // namespace

bool IsPivotTableKey(std::string_view key) {
  return key == "show-title" || key == "caption" || key == "notes" || key == "footnotes" ||
         key == "dimensions" || key == "cells" || key == "data";
}

std::unique_ptr<PartBody> MakePivotTableBody(Position start, ReadMode mode) {
  return std::make_unique<PivotTableBody>(start, mode);
}

std::unique_ptr<HeldValue> MakeHeldData(Position start) {
  return std::make_unique<HeldData>(start);
}

}  // namespace omtext::loader
