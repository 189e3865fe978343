// Pivot-table cell blocks.
#include "host/table/OmCellArena.h"

#include <cassert>
#include <cstring>
#include <utility>

namespace {

constexpr std::size_t kUnit = 8;

constexpr std::size_t RoundToUnit(std::size_t bytes) {
  return (bytes + kUnit - 1) / kUnit * kUnit;
}

// A text cell made in a block: one byte of length and the text's bytes
// follow the object, so a short text takes no heap block and no std::string.
class BlockTextCell final : public OmCellText {
 public:
  BlockTextCell() = default;
  std::string GetText() const override {
    const auto* length = reinterpret_cast<const unsigned char*>(this + 1);
    return std::string(reinterpret_cast<const char*>(length + 1), *length);
  }
};

// BlockText finds the length byte right after the base class.
static_assert(sizeof(BlockTextCell) == sizeof(OmCellText), "a block text adds no members");

// Longer texts are kept as OmStringCells: their own heap block costs little
// beside them, and a length byte is enough here.
constexpr std::size_t kMaxBlockText = 255;

constexpr std::uint32_t TextRecordBytes(std::size_t size) {
  return static_cast<std::uint32_t>(RoundToUnit(sizeof(BlockTextCell) + 1 + size));
}

constexpr auto kNumberRecordBytes = static_cast<std::uint32_t>(RoundToUnit(sizeof(OmNumberCell)));

static_assert(alignof(OmNumberCell) <= kUnit && alignof(BlockTextCell) <= kUnit,
              "cells must fit the blocks' 8-byte units");

// Destroys the cell of the record at record, of a block of texts or numbers,
// and returns the record's size.
std::size_t DestroyRecord(unsigned char* record, bool text) {
  if (text) {
    const std::size_t size = record[sizeof(BlockTextCell)];
    std::launder(reinterpret_cast<BlockTextCell*>(record))->BlockTextCell::~BlockTextCell();
    return TextRecordBytes(size);
  }
  std::launder(reinterpret_cast<OmNumberCell*>(record))->OmNumberCell::~OmNumberCell();
  return kNumberRecordBytes;
}

}  // namespace

OmCellArena::OmCellArena() = default;

OmCellArena::~OmCellArena() {
  NoteUsed(kNumbers);
  NoteUsed(kTexts);
  for (std::size_t b = 0; b < mBlocks.size(); ++b) {
    unsigned char* block = mBlocks[b].get();
    const Fill fill = mFills[b];
    for (std::size_t at = b == 0 ? kUnit : 0; at < fill.used;)
      at += DestroyRecord(block + at, fill.kind == kTexts);
  }
}

void OmCellArena::NoteUsed(Kind kind) {
  const Cursor& cursor = mCursors[kind];
  if (cursor.next != nullptr)
    mFills[cursor.block].used = static_cast<std::uint32_t>(kBlockBytes) - cursor.room;
}

void OmCellArena::StartBlock(Kind kind) {
  // References to blocks past this many would reach the adopted cells'.
  if (mBlocks.size() >= (kAdopted >> kUnitsPerBlockLog2))
    throw std::bad_alloc();
  std::unique_ptr<unsigned char[]> block(new unsigned char[kBlockBytes]);
  // The first unit of the first block holds no cell, so that no cell's
  // reference is 0.
  const auto start = static_cast<std::uint32_t>(mBlocks.empty() ? kUnit : 0);
  mFills.push_back(Fill{start, kind});
  try {
    mBlocks.push_back(std::move(block));
  } catch (...) {
    mFills.pop_back();
    throw;
  }
  NoteUsed(kind);
  Cursor& cursor = mCursors[kind];
  cursor.block = mBlocks.size() - 1;
  cursor.next = mBlocks.back().get() + start;
  cursor.room = static_cast<std::uint32_t>(kBlockBytes) - start;
  cursor.ref = static_cast<Ref>(cursor.block << kUnitsPerBlockLog2 | start >> kUnitLog2);
}

OmCellArena::Ref OmCellArena::AddNumber(double value) {
  Ref ref = 0;
  ::new (Take(kNumbers, kNumberRecordBytes, ref)) OmNumberCell(value);
  return ref;
}

OmCellArena::Ref OmCellArena::AddNumber(double value, int decimals) {
  Ref ref = 0;
  ::new (Take(kNumbers, kNumberRecordBytes, ref)) OmNumberCell(value, decimals);
  return ref;
}

OmCellArena::Ref OmCellArena::AddText(std::string&& text) {
  if (text.size() > kMaxBlockText)
    return Adopt(std::make_unique<OmStringCell>(std::move(text)));
  Ref ref = 0;
  unsigned char* record = Take(kTexts, TextRecordBytes(text.size()), ref);
  ::new (record) BlockTextCell();
  record[sizeof(BlockTextCell)] = static_cast<unsigned char>(text.size());
  std::memcpy(record + sizeof(BlockTextCell) + 1, text.data(), text.size());
  return ref;
}

OmCellArena::Ref OmCellArena::Adopt(std::unique_ptr<OmCellText> cell) {
  assert(cell);
  if (mAdopted.size() >= kAdopted)
    throw std::bad_alloc();
  mAdopted.push_back(std::move(cell));
  return kAdopted | static_cast<Ref>(mAdopted.size() - 1);
}

void OmCellArena::RemoveLast(Ref ref) {
  if ((ref & kAdopted) != 0) {
    assert((ref & ~kAdopted) == mAdopted.size() - 1);
    mAdopted.pop_back();
    return;
  }
  const std::size_t b = ref >> kUnitsPerBlockLog2;
  Cursor& cursor = mCursors[mFills[b].kind];
  assert(cursor.block == b);
  const auto bytes = static_cast<std::uint32_t>(
      DestroyRecord(mBlocks[b].get() + ((ref & kUnitMask) << kUnitLog2), mFills[b].kind == kTexts));
  assert(cursor.ref - ref == bytes >> kUnitLog2);
  cursor.next -= bytes;
  cursor.room += bytes;
  cursor.ref = ref;
}
