// The planned text of a formatted layer: lines of pieces, one piece per
// matrix column. Every piece is finished (padded and closed by its
// separator) before printing, so printing a line only joins its pieces.
//
// Made for layers of millions of lines. Piece text lives in large shared
// blocks and never moves once stored; a piece equal to one of the last two
// stored in its column is stored once (separator rules and blank
// continuations repeat down a column). Beside the text it alone holds, a
// piece costs 5 bytes, and 8 more when it is longer than 63 bytes (shared
// with the pieces that repeat it). Lines are inserted through a gap kept in
// the line order: a run of insertions at increasing positions costs time in
// proportion to the lines passed over, not to the lines below each one.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

class OmTextMatrix {
 public:
  OmTextMatrix();
  ~OmTextMatrix();
  OmTextMatrix(const OmTextMatrix&) = delete;
  OmTextMatrix& operator=(const OmTextMatrix&) = delete;

  // Makes lines x columns empty pieces, dropping what was there. Throws
  // std::bad_alloc when that many pieces cannot be held.
  void Resize(std::size_t lines, std::size_t columns);
  std::size_t NumLines() const { return mOrder.size() - mGapSize; }
  std::size_t NumColumns() const { return mColumns; }

  // The piece at (line, column); empty outside the matrix. The view stays
  // valid until the matrix is resized or destroyed, whatever else changes.
  std::string_view Piece(std::size_t line, std::size_t column) const;
  // The byte length of the piece at (line, column); 0 outside the matrix.
  std::size_t PieceSize(std::size_t line, std::size_t column) const;

  // Replaces, extends or empties the piece at (line, column). Outside the
  // matrix they do nothing. text may be a view of a piece of this matrix.
  void SetPiece(std::size_t line, std::size_t column, std::string_view text);
  void AppendToPiece(std::size_t line, std::size_t column, std::string_view text);
  void ClearPiece(std::size_t line, std::size_t column);

  // The stored text of a piece, to give another piece of the same column
  // the same text without storing or comparing it again; 0 for an empty
  // piece. Valid until the matrix is resized.
  using PieceId = std::uint64_t;
  // Where a piece is kept, found once for several calls on the same piece;
  // null outside the matrix. Valid until lines are inserted or the matrix
  // is resized.
  using Spot = unsigned char*;
  Spot SpotOf(std::size_t line, std::size_t column) { return Slot(line, column); }
  static bool IsEmptyAt(Spot spot) { return spot == nullptr || LoadRef(spot) == 0; }
  static PieceId IdAt(Spot spot) { return spot != nullptr ? LoadRef(spot) : 0; }
  static void SetPieceIdAt(Spot spot, PieceId id) {
    if (spot != nullptr)
      StoreRef(spot, id);
  }

  // Inserts count lines of empty pieces before line at; an at past the end
  // appends them. Throws std::bad_alloc beyond 2^32 - 1 lines in all.
  void InsertLines(std::size_t at, std::size_t count);

  // Appends the pieces of a line, in column order, to out; nothing for a
  // line outside the matrix.
  void AppendLine(std::size_t line, std::string& out) const;

  // The bytes of storage the matrix holds (text blocks, pieces, line order).
  std::size_t MemoryUsage() const;

 private:
  // A piece's reference (40 bits, see the .cpp) and a text location.
  using Ref = std::uint64_t;
  using Location = std::uint64_t;
  // A reference is kept in five bytes, low byte first. Written out byte by
  // byte so that the compiler makes one load or store of each, in any byte
  // order; here, so that callers of the Spot functions inline them.
  static constexpr std::size_t kRefBytes = 5;
  static Ref LoadRef(const unsigned char* slot) {
    return Ref{slot[0]} | Ref{slot[1]} << 8 | Ref{slot[2]} << 16 | Ref{slot[3]} << 24 |
           Ref{slot[4]} << 32;
  }
  static void StoreRef(unsigned char* slot, Ref ref) {
    slot[0] = static_cast<unsigned char>(ref);
    slot[1] = static_cast<unsigned char>(ref >> 8);
    slot[2] = static_cast<unsigned char>(ref >> 16);
    slot[3] = static_cast<unsigned char>(ref >> 24);
    slot[4] = static_cast<unsigned char>(ref >> 32);
  }

  unsigned char* Slot(std::size_t line, std::size_t column);
  const unsigned char* Slot(std::size_t line, std::size_t column) const;
  std::string_view Text(Ref ref) const;
  std::string_view LocatedText(Location location) const;
  // Stores text for a piece of column and returns its reference, reusing a
  // recent piece of the column with the same bytes.
  Ref Store(std::size_t column, std::string_view text);
  Ref Allocate(std::string_view text);
  Location Place(std::string_view text);
  // Makes count new line records of empty pieces; returns the first one's id.
  std::uint32_t NewRecords(std::size_t count);
  void MoveGap(std::size_t to);

  std::size_t mColumns = 0;
  // Line records in the order they were made, mColumns references each,
  // in chunks so that growth never copies the whole table.
  std::vector<std::vector<unsigned char>> mChunks;
  std::size_t mRecords = 0;
  // Records per tile, as a power of two (see the .cpp).
  std::size_t mTileShift = 0;
  // The record of each line, with a gap of mGapSize unused entries at
  // mGapStart where insertions go.
  std::vector<std::uint32_t> mOrder;
  std::size_t mGapStart = 0;
  std::size_t mGapSize = 0;
  // Text storage: blocks that fill up in turn, and pieces too large for a
  // block each on their own.
  std::vector<std::unique_ptr<char[]>> mBlocks;
  std::size_t mBlockSize = 0;
  std::size_t mBlockUsed = 0;
  std::size_t mBlockBytes = 0;
  std::deque<std::string> mLarge;
  std::size_t mLargeBytes = 0;
  // The locations of pieces whose reference cannot hold their text's.
  std::deque<Location> mLocations;
  // The two pieces last stored in each column.
  std::vector<Ref> mRecent;
};
