// The cells of one pivot table, named by 32-bit references so that the cell
// store keeps 4 bytes a slot rather than a pointer. Cells the table makes
// (numbers and short texts) are packed into 64 KiB blocks; a short text
// costs 24 bytes or so with no heap block of its own. Cells given to the
// table are kept as given. The arena owns all of them.
#pragma once

#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "host/output/OmCellText.h"

class OmCellArena {
 public:
  // Names a cell of this arena; 0 names none.
  using Ref = std::uint32_t;

  OmCellArena();
  OmCellArena(const OmCellArena&) = delete;
  OmCellArena& operator=(const OmCellArena&) = delete;
  ~OmCellArena();

  // Each makes (or takes) a cell and returns its reference. They throw
  // std::bad_alloc when memory or references run out; the arena is then
  // unchanged (AddText and Adopt may have taken their argument).
  Ref AddNumber(double value);
  Ref AddNumber(double value, int decimals);
  Ref AddText(std::string&& text);
  Ref Adopt(std::unique_ptr<OmCellText> cell);
  // Destroys the cell added last, whose reference is ref: a cell the store
  // refused leaves no trace.
  void RemoveLast(Ref ref);

  // The text of the cell ref names when AddText kept it in a block, valid
  // as long as the cell; otherwise an empty view whose data() is null. Reads
  // the text without a virtual call or a string of its own.
  std::string_view BlockText(Ref ref) const {
    if ((ref & kAdopted) != 0 || mFills[ref >> kUnitsPerBlockLog2].kind != kTexts)
      return std::string_view();
    const unsigned char* length = mBlocks[ref >> kUnitsPerBlockLog2].get() +
                                  (static_cast<std::size_t>(ref & kUnitMask) << kUnitLog2) +
                                  sizeof(OmCellText);
    return std::string_view(reinterpret_cast<const char*>(length + 1), *length);
  }

  // The cell ref names; ref must be one this arena returned.
  OmCellText& At(Ref ref) const {
    if ((ref & kAdopted) != 0)
      return *mAdopted[ref & ~kAdopted];
    unsigned char* record = mBlocks[ref >> kUnitsPerBlockLog2].get() +
                            (static_cast<std::size_t>(ref & kUnitMask) << kUnitLog2);
    // Every cell made here derives from OmCellText alone, so the base sits
    // where the cell was made.
    return *std::launder(reinterpret_cast<OmCellText*>(record));
  }

 private:
  // Records start on 8-byte units; a reference counts units from the first
  // block's start, or, with its top bit set, indexes the adopted cells.
  static constexpr int kUnitLog2 = 3;
  static constexpr int kUnitsPerBlockLog2 = 13;
  static constexpr std::size_t kBlockBytes = std::size_t{1} << (kUnitLog2 + kUnitsPerBlockLog2);
  static constexpr Ref kUnitMask = (Ref{1} << kUnitsPerBlockLog2) - 1;
  static constexpr Ref kAdopted = Ref{1} << 31;

  enum Kind { kNumbers, kTexts, kKinds };
  // Where the next record of a kind goes in the block it is filling.
  struct Cursor {
    unsigned char* next = nullptr;
    std::uint32_t room = 0;
    std::size_t block = 0;
    Ref ref = 0;
  };

  // Room for bytes (a multiple of the unit, at most a block) in the block
  // kind is filling: the record's address, and its reference in ref.
  unsigned char* Take(Kind kind, std::uint32_t bytes, Ref& ref) {
    Cursor& cursor = mCursors[kind];
    if (cursor.room < bytes)
      StartBlock(kind);
    unsigned char* record = cursor.next;
    ref = cursor.ref;
    cursor.next += bytes;
    cursor.room -= bytes;
    cursor.ref += bytes >> kUnitLog2;
    return record;
  }
  // Gives kind a new block. Throws std::bad_alloc, changing nothing.
  void StartBlock(Kind kind);
  // Records in mFills how far the block kind is filling is filled.
  void NoteUsed(Kind kind);

  struct Fill {
    std::uint32_t used;
    Kind kind;
  };

  std::vector<std::unique_ptr<unsigned char[]>> mBlocks;
  // Parallel to mBlocks: how far each is filled (for the blocks being
  // filled, as of their last NoteUsed) and with which kind.
  std::vector<Fill> mFills;
  Cursor mCursors[kKinds];
  std::vector<std::unique_ptr<OmCellText>> mAdopted;
};
