// Joining the shortest neighbouring lines of a folded cell, by a direct scan
// for a few lines and by trees of join candidates or of their bounds for many.
#include "fold/OmLineJoiner.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <utility>

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

// The cycle method: the longest period it looks for, the first position
// where the pattern may start (late enough for every pairing distance), and
// the most positions outside the pattern that each join looks at directly.
constexpr std::int64_t kMaxPeriod = 8;
constexpr std::int64_t kCyclePrefix = 2 * kMaxPeriod;
constexpr std::int64_t kMaxDirect = 512;

// The bound method: the farthest pairing distance that gets a kind of its
// own (more kinds give tighter bounds but cost each join more).
constexpr std::int64_t kMaxNear = 12;
constexpr std::int32_t kNoBound = std::numeric_limits<std::int32_t>::max();
constexpr std::size_t kPhases = 8;

bool IsStrictlyAscendingIndexList(const std::vector<std::int32_t>& list, std::size_t count) {
  std::int64_t previous = -1;
  for (const std::int32_t index : list) {
    if (index <= previous || static_cast<std::size_t>(index) >= count)
      return false;
    previous = index;
  }
  return true;
}

// Whether every join of the lines fits in 32 bits (below the largest value,
// which marks "none"): a joined line is never longer than all lines and
// blanks together.
bool JoinsFitIn32Bits(const std::vector<std::int64_t>& lengths) {
  auto total = static_cast<std::int64_t>(lengths.size());
  for (const std::int64_t l : lengths) {
    if (l < 0)
      return false;
    total += l;
    if (total >= std::numeric_limits<std::int32_t>::max())
      return false;
  }
  return true;
}

// The scan's step: the shortest join of the lines (the earliest among
// equals), with at the index of the line joined onto; 0 when no pair is a
// candidate.
std::int64_t ShortestJoin(const std::vector<std::int64_t>& lengths,
                          const std::vector<std::int32_t>& breakLines, std::size_t& at) {
  const std::size_t b = breakLines.size();
  std::int64_t best = 0;
  at = 0;
  std::size_t q = 0;
  std::int64_t prevLength = 0;
  for (std::size_t j = 0; j < lengths.size(); ++j) {
    if (b > 0 && static_cast<std::int64_t>(breakLines[q]) == static_cast<std::int64_t>(j)) {
      if (q + 1 < b)
        ++q;
      continue;
    }
    const std::int64_t lj = lengths[j];
    if (j > 0) {
      const std::int64_t candidate = prevLength + 1 + lj;
      if (best == 0 || candidate < best) {
        best = candidate;
        at = j - 1;
      }
    }
    prevLength = lj;
  }
  return best;
}

// Lines of the given lengths, linked in order by prev and next (-1 at the
// ends). Returns the leaves of a tree over them: the least power of two not
// below their number.
std::size_t LinkLines(const std::vector<std::int64_t>& lengths, std::vector<std::int64_t>& length,
                      std::vector<std::int32_t>& prev, std::vector<std::int32_t>& next) {
  const std::size_t n = lengths.size();
  length.assign(lengths.begin(), lengths.end());
  prev.resize(n);
  next.resize(n);
  for (std::size_t i = 0; i < n; ++i) {
    prev[i] = static_cast<std::int32_t>(i) - 1;
    next[i] = i + 1 < n ? static_cast<std::int32_t>(i + 1) : -1;
  }
  std::size_t size = 1;
  while (size < n)
    size *= 2;
  return size;
}

// The line at a rank, in a tree that counts the lines under each node
// (leaves at size + line id).
std::int32_t LineAtRank(const std::vector<std::int32_t>& count, std::size_t size,
                        std::int64_t rank) {
  std::size_t node = 1;
  while (node < size) {
    if (count[2 * node] > rank) {
      node = 2 * node;
    } else {
      rank -= count[2 * node];
      node = 2 * node + 1;
    }
  }
  return static_cast<std::int32_t>(node - size);
}

template <typename T>
void ReleaseIfLarge(std::vector<T>& v) {
  if (v.capacity() > kKeepEntries)
    std::vector<T>().swap(v);
}

