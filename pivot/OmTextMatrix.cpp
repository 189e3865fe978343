// The text matrix of a formatted layer.
//
// A piece's reference is 40 bits, kept in 5 bytes: 0 for an empty piece;
// with bit 39 set, the index of a location; otherwise the block (13 bits),
// the offset in the block (20 bits) and the length (6 bits) of its text. A
// location is 64 bits: with the top bit set, the index of a large piece;
// otherwise the block (22 bits), the offset (20 bits) and the length (21
// bits).
#include "pivot/OmTextMatrix.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

namespace {

constexpr std::uint64_t kLargeFlag = std::uint64_t{1} << 63;
constexpr int kOffsetShift = 21;
constexpr int kBlockShift = 41;
constexpr std::uint64_t kLengthMask = (std::uint64_t{1} << kOffsetShift) - 1;
constexpr std::uint64_t kOffsetMask = (std::uint64_t{1} << (kBlockShift - kOffsetShift)) - 1;
constexpr std::size_t kMaxBlocks = std::size_t{1} << (63 - kBlockShift);

constexpr std::uint64_t kLocatedFlag = std::uint64_t{1} << 39;
constexpr int kRefOffsetShift = 6;
constexpr int kRefBlockShift = 26;
constexpr std::uint64_t kRefLengthMask = (std::uint64_t{1} << kRefOffsetShift) - 1;
constexpr std::uint64_t kRefBlocks = std::uint64_t{1} << (39 - kRefBlockShift);

// Blocks start small, so that a small layer costs little, and double up to
// the largest size an offset can address.
constexpr std::size_t kFirstBlock = 4096;
constexpr std::size_t kLastBlock = std::size_t{1} << (kBlockShift - kOffsetShift);
// Pieces longer than this are kept on their own.
constexpr std::size_t kLargePiece = std::size_t{1} << 16;

// Line records per chunk of the piece table. Within a chunk, records are
// kept in tiles of up to 64, column by column: filling a column walks a
// tile's references of that column side by side, not a record apart.
constexpr std::size_t kChunkRecords = 4096;
constexpr std::size_t kMaxTileShift = 6;
constexpr std::size_t kMaxRecords = std::numeric_limits<std::uint32_t>::max();

}  // namespace

OmTextMatrix::OmTextMatrix() = default;
OmTextMatrix::~OmTextMatrix() = default;

void OmTextMatrix::Resize(std::size_t lines, std::size_t columns) {
  if (lines > kMaxRecords)
    throw std::bad_alloc();
  if (columns != 0 && lines > std::numeric_limits<std::size_t>::max() / kRefBytes / columns) {
    throw std::bad_alloc();
  }
  // The first chunk and the largest block stay for the new pieces, so that
  // a matrix sized again and again for windows of a layer reuses its memory.
  mChunks.resize(std::min<std::size_t>(mChunks.size(), 1));
  if (!mChunks.empty())
    mChunks.front().clear();
  mRecords = 0;
  mOrder.clear();
  mGapStart = 0;
  mGapSize = 0;
  if (!mBlocks.empty()) {
    std::swap(mBlocks.front(), mBlocks.back());
    mBlocks.resize(1);
    mBlockBytes = mBlockSize;
  }
  mBlockUsed = 0;
  mLarge.clear();
  mLargeBytes = 0;
  mLocations.clear();
  mColumns = columns;
  // A short matrix takes short tiles, so that it holds little more than
  // its own lines.
  mTileShift = 0;
  while (mTileShift < kMaxTileShift && (std::size_t{1} << mTileShift) < lines)
    ++mTileShift;
  mRecent.assign(2 * columns, 0);
  NewRecords(lines);
  mOrder.resize(lines);
  for (std::size_t i = 0; i < lines; ++i)
    mOrder[i] = static_cast<std::uint32_t>(i);
}

std::uint32_t OmTextMatrix::NewRecords(std::size_t count) {
  if (count > kMaxRecords - mRecords)
    throw std::bad_alloc();
  const auto first = static_cast<std::uint32_t>(mRecords);
  if (mColumns != 0) {
    const std::size_t tileBytes = (std::size_t{1} << mTileShift) * kRefBytes * mColumns;
    std::size_t left = count;
    while (left > 0) {
      const std::size_t chunkIndex = mRecords / kChunkRecords;
      if (chunkIndex >= mChunks.size())
        mChunks.emplace_back();
      std::vector<unsigned char>& chunk = mChunks[chunkIndex];
      const std::size_t within = mRecords % kChunkRecords;
      const std::size_t take = std::min(left, kChunkRecords - within);
      const std::size_t tiles = ((within + take - 1) >> mTileShift) + 1;
      if (chunk.size() < tiles * tileBytes)
        chunk.resize(tiles * tileBytes, 0);
      left -= take;
      mRecords += take;
    }
  } else {
    mRecords += count;
  }
  return first;
}

