// Joining the shortest neighbouring lines of a folded cell, by a direct scan
// for a few lines and by a tournament tree of join candidates for many.
#include "fold/OmLineJoiner.h"

#include <algorithm>
#include <limits>

namespace {

// Inputs up to this many lines are joined by the direct scan, which needs no
// setup and is faster than the tree for them.
constexpr std::size_t kScanLimit = 32;

// A join costs the scan about half a nanosecond per line and the tree some
// thirty per break line after the joined pair (measured), so the tree is
// chosen only while there are fewer break lines than lines / kLinesPerBreak.
constexpr std::size_t kLinesPerBreak = 64;

// Storage above this many entries (a megabyte or so in all) is released by
// Trim(); below it, it is kept for the next cell, since giving it back and
// taking it again costs more than the join of a cell that needed it.
constexpr std::size_t kKeepEntries = 1 << 16;

constexpr std::int64_t kNoCandidate = std::numeric_limits<std::int64_t>::max();

bool IsStrictlyAscendingIndexList(const std::vector<std::int32_t>& list, std::size_t count) {
  std::int64_t previous = -1;
  for (const std::int32_t index : list) {
    if (index <= previous || static_cast<std::size_t>(index) >= count)
      return false;
    previous = index;
  }
  return true;
}

template <typename T>
void ReleaseIfLarge(std::vector<T>& v) {
  if (v.capacity() > kKeepEntries)
    std::vector<T>().swap(v);
}

}  // namespace

// The tree method. Break lines sit at fixed indices while the lines move
// left past them as joins remove lines, so the index space is cut into
// blocks: a slot for every break-line index and a group for each run of
// indices between them (the last group is unbounded). Every block but the
// last one holding lines is full. A join removes one line from a block and
// each later block then hands its first line to the block before it, which
// is all that moving past fixed indices amounts to. Blocks fill in order, so
// a block without lines has none after it either.
//
// The candidate of a line in a group is the line before it plus one plus the
// line itself; the first line of a group after a slot pairs instead with the
// last line of the nearest group before (0 without one), as the scan's
// "previous length" does; the first line overall and the lines in slots are
// no candidates. Candidates sit in a tournament tree keyed by (length, line
// id); line ids grow along the lines, so the smallest id is the earliest
// pair, as the scan's strictly-less rule requires.
struct OmLineJoiner::Queue {
  struct Key {
    std::int64_t length;
    std::int32_t id;
  };

  // Per line id.
  std::vector<std::int64_t> length;
  std::vector<std::int32_t> prev;
  std::vector<std::int32_t> next;
  std::vector<std::int32_t> block;
  // Per block.
  std::vector<std::int32_t> front;
  std::vector<std::int32_t> back;
  std::vector<std::int64_t> count;
  std::vector<char> isSlot;
  std::vector<std::int32_t> prevGroup;
  // Tournament tree: leaves at size + id, the winner at 1.
  std::vector<Key> tree;
  std::size_t size = 0;
  std::vector<std::int32_t> touched;

  static bool Before(const Key& a, const Key& b) {
    return a.length < b.length || (a.length == b.length && a.id < b.id);
  }

  void Setup(const std::vector<std::int64_t>& lengths, const std::vector<std::int32_t>& breaks);
  void AddBlock(bool slot, std::int32_t first, std::int32_t end);
  std::int64_t CandidateOf(std::int32_t id) const;
  void Update(std::int32_t id, std::int64_t value);
  void Refresh(std::int32_t id) {
    if (id >= 0)
      Update(id, CandidateOf(id));
  }
  void JoinPair(std::int32_t x, std::int32_t y);
  void Trim();
};

void OmLineJoiner::Queue::AddBlock(bool slot, std::int32_t first, std::int32_t end) {
  const auto b = static_cast<std::int32_t>(front.size());
  front.push_back(first < end ? first : -1);
  back.push_back(first < end ? end - 1 : -1);
  count.push_back(end - first);
  isSlot.push_back(slot ? 1 : 0);
  for (std::int32_t id = first; id < end; ++id)
    block[static_cast<std::size_t>(id)] = b;
}