// Joins line y onto x, the line before it, in lines linked by prev and
// next: x takes y's length and a joining blank, and y leaves the list.
// Returns the line after y, or -1.
std::int32_t Splice(std::vector<std::int64_t>& length, std::vector<std::int32_t>& prev,
                    std::vector<std::int32_t>& next, std::int32_t x, std::int32_t y) {
  const auto yi = static_cast<std::size_t>(y);
  length[static_cast<std::size_t>(x)] += 1 + length[yi];
  const std::int32_t after = next[yi];
  next[static_cast<std::size_t>(x)] = after;
  if (after >= 0)
    prev[static_cast<std::size_t>(after)] = x;
  return after;
}

// The join loop of the tree methods over their linked lines (next, prev,
// length, JoinPair). best(current) names the line to join onto the one
// before it and the joined length, or line -1 when no pair is a candidate:
// then the first two lines join with length 0, as the scan does, and with
// one line left joining stops. Lists the lines left in starts and lengths
// and returns the last join's length, or width without a join.
template <typename Lines, typename Best>
std::int64_t JoinLines(Lines& lines, std::int64_t current, std::int64_t excess, std::int32_t rows,
                       std::int32_t widthRestriction, std::int64_t width, Best best,
                       std::vector<std::int32_t>& starts, std::vector<std::int64_t>& lengths) {
  std::int64_t result = width;
  while (excess > rows) {
    auto [y, joined] = best(current);
    std::int32_t x = 0;
    if (y < 0) {
      if (current < 2)
        break;
      y = lines.next[0];
    } else {
      x = lines.prev[static_cast<std::size_t>(y)];
    }
    if (widthRestriction != -1 && joined > widthRestriction)
      break;
    lines.JoinPair(x, y);
    --current;
    --excess;
    result = joined;
  }
  starts.clear();
  lengths.clear();
  for (std::int32_t id = 0; id >= 0; id = lines.next[static_cast<std::size_t>(id)]) {
    starts.push_back(id);
    lengths.push_back(lines.length[static_cast<std::size_t>(id)]);
  }
  return result;
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
  const auto yi = static_cast<std::size_t>(y);
  const std::int32_t after = Splice(length, prev, next, x, y);

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

// The cycle method, for break lines that repeat: over a long run of
// positions (from first up to stop), whether a position is a break line and
// how far back its pairing line lies repeat with a period p of at most
// kMaxPeriod. A line's candidate there depends only on the line, its p
// predecessors and its rank modulo p, however far earlier joins have moved
// it. A segment tree over the line ids keeps, for each node and residue r,
// the smallest candidate among the node's lines when its first line stands
// on a position of residue r; the children combine by shifting the right
// one's residue by the left one's line count. A join changes the leaves of
// the joined line and the p lines after it. The few positions before and
// after the run, up to the one after the last break line, are looked at
// directly; past that every position pairs with the one before it (the
// uniform candidate). Keys are (length << 32 | line id), so the smallest key
// is the shortest join and, among equal ones, the earliest.
struct OmLineJoiner::Cycle {
  using Key = std::uint64_t;
  static constexpr Key kNone = std::numeric_limits<Key>::max();

  std::size_t period = 0;
  std::int64_t first = 0;           // the positions where the pattern repeats:
  std::int64_t stop = 0;            // from first up to stop
  std::int64_t end = 0;             // one past the last break line
  std::vector<std::int32_t> types;  // per residue: 0 break line, else pairing distance
  std::vector<char> isBreak;        // per position
  std::vector<std::int32_t> pairs;  // per position: the position it pairs with, or -1
  std::vector<std::int64_t> length;
  std::vector<std::int32_t> prev;
  std::vector<std::int32_t> next;
  std::vector<char> alive;
  std::size_t size = 0;  // leaves of the tree, a power of two
  std::vector<std::int32_t> count;
  std::vector<Key> byResidue;  // node * period + residue
  std::vector<Key> uniform;
  std::vector<std::int32_t> ids;  // lines looked at directly, by position

  bool Setup(const std::vector<std::int64_t>& lengths, const std::vector<std::int32_t>& breaks);
  Key Candidate(std::int32_t id, std::int32_t distance) const;
  void Pull(std::size_t node);
  void Refresh(std::int32_t id);
  std::int32_t LineAt(std::int64_t rank) const;
  Key Query(std::size_t node, std::int64_t start, std::int64_t lo, std::int64_t hi,
            bool periodic) const;
  Key Best(std::int64_t current);
  void JoinPair(std::int32_t x, std::int32_t y);
  void Trim();
};

bool OmLineJoiner::Cycle::Setup(const std::vector<std::int64_t>& lengths,
                                const std::vector<std::int32_t>& breaks) {
  const std::size_t n = lengths.size();
  if (breaks.empty())
    return false;
  end = std::int64_t{breaks.back()} + 1;
  // Keys hold lengths in 32 bits.
  if (!JoinsFitIn32Bits(lengths))
    return false;
  isBreak.assign(n, 0);
  for (const std::int32_t b : breaks)
    isBreak[static_cast<std::size_t>(b)] = 1;
  pairs.resize(n);
  std::int32_t last = -1;
  for (std::size_t p = 0; p < n; ++p) {
    pairs[p] = last;
    if (!isBreak[p])
      last = static_cast<std::int32_t>(p);
  }
  auto typeAt = [this](std::int64_t p) -> std::int32_t {
    const auto i = static_cast<std::size_t>(p);
    if (isBreak[i])
      return 0;
    return pairs[i] < 0 ? -1 : static_cast<std::int32_t>(p - pairs[i]);
  };
  // For each period, the longest run of positions from kCyclePrefix up to
  // the last break line over which the pattern repeats; the best period is
  // the one whose run leaves the fewest positions to look at directly.
  period = 0;
  std::int64_t fewest = kMaxDirect + 1;
  for (std::int64_t c = 1; c <= kMaxPeriod; ++c) {
    std::int64_t start = kCyclePrefix;
    std::int64_t bestStart = start;
    std::int64_t bestStop = start;
    for (std::int64_t p = start; p <= end; ++p) {
      const bool ok = p < end && typeAt(p) >= 0 && typeAt(p) <= c &&
                      (p < start + c || typeAt(p) == typeAt(p - c));
      if (ok)
        continue;
      if (p - start > bestStop - bestStart) {
        bestStart = start;
        bestStop = p;
      }
      start = p + 1;
    }
    const std::int64_t direct = bestStart + (end - bestStop);
    if (bestStop - bestStart >= 4 * kMaxPeriod && direct < fewest) {
      fewest = direct;
      period = static_cast<std::size_t>(c);
      first = bestStart;
      stop = bestStop;
    }
  }
  if (period == 0)
    return false;
  types.resize(period);
  for (std::size_t r = 0; r < period; ++r)
    types[r] = typeAt(first + static_cast<std::int64_t>(r));

  size = LinkLines(lengths, length, prev, next);
  alive.assign(n, 1);
  count.assign(2 * size, 0);
  byResidue.assign(2 * size * period, kNone);
  uniform.assign(2 * size, kNone);
  for (std::size_t i = 0; i < n; ++i) {
    const std::size_t leaf = size + i;
    const auto id = static_cast<std::int32_t>(i);
    count[leaf] = 1;
    for (std::size_t r = 0; r < period; ++r)
      byResidue[leaf * period + r] = types[r] == 0 ? kNone : Candidate(id, types[r]);
    uniform[leaf] = Candidate(id, 1);
  }
  for (std::size_t node = size - 1; node >= 1; --node)
    Pull(node);
  return true;
}

OmLineJoiner::Cycle::Key OmLineJoiner::Cycle::Candidate(std::int32_t id,
                                                        std::int32_t distance) const {
  std::int32_t with = id;
  for (std::int32_t k = 0; k < distance && with >= 0; ++k)
    with = prev[static_cast<std::size_t>(with)];
  if (with < 0)
    return kNone;
  const std::int64_t joined =
      length[static_cast<std::size_t>(with)] + 1 + length[static_cast<std::size_t>(id)];
  return static_cast<Key>(joined) << 32 | static_cast<Key>(id);
}

void OmLineJoiner::Cycle::Pull(std::size_t node) {
  const std::size_t left = 2 * node;
  const std::size_t right = left + 1;
  count[node] = count[left] + count[right];
  const auto shift = static_cast<std::size_t>(count[left]) % period;
  for (std::size_t r = 0; r < period; ++r) {
    std::size_t rr = r + shift;
    if (rr >= period)
      rr -= period;
    byResidue[node * period + r] =
        std::min(byResidue[left * period + r], byResidue[right * period + rr]);
  }
  uniform[node] = std::min(uniform[left], uniform[right]);
}

void OmLineJoiner::Cycle::Refresh(std::int32_t id) {
  const auto i = static_cast<std::size_t>(id);
  const std::size_t leaf = size + i;
  if (!alive[i]) {
    count[leaf] = 0;
    std::fill_n(byResidue.begin() + static_cast<std::ptrdiff_t>(leaf * period), period, kNone);
    uniform[leaf] = kNone;
  } else {
    for (std::size_t r = 0; r < period; ++r)
      byResidue[leaf * period + r] = types[r] == 0 ? kNone : Candidate(id, types[r]);
    uniform[leaf] = Candidate(id, 1);
  }
  for (std::size_t node = leaf / 2; node >= 1; node /= 2)
    Pull(node);
}

std::int32_t OmLineJoiner::Cycle::LineAt(std::int64_t rank) const {
  return LineAtRank(count, size, rank);
}

OmLineJoiner::Cycle::Key OmLineJoiner::Cycle::Query(std::size_t node, std::int64_t start,
                                                    std::int64_t lo, std::int64_t hi,
                                                    bool periodic) const {
  const std::int64_t lines = count[node];
  if (lines == 0 || start + lines <= lo || start >= hi)
    return kNone;
  if (lo <= start && start + lines <= hi) {
    if (!periodic)
      return uniform[node];
    const auto residue = static_cast<std::size_t>(start - first) % period;
    return byResidue[node * period + residue];
  }
  return std::min(Query(2 * node, start, lo, hi, periodic),
                  Query(2 * node + 1, start + count[2 * node], lo, hi, periodic));
}

OmLineJoiner::Cycle::Key OmLineJoiner::Cycle::Best(std::int64_t current) {
  Key best = kNone;
  auto consider = [&best, this](std::int32_t with, std::int32_t id) {
    const std::int64_t before = with < 0 ? 0 : length[static_cast<std::size_t>(with)];
    const std::int64_t joined = before + 1 + length[static_cast<std::size_t>(id)];
    best = std::min(best, static_cast<Key>(joined) << 32 | static_cast<Key>(id));
  };
  // The positions before the pattern, directly; line 0 is never joined away.
  const std::int64_t head = std::min(first, current);
  ids.clear();
  for (std::int32_t id = 0; static_cast<std::int64_t>(ids.size()) < head;
       id = next[static_cast<std::size_t>(id)]) {
    ids.push_back(id);
  }
  for (std::int64_t p = 1; p < head; ++p) {
    const auto i = static_cast<std::size_t>(p);
    if (!isBreak[i])
      consider(pairs[i] < 0 ? -1 : ids[static_cast<std::size_t>(pairs[i])], ids[i]);
  }
  if (current > first)
    best = std::min(best, Query(1, 0, first, std::min(stop, current), true));
  // The positions after the pattern up to the one after the last break
  // line, directly: each pairs with a line at most that far back.
  const std::int64_t tail = std::min(end + 1, current);
  if (stop < tail) {
    const std::int64_t from = std::max<std::int64_t>(pairs[static_cast<std::size_t>(stop)], 0);
    ids.clear();
    for (std::int32_t id = LineAt(from); static_cast<std::int64_t>(ids.size()) < tail - from;
         id = next[static_cast<std::size_t>(id)]) {
      ids.push_back(id);
    }
    for (std::int64_t p = std::max<std::int64_t>(stop, 1); p < tail; ++p) {
      const auto i = static_cast<std::size_t>(p);
      if (isBreak[i])
        continue;
      const std::int32_t with = pairs[i];
      consider(with < 0 ? -1 : ids[static_cast<std::size_t>(with - from)],
               ids[static_cast<std::size_t>(p - from)]);
    }
  }
  // Past the last break line every position pairs with its neighbour.
  const std::int64_t uniformFrom = std::max(end + 1, first);
  if (uniformFrom < current)
    best = std::min(best, Query(1, 0, uniformFrom, current, false));
  return best;
}

void OmLineJoiner::Cycle::JoinPair(std::int32_t x, std::int32_t y) {
  const std::int32_t after = Splice(length, prev, next, x, y);
  alive[static_cast<std::size_t>(y)] = 0;
  Refresh(y);
  Refresh(x);
  // The lines that pair with x at most a period back.
  std::int32_t id = after;
  for (std::size_t k = 0; k < period && id >= 0; ++k) {
    Refresh(id);
    id = next[static_cast<std::size_t>(id)];
  }
}

void OmLineJoiner::Cycle::Trim() {
  ReleaseIfLarge(isBreak);
  ReleaseIfLarge(pairs);
  ReleaseIfLarge(length);
  ReleaseIfLarge(prev);
  ReleaseIfLarge(next);
  ReleaseIfLarge(alive);
  ReleaseIfLarge(count);
  ReleaseIfLarge(byResidue);
  ReleaseIfLarge(uniform);
}

// The bound method, for break lines in any pattern. A tree over the line ids
// keeps, for every node, a lower bound of the joins its lines can take: per
// kind of position (paired with the line 1, 2, ... kMaxNear positions back,
// with nothing before it, or farther back), the shortest such join of its
// lines, which holds wherever the lines sit. A table of the kinds that occur
// over any run of positions turns these into a bound for the positions a
// node holds now. The search walks the nodes in position order and passes
// over every node whose bound is no shorter than the best join found so far;
// a leaf is measured exactly. Each node also remembers what the last search
// learnt of it (its shortest join, or a bound) with the position it started
// at; a join changes only the nodes on its lines' paths and moves the later
// ones, so the nodes before it answer at once, and so do later nodes that
// moved by whole periods over positions whose kinds repeat. The search is
// exact whatever the pattern; its cost is the number of other nodes whose
// bound falls below the answer, which is small when most lines' bounds are
// near their joins.
struct OmLineJoiner::Bound {
  // What is known of the joins of some lines: the shortest one and its line
  // (the earliest among equals), or with id -1 a bound below all of them;
  // the bound kNoCandidate says there are none.
  struct Summary {
    std::int64_t value;
    std::int32_t id;
  };

  std::size_t kinds = 0;  // near distances, then "nothing before", then "far"
  std::int32_t near = 0;
  std::vector<std::uint16_t> kindAt;   // per position: a bit for its kind, 0 for none
  std::vector<std::uint16_t> kindsIn;  // level * n + position: the kinds over 2^level positions
  std::vector<std::uint8_t> floorLog;  // per run length: the level that covers it in two
  std::vector<std::int32_t> pairs;     // per position: the position it pairs with, or -1
  std::vector<std::int64_t> length;
  std::vector<std::int32_t> prev;
  std::vector<std::int32_t> next;
  std::size_t n = 0;
  std::size_t size = 0;  // leaves of the tree, a power of two
  std::vector<std::int32_t> count;
  std::vector<std::int32_t> bound;  // node * kinds + kind; kNoBound for none
  std::vector<std::int64_t> cacheStart;
  std::vector<Summary> cache;
  // agree[(period - 1) * n + p] counts the positions from p on whose kinds
  // equal those a period later (for periods up to kPhases): a node that
  // moved by whole periods over such positions answers as it did before.
  std::vector<std::int32_t> agree;
  std::vector<std::size_t> dirty;

  bool Setup(const std::vector<std::int64_t>& lengths, const std::vector<std::int32_t>& breaks);
  void SetLeaf(std::int32_t id);
  // Defined here, like the search's walk, so that the library's calls to
  // them are direct and can be inlined.
  void Pull(std::size_t node) {
    const std::size_t left = 2 * node;
    count[node] = count[left] + count[left + 1];
    std::int32_t* b = bound.data() + node * kinds;
    const std::int32_t* l = bound.data() + left * kinds;
    const std::int32_t* r = l + kinds;
    for (std::size_t k = 0; k < kinds; ++k)
      b[k] = std::min(l[k], r[k]);
    cacheStart[node] = -1;
  }
  std::uint16_t KindsIn(std::int64_t from, std::int64_t lines) const {
    const auto span = static_cast<std::size_t>(lines);
    const std::size_t level = floorLog[span];
    const std::uint16_t* row = kindsIn.data() + level * n;
    const auto f = static_cast<std::size_t>(from);
    return static_cast<std::uint16_t>(row[f] | row[f + span - (std::size_t{1} << level)]);
  }
  std::int32_t LineAt(std::int64_t rank) const;
  // Sets best to the earliest shortest join (best.id -1 when there is none).
  Summary Search(Summary& best);
  void JoinPair(std::int32_t x, std::int32_t y);
  void Trim();
};

bool OmLineJoiner::Bound::Setup(const std::vector<std::int64_t>& lengths,
                                const std::vector<std::int32_t>& breaks) {
  n = lengths.size();
  // Bounds are kept in 32 bits.
  if (!JoinsFitIn32Bits(lengths))
    return false;
  pairs.resize(n);
  kindAt.assign(n, 0);
  // Mark the break lines, then give every other position its pairing.
  for (const std::int32_t b : breaks)
    kindAt[static_cast<std::size_t>(b)] = 1;
  std::int32_t last = -1;
  std::int64_t farthest = 1;
  for (std::size_t p = 0; p < n; ++p) {
    pairs[p] = last;
    if (kindAt[p] == 0) {
      if (last >= 0)
        farthest = std::max<std::int64_t>(farthest, static_cast<std::int64_t>(p) - last);
      last = static_cast<std::int32_t>(p);
    }
  }
  near = static_cast<std::int32_t>(std::min(farthest, kMaxNear));
  kinds = static_cast<std::size_t>(near) + 2;
  for (std::size_t p = 0; p < n; ++p) {
    if (kindAt[p] != 0 || p == 0) {
      kindAt[p] = 0;
      continue;
    }
    const std::int64_t distance = pairs[p] < 0 ? 0 : static_cast<std::int64_t>(p) - pairs[p];
    const std::int64_t kind = distance == 0 ? near : distance <= near ? distance - 1 : near + 1;
    kindAt[p] = static_cast<std::uint16_t>(1u << kind);
  }
  // The kinds over every run of 2^level positions.
  std::size_t levels = 1;
  while ((std::size_t{1} << levels) <= n)
    ++levels;
  kindsIn.resize(levels * n);
  std::copy(kindAt.begin(), kindAt.end(), kindsIn.begin());
  floorLog.assign(n + 1, 0);
  for (std::size_t span = 2; span <= n; ++span)
    floorLog[span] = static_cast<std::uint8_t>(floorLog[span / 2] + 1);
  for (std::size_t level = 1; level < levels; ++level) {
    const std::size_t half = std::size_t{1} << (level - 1);
    const std::uint16_t* below = kindsIn.data() + (level - 1) * n;
    std::uint16_t* here = kindsIn.data() + level * n;
    for (std::size_t p = 0; p + 2 * half <= n; ++p)
      here[p] = static_cast<std::uint16_t>(below[p] | below[p + half]);
  }

  size = LinkLines(lengths, length, prev, next);
  count.assign(2 * size, 0);
  bound.assign(2 * size * kinds, kNoBound);
  cacheStart.assign(2 * size, -1);
  cache.resize(2 * size);
  agree.assign(kPhases * n, 0);
  for (std::size_t period = 1; period <= kPhases; ++period) {
    std::int32_t* row = agree.data() + (period - 1) * n;
    for (std::size_t p = n; p-- > 0;) {
      if (p + period < n && kindAt[p] == kindAt[p + period])
        row[p] = p + 1 < n ? row[p + 1] + 1 : 1;
    }
  }
  for (std::size_t i = 0; i < n; ++i) {
    count[size + i] = 1;
    SetLeaf(static_cast<std::int32_t>(i));
  }
  for (std::size_t node = size - 1; node >= 1; --node)
    Pull(node);
  return true;
}

void OmLineJoiner::Bound::SetLeaf(std::int32_t id) {
  const std::size_t leaf = size + static_cast<std::size_t>(id);
  std::int32_t* b = bound.data() + leaf * kinds;
  const std::int64_t own = length[static_cast<std::size_t>(id)];
  std::int32_t with = id;
  for (std::int32_t d = 0; d < near; ++d) {
    with = with < 0 ? -1 : prev[static_cast<std::size_t>(with)];
    b[d] = with < 0 ? kNoBound
                    : static_cast<std::int32_t>(length[static_cast<std::size_t>(with)] + 1 + own);
  }
  // Nothing before adds 0; a line farther back at least 0.
  b[near] = static_cast<std::int32_t>(1 + own);
  b[near + 1] = b[near];
  cacheStart[leaf] = -1;
}

std::int32_t OmLineJoiner::Bound::LineAt(std::int64_t rank) const {
  return LineAtRank(count, size, rank);
}

OmLineJoiner::Bound::Summary OmLineJoiner::Bound::Search(Summary& best) {
  auto walk = [this, &best](auto& self, std::size_t node, std::int64_t start) -> Summary {
    const std::int64_t lines = count[node];
    if (lines == 0)
      return Summary{kNoCandidate, -1};
    const Summary* known = nullptr;
    const std::int64_t moved = cacheStart[node] - start;
    // The kinds are looked up only when needed: a node met where it was last
    // searched answers without them.
    std::uint16_t mask = 0;
    if (moved == 0) {
      known = &cache[node];
    } else if (moved > 0) {
      mask = KindsIn(start, lines);
      // Moved by whole periods over positions that repeat: the same joins.
      // A line far back is not on the node's path when it changes, so a node
      // that pairs with one is taken only where it was searched.
      const bool far = (mask >> (near + 1)) != 0;
      for (std::int64_t period = 1; !far && period <= static_cast<std::int64_t>(kPhases);
           ++period) {
        if (moved % period == 0 &&
            agree[static_cast<std::size_t>(period - 1) * n + static_cast<std::size_t>(start)] >=
                moved + lines - period) {
          cacheStart[node] = start;
          known = &cache[node];
          break;
        }
      }
    }
    if (known) {
      if (known->id >= 0 || known->value == kNoCandidate) {
        if (known->value < best.value)
          best = *known;
        return *known;
      }
      if (known->value >= best.value)
        return *known;
    }
    if (moved <= 0)
      mask = KindsIn(start, lines);
    std::int32_t least = kNoBound;
    const std::int32_t* b = bound.data() + node * kinds;
    for (std::size_t k = 0; k < kinds; ++k) {
      if (((static_cast<unsigned>(mask) >> k) & 1u) != 0)
        least = std::min(least, b[k]);
    }
    const std::int64_t lower = least == kNoBound ? kNoCandidate : least;
    if (lower >= best.value)
      return Summary{lower, -1};
    Summary found{kNoCandidate, -1};
    if (node >= size) {
      const auto id = static_cast<std::int32_t>(node - size);
      const auto p = static_cast<std::size_t>(start);
      std::int64_t value = lower;
      if (kindAt[p] == (1u << (near + 1))) {
        value = length[static_cast<std::size_t>(LineAt(pairs[p]))] + 1 +
                length[static_cast<std::size_t>(id)];
      }
      found = Summary{value, id};
      if (value < best.value)
        best = found;
    } else {
      const Summary left = self(self, 2 * node, start);
      const Summary right = self(self, 2 * node + 1, start + count[2 * node]);
      const bool leftExact = left.id >= 0 || left.value == kNoCandidate;
      const bool rightExact = right.id >= 0 || right.value == kNoCandidate;
      // The earlier line wins a tie; a bound on one side settles the node only
      // when it cannot beat the exact answer of the other.
      if (leftExact && right.value >= left.value)
        found = left;
      else if (rightExact && right.value < left.value)
        found = right;
      else
        found = Summary{std::min(left.value, right.value), -1};
    }
    cacheStart[node] = start;
    cache[node] = found;
    return found;
  };
  return walk(walk, 1, 0);
}

void OmLineJoiner::Bound::JoinPair(std::int32_t x, std::int32_t y) {
  const std::int32_t after = Splice(length, prev, next, x, y);
  const std::size_t gone = size + static_cast<std::size_t>(y);
  count[gone] = 0;
  std::fill_n(bound.begin() + static_cast<std::ptrdiff_t>(gone * kinds), kinds, kNoBound);
  cacheStart[gone] = -1;
  SetLeaf(x);
  dirty.clear();
  dirty.push_back(size + static_cast<std::size_t>(x));
  dirty.push_back(gone);
  // The lines that pair with x at most `near` lines back.
  std::int32_t id = after;
  for (std::int32_t k = 0; k < near && id >= 0; ++k) {
    SetLeaf(id);
    dirty.push_back(size + static_cast<std::size_t>(id));
    id = next[static_cast<std::size_t>(id)];
  }
  // Up the tree a level at a time; the nodes are in ascending order.
  while (dirty.front() > 1) {
    std::size_t kept = 0;
    for (const std::size_t node : dirty) {
      if (kept == 0 || dirty[kept - 1] != node / 2)
        dirty[kept++] = node / 2;
    }
    dirty.resize(kept);
    for (const std::size_t node : dirty)
      Pull(node);
  }
}

void OmLineJoiner::Bound::Trim() {
  ReleaseIfLarge(kindAt);
  ReleaseIfLarge(kindsIn);
  ReleaseIfLarge(floorLog);
  ReleaseIfLarge(pairs);
  ReleaseIfLarge(length);
  ReleaseIfLarge(prev);
  ReleaseIfLarge(next);
  ReleaseIfLarge(count);
  ReleaseIfLarge(bound);
  ReleaseIfLarge(cacheStart);
  ReleaseIfLarge(cache);
  ReleaseIfLarge(agree);
}

OmLineJoiner::OmLineJoiner() = default;
OmLineJoiner::~OmLineJoiner() = default;

std::int64_t OmLineJoiner::Join(const std::vector<std::int64_t>& lengths,
                                const std::vector<std::int32_t>& breakLines, std::int32_t rows,
                                std::int32_t widthRestriction, std::int64_t width, Method method) {
  const std::size_t n = lengths.size();
  const auto b = static_cast<std::int64_t>(breakLines.size());
  std::int64_t excess = static_cast<std::int64_t>(n) - b;
  mUsed = Method::Auto;
  if (excess <= rows) {
    // Nothing to join, the common case: every line stays as it is.
    mStarts.resize(n);
    for (std::size_t i = 0; i < n; ++i)
      mStarts[i] = static_cast<std::int32_t>(i);
    mLengths.assign(lengths.begin(), lengths.end());
    return width;
  }
  const bool fewLines = n <= kScanLimit;
  const bool manyBreaks = (breakLines.size() + 1) * kLinesPerBreak > n;
  const bool ascending = n >= 2 && IsStrictlyAscendingIndexList(breakLines, n);
  const bool tryCycle =
      method == Method::Cycle || (method == Method::Auto && !fewLines && manyBreaks);
  // A restriction that stops the first join leaves the lines as they are:
  // one pass of the scan tells, before a tree is set up for nothing.
  std::size_t at = 0;
  if (widthRestriction != -1 && ascending && (tryCycle || method == Method::Bound) &&
      ShortestJoin(lengths, breakLines, at) > widthRestriction) {
    mUsed = Method::Scan;
    return JoinByScan(lengths, breakLines, rows, widthRestriction, width);
  }
  if (ascending && tryCycle) {
    if (!mCycle)
      mCycle = std::make_unique<Cycle>();
    if (mCycle->Setup(lengths, breakLines)) {
      mUsed = Method::Cycle;
      return JoinByCycle(rows, widthRestriction, width, excess);
    }
  }
  if (ascending && (method == Method::Bound || (tryCycle && method == Method::Auto))) {
    if (!mBound)
      mBound = std::make_unique<Bound>();
    Bound& bound = *mBound;
    if (bound.Setup(lengths, breakLines)) {
      mUsed = Method::Bound;
      return JoinLines(
          bound, static_cast<std::int64_t>(n), excess, rows, widthRestriction, width,
          [&bound](std::int64_t) {
            Bound::Summary best{kNoCandidate, -1};
            bound.Search(best);
            return best.id < 0 ? std::pair<std::int32_t, std::int64_t>{-1, 0}
                               : std::pair{best.id, best.value};
          },
          mStarts, mLengths);
    }
  }
  const bool useScan = method == Method::Scan || method == Method::Cycle ||
                       method == Method::Bound ||
                       (method == Method::Auto && (fewLines || manyBreaks)) || !ascending;
  if (useScan) {
    mUsed = Method::Scan;
    return JoinByScan(lengths, breakLines, rows, widthRestriction, width);
  }
  mUsed = Method::Queue;

  if (!mQueue)
    mQueue = std::make_unique<Queue>();
  Queue& q = *mQueue;
  q.Setup(lengths, breakLines);
  return JoinLines(
      q, static_cast<std::int64_t>(n), excess, rows, widthRestriction, width,
      [&q](std::int64_t) {
        const Queue::Key best = q.tree[1];
        return best.length == kNoCandidate ? std::pair<std::int32_t, std::int64_t>{-1, 0}
                                           : std::pair{best.id, best.length};
      },
      mStarts, mLengths);
}

std::int64_t OmLineJoiner::JoinByCycle(std::int32_t rows, std::int32_t widthRestriction,
                                       std::int64_t width, std::int64_t excess) {
  Cycle& c = *mCycle;
  return JoinLines(
      c, static_cast<std::int64_t>(c.length.size()), excess, rows, widthRestriction, width,
      [&c](std::int64_t current) {
        const Cycle::Key best = c.Best(current);
        return best == Cycle::kNone ? std::pair<std::int32_t, std::int64_t>{-1, 0}
                                    : std::pair{static_cast<std::int32_t>(best & 0xFFFFFFFFu),
                                                static_cast<std::int64_t>(best >> 32)};
      },
      mStarts, mLengths);
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
    std::size_t at = 0;
    const std::int64_t best = ShortestJoin(mLengths, breakLines, at);
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
  if (mCycle)
    mCycle->Trim();
  if (mBound)
    mBound->Trim();
}