unsigned char* OmTextMatrix::Slot(std::size_t line, std::size_t column) {
  return const_cast<unsigned char*>(static_cast<const OmTextMatrix*>(this)->Slot(line, column));
}

const unsigned char* OmTextMatrix::Slot(std::size_t line, std::size_t column) const {
  if (line >= NumLines() || column >= mColumns)
    return nullptr;
  const std::size_t record = mOrder[line < mGapStart ? line : line + mGapSize];
  const std::size_t within = record % kChunkRecords;
  const std::size_t tileMask = (std::size_t{1} << mTileShift) - 1;
  return &mChunks[record / kChunkRecords]
                 [((((within >> mTileShift) * mColumns + column) << mTileShift) +
                   (within & tileMask)) *
                  kRefBytes];
}

std::string_view OmTextMatrix::Text(Ref ref) const {
  if (ref == 0)
    return {};
  if ((ref & kLocatedFlag) != 0) {
    return LocatedText(mLocations[static_cast<std::size_t>(ref & ~kLocatedFlag)]);
  }
  const char* block = mBlocks[static_cast<std::size_t>(ref >> kRefBlockShift)].get();
  return {block + ((ref >> kRefOffsetShift) & kOffsetMask),
          static_cast<std::size_t>(ref & kRefLengthMask)};
}

std::string_view OmTextMatrix::LocatedText(Location location) const {
  if ((location & kLargeFlag) != 0) {
    return mLarge[static_cast<std::size_t>(location & ~kLargeFlag)];
  }
  const char* block = mBlocks[static_cast<std::size_t>(location >> kBlockShift)].get();
  return {block + ((location >> kOffsetShift) & kOffsetMask),
          static_cast<std::size_t>(location & kLengthMask)};
}

OmTextMatrix::Ref OmTextMatrix::Allocate(std::string_view text) {
  const Location location = Place(text);
  const std::uint64_t block = location >> kBlockShift;
  const std::uint64_t length = location & kLengthMask;
  if ((location & kLargeFlag) == 0 && length <= kRefLengthMask && block < kRefBlocks) {
    return (block << kRefBlockShift) |
           (((location >> kOffsetShift) & kOffsetMask) << kRefOffsetShift) | length;
  }
  if (mLocations.size() >= kLocatedFlag)
    throw std::bad_alloc();
  mLocations.push_back(location);
  return kLocatedFlag | (mLocations.size() - 1);
}

OmTextMatrix::Location OmTextMatrix::Place(std::string_view text) {
  const std::size_t size = text.size();
  if (size > kLargePiece) {
    mLarge.emplace_back(text);
    mLargeBytes += size;
    return kLargeFlag | (mLarge.size() - 1);
  }
  if (mBlocks.empty() || size > mBlockSize - mBlockUsed) {
    if (mBlocks.size() >= kMaxBlocks)
      throw std::bad_alloc();
    const std::size_t blockSize =
        std::max(mBlocks.empty() ? kFirstBlock : std::min(2 * mBlockSize, kLastBlock), size);
    mBlocks.emplace_back(new char[blockSize]);
    mBlockSize = blockSize;
    mBlockUsed = 0;
    mBlockBytes += blockSize;
  }
  const std::size_t block = mBlocks.size() - 1;
  std::memcpy(mBlocks.back().get() + mBlockUsed, text.data(), size);
  const Location location = (static_cast<Location>(block) << kBlockShift) |
                            (static_cast<Location>(mBlockUsed) << kOffsetShift) |
                            static_cast<Location>(size);
  mBlockUsed += size;
  return location;
}

OmTextMatrix::Ref OmTextMatrix::Store(std::size_t column, std::string_view text) {
  if (text.empty())
    return 0;
  Ref* recent = &mRecent[2 * column];
  if (recent[0] != 0 && Text(recent[0]) == text)
    return recent[0];
  if (recent[1] != 0 && Text(recent[1]) == text) {
    std::swap(recent[0], recent[1]);
    return recent[0];
  }
  const Ref ref = Allocate(text);
  recent[1] = recent[0];
  recent[0] = ref;
  return ref;
}