void OmLineJoiner::Queue::Setup(const std::vector<std::int64_t>& lengths,
                                const std::vector<std::int32_t>& breaks) {
  const auto n = static_cast<std::int32_t>(lengths.size());
  length.assign(lengths.begin(), lengths.end());
  prev.resize(lengths.size());
  next.resize(lengths.size());
  block.resize(lengths.size());
  for (std::int32_t id = 0; id < n; ++id) {
    prev[static_cast<std::size_t>(id)] = id - 1;
    next[static_cast<std::size_t>(id)] = id + 1 < n ? id + 1 : -1;
  }
  front.clear();
  back.clear();
  count.clear();
  isSlot.clear();
  std::int32_t groupStart = 0;
  for (const std::int32_t slot : breaks) {
    // A group without room can never hold a line; leaving it out keeps runs
    // of break lines as neighbouring slots.
    if (slot > groupStart)
      AddBlock(false, groupStart, slot);
    AddBlock(true, slot, slot + 1);
    groupStart = slot + 1;
  }
  AddBlock(false, groupStart, n);

  const auto blocks = static_cast<std::int32_t>(front.size());
  prevGroup.assign(front.size(), -1);
  std::int32_t lastGroup = -1;
  for (std::int32_t b = 0; b < blocks; ++b) {
    prevGroup[static_cast<std::size_t>(b)] = lastGroup;
    if (!isSlot[static_cast<std::size_t>(b)])
      lastGroup = b;
  }

  size = lengths.size();
  tree.assign(2 * size, Key{kNoCandidate, std::numeric_limits<std::int32_t>::max()});
  for (std::int32_t id = 0; id < n; ++id) {
    tree[size + static_cast<std::size_t>(id)] = Key{CandidateOf(id), id};
  }
  for (std::size_t i = size - 1; i >= 1; --i) {
    const Key& a = tree[2 * i];
    const Key& b = tree[2 * i + 1];
    tree[i] = Before(b, a) ? b : a;
  }
}

std::int64_t OmLineJoiner::Queue::CandidateOf(std::int32_t id) const {
  const auto i = static_cast<std::size_t>(id);
  const std::int32_t b = block[i];
  const auto bi = static_cast<std::size_t>(b);
  if (isSlot[bi])
    return kNoCandidate;
  if (front[bi] != id)
    return length[static_cast<std::size_t>(prev[i])] + 1 + length[i];
  if (b == 0)
    return kNoCandidate;
  const std::int32_t g = prevGroup[bi];
  const std::int64_t before =
      g >= 0 && back[static_cast<std::size_t>(g)] >= 0
          ? length[static_cast<std::size_t>(back[static_cast<std::size_t>(g)])]
          : 0;
  return before + 1 + length[i];
}

void OmLineJoiner::Queue::Update(std::int32_t id, std::int64_t value) {
  std::size_t i = size + static_cast<std::size_t>(id);
  if (tree[i].length == value)
    return;
  tree[i] = Key{value, id};
  // Climb only while the winner of a node changes: most candidates that
  // change are not winners, and their updates stop after a level or two.
  for (i /= 2; i >= 1; i /= 2) {
    const Key& a = tree[2 * i];
    const Key& b = tree[2 * i + 1];
    const Key& winner = Before(b, a) ? b : a;
    if (winner.length == tree[i].length && winner.id == tree[i].id)
      return;
    tree[i] = winner;
  }
}

void OmLineJoiner::Queue::JoinPair(std::int32_t x, std::int32_t y) {
  touched.clear();
  const auto xi = static_cast<std::size_t>(x);
  const auto yi = static_cast<std::size_t>(y);
  length[xi] += 1 + length[yi];
  const std::int32_t after = next[yi];
  next[xi] = after;
  if (after >= 0)
    prev[static_cast<std::size_t>(after)] = x;

  const std::int32_t t = block[yi];
  const auto ti = static_cast<std::size_t>(t);
  --count[ti];
  if (front[ti] == y)
    front[ti] = count[ti] > 0 ? after : -1;
  if (back[ti] == y)
    back[ti] = count[ti] > 0 ? x : -1;
  Update(y, kNoCandidate);

  // Every later block hands its first line to the block before it, up to
  // the last block holding lines.
  const auto blocks = static_cast<std::int32_t>(front.size());
  std::int32_t u = t + 1;
  for (; u < blocks; ++u) {
    const auto ui = static_cast<std::size_t>(u);
    const auto pi = ui - 1;
    if (count[ui] == 0)
      break;
    const std::int32_t moved = front[ui];
    --count[ui];
    front[ui] = count[ui] > 0 ? next[static_cast<std::size_t>(moved)] : -1;
    if (count[ui] == 0)
      back[ui] = -1;
    block[static_cast<std::size_t>(moved)] = u - 1;
    if (count[pi] == 0)
      front[pi] = moved;
    back[pi] = moved;
    ++count[pi];
    touched.push_back(moved);
  }

  // Candidates change for the moved lines, the new first lines of blocks,
  // and the lines after x, whose length changed. The first line of a group
  // also pairs with the last line of the group before; when that last line
  // changes, the cascade has passed through the later group too (or it has
  // no lines), so its first line is among the new first lines.
  touched.push_back(x);
  touched.push_back(after);
  for (std::int32_t b = t; b < u && b < blocks; ++b)
    touched.push_back(front[static_cast<std::size_t>(b)]);
  for (const std::int32_t id : touched)
    Refresh(id);
}