std::string_view OmTextMatrix::Piece(std::size_t line, std::size_t column) const {
  const unsigned char* slot = Slot(line, column);
  return slot != nullptr ? Text(LoadRef(slot)) : std::string_view();
}

std::size_t OmTextMatrix::PieceSize(std::size_t line, std::size_t column) const {
  return Piece(line, column).size();
}

void OmTextMatrix::SetPiece(std::size_t line, std::size_t column, std::string_view text) {
  if (unsigned char* slot = Slot(line, column))
    StoreRef(slot, Store(column, text));
}

void OmTextMatrix::AppendToPiece(std::size_t line, std::size_t column, std::string_view text) {
  unsigned char* slot = Slot(line, column);
  if (slot == nullptr || text.empty())
    return;
  const Ref ref = LoadRef(slot);
  if (ref == 0) {
    StoreRef(slot, Store(column, text));
    return;
  }
  // Stored text never changes (other pieces may share it): the joined text
  // is stored anew.
  std::string joined(Text(ref));
  joined.append(text);
  StoreRef(slot, Store(column, joined));
}

void OmTextMatrix::ClearPiece(std::size_t line, std::size_t column) {
  if (unsigned char* slot = Slot(line, column))
    StoreRef(slot, 0);
}

void OmTextMatrix::MoveGap(std::size_t to) {
  if (mGapSize != 0) {
    std::uint32_t* order = mOrder.data();
    if (to < mGapStart) {
      std::memmove(order + to + mGapSize, order + to, (mGapStart - to) * sizeof(std::uint32_t));
    } else if (to > mGapStart) {
      std::memmove(order + mGapStart, order + mGapStart + mGapSize,
                   (to - mGapStart) * sizeof(std::uint32_t));
    }
  }
  mGapStart = to;
}

void OmTextMatrix::InsertLines(std::size_t at, std::size_t count) {
  if (count == 0)
    return;
  const std::size_t lines = NumLines();
  at = std::min(at, lines);
  if (count > kMaxRecords - mRecords)
    throw std::bad_alloc();
  if (count > mGapSize) {
    // A new gap with room for half as many lines again, so that a long run
    // of insertions rebuilds the order only now and then.
    const std::size_t gap = count + std::max<std::size_t>(lines / 2, 16);
    std::vector<std::uint32_t> order(lines + gap);
    for (std::size_t i = 0; i < lines; ++i) {
      order[i < at ? i : i + gap] = mOrder[i < mGapStart ? i : i + mGapSize];
    }
    mOrder.swap(order);
    mGapStart = at;
    mGapSize = gap;
  } else {
    MoveGap(at);
  }
  const std::uint32_t first = NewRecords(count);
  for (std::size_t i = 0; i < count; ++i) {
    mOrder[mGapStart + i] = first + static_cast<std::uint32_t>(i);
  }
  mGapStart += count;
  mGapSize -= count;
}

void OmTextMatrix::AppendLine(std::size_t line, std::string& out) const {
  const unsigned char* slot = Slot(line, 0);
  if (slot == nullptr)
    return;
  // Sized first and then copied into: most pieces are a few bytes, and
  // appending them one by one costs more than the bytes themselves.
  const std::size_t step = kRefBytes << mTileShift;
  std::size_t size = 0;
  for (std::size_t c = 0; c < mColumns; ++c) {
    const Ref ref = LoadRef(slot + c * step);
    size += (ref & kLocatedFlag) == 0 ? static_cast<std::size_t>(ref & kRefLengthMask)
                                      : Text(ref).size();
  }
  const std::size_t start = out.size();
  out.resize(start + size);
  char* to = &out[start];
  for (std::size_t c = 0; c < mColumns; ++c) {
    const std::string_view text = Text(LoadRef(slot + c * step));
    // An empty piece has no bytes to copy from, not even a pointer.
    if (text.empty())
      continue;
    std::memcpy(to, text.data(), text.size());
    to += text.size();
  }
}

std::size_t OmTextMatrix::MemoryUsage() const {
  std::size_t bytes = mOrder.capacity() * sizeof(std::uint32_t) + mRecent.capacity() * sizeof(Ref);
  for (const std::vector<unsigned char>& chunk : mChunks)
    bytes += chunk.capacity();
  return bytes + mBlockBytes + mLargeBytes + mLocations.size() * sizeof(Location) +
         mBlocks.capacity() * sizeof(mBlocks[0]);
}