void OmLineJoiner::Queue::Trim() {
  ReleaseIfLarge(length);
  ReleaseIfLarge(prev);
  ReleaseIfLarge(next);
  ReleaseIfLarge(block);
  ReleaseIfLarge(front);
  ReleaseIfLarge(back);
  ReleaseIfLarge(count);
  ReleaseIfLarge(isSlot);
  ReleaseIfLarge(prevGroup);
  ReleaseIfLarge(tree);
  ReleaseIfLarge(touched);
}

OmLineJoiner::OmLineJoiner() = default;
OmLineJoiner::~OmLineJoiner() = default;

std::int64_t OmLineJoiner::Join(const std::vector<std::int64_t>& lengths,
                                const std::vector<std::int32_t>& breakLines, std::int32_t rows,
                                std::int32_t widthRestriction, std::int64_t width, Method method) {
  const std::size_t n = lengths.size();
  const auto b = static_cast<std::int64_t>(breakLines.size());
  std::int64_t excess = static_cast<std::int64_t>(n) - b;
  if (excess <= rows) {
    // Nothing to join, the common case: every line stays as it is.
    mStarts.resize(n);
    for (std::size_t i = 0; i < n; ++i)
      mStarts[i] = static_cast<std::int32_t>(i);
    mLengths.assign(lengths.begin(), lengths.end());
    return width;
  }
  const bool scanIsCheaper = n <= kScanLimit || (breakLines.size() + 1) * kLinesPerBreak > n;
  const bool useScan = method == Method::Scan || (method == Method::Auto && scanIsCheaper) ||
                       n < 2 || !IsStrictlyAscendingIndexList(breakLines, n);
  if (useScan)
    return JoinByScan(lengths, breakLines, rows, widthRestriction, width);

  if (!mQueue)
    mQueue = std::make_unique<Queue>();
  Queue& q = *mQueue;
  q.Setup(lengths, breakLines);
  std::int64_t result = width;
  std::int64_t current = static_cast<std::int64_t>(n);
  while (excess > rows) {
    const Queue::Key best = q.tree[1];
    std::int32_t x = 0;
    std::int32_t y = 0;
    std::int64_t joined = best.length;
    if (joined == kNoCandidate) {
      // Only reachable with rows below 1; see the header.
      if (current < 2)
        break;
      y = q.next[0];
      joined = 0;
    } else {
      y = best.id;
      x = q.prev[static_cast<std::size_t>(y)];
    }
    if (widthRestriction != -1 && joined > widthRestriction)
      break;
    q.JoinPair(x, y);
    --current;
    --excess;
    result = joined;
  }
  mStarts.clear();
  mLengths.clear();
  for (std::int32_t id = 0; id >= 0; id = q.next[static_cast<std::size_t>(id)]) {
    mStarts.push_back(id);
    mLengths.push_back(q.length[static_cast<std::size_t>(id)]);
  }
  return result;
}

std::int64_t OmLineJoiner::JoinByScan(const std::vector<std::int64_t>& lengths,
                                      const std::vector<std::int32_t>& breakLines,
                                      std::int32_t rows, std::int32_t widthRestriction,
                                      std::int64_t width) {
  const std::size_t n = lengths.size();
  const std::size_t b = breakLines.size();
  mStarts.resize(n);
  for (std::size_t i = 0; i < n; ++i)
    mStarts[i] = static_cast<std::int32_t>(i);
  mLengths.assign(lengths.begin(), lengths.end());
  std::int64_t excess = static_cast<std::int64_t>(n) - static_cast<std::int64_t>(b);
  std::int64_t result = width;
  while (excess > rows) {
    const std::size_t current = mLengths.size();
    std::int64_t best = 0;
    std::size_t at = 0;
    std::size_t q = 0;
    std::int64_t prevLength = 0;
    for (std::size_t j = 0; j < current; ++j) {
      if (b > 0 && static_cast<std::int64_t>(breakLines[q]) == static_cast<std::int64_t>(j)) {
        if (q + 1 < b)
          ++q;
        continue;
      }
      const std::int64_t lj = mLengths[j];
      if (j > 0) {
        const std::int64_t candidate = prevLength + 1 + lj;
        if (best == 0 || candidate < best) {
          best = candidate;
          at = j - 1;
        }
      }
      prevLength = lj;
    }
    // With one line left there is no pair to join (only with rows below 1).
    if (best == 0 && current < 2)
      break;
    if (widthRestriction != -1 && best > widthRestriction)
      break;
    mLengths[at] += 1 + mLengths[at + 1];
    mLengths.erase(mLengths.begin() + static_cast<std::ptrdiff_t>(at + 1));
    mStarts.erase(mStarts.begin() + static_cast<std::ptrdiff_t>(at + 1));
    --excess;
    result = best;
  }
  return result;
}

void OmLineJoiner::Trim() {
  ReleaseIfLarge(mStarts);
  ReleaseIfLarge(mLengths);
  if (mQueue)
    mQueue->Trim();
}
