// Measuring and word-wrapping cell text. Folding works on spans of the
// node's text and on line lengths; each output string is built once, at the
// end, so folding stays linear in the text however many words it has.
#include "fold/OmWinStringFolder.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <utility>

#include "fold/OmFormattedNode.h"
#include "fold/OmWinFormattedNode.h"
#include "fold/OmWinStringFolderPrivate.h"
#include "host/platform/OmPlatform.h"

namespace {

constexpr std::int64_t kInt32Max = std::numeric_limits<std::int32_t>::max();
constexpr std::int64_t kInt32Min = std::numeric_limits<std::int32_t>::min();

// Scratch storage above this many entries (a megabyte or so) is released
// after a fold; below it, it is kept for the next cell.
constexpr std::size_t kKeepEntries = 1 << 16;

std::int32_t ClampToInt32(std::int64_t value) {
  return static_cast<std::int32_t>(std::clamp(value, kInt32Min, kInt32Max));
}

bool IsLineBreak(char c) {
  return c == '\n' || c == '\r';
}

// The bytes at or below ' ' (blanks, line breaks and the other controls)
// among the sizeof(Word) bytes at s, nonzero when there is one. Subtracting
// 0x21 from every byte borrows into the top bit of each byte below it, and a
// byte from 0x80 up is ruled out by its own top bit; the test is exact for
// the word as a whole.
template <typename Word>
Word LowBytes(const char* s) {
  constexpr Word kOnes = static_cast<Word>(~Word{0}) / 0xFF;
  Word word = 0;
  std::memcpy(&word, s, sizeof word);
  return static_cast<Word>((word - 0x21 * kOnes) & ~word & (0x80 * kOnes));
}

// Whether any byte of s is at or below ' '. Short texts are read as two
// words that may overlap.
bool HasBlankOrControl(const char* s, std::size_t size) {
  if (size >= 8) {
    std::uint64_t found = LowBytes<std::uint64_t>(s + size - 8);
    for (std::size_t at = 0; at + 8 < size && found == 0; at += 8)
      found = LowBytes<std::uint64_t>(s + at);
    return found != 0;
  }
  if (size >= 4)
    return (LowBytes<std::uint32_t>(s) | LowBytes<std::uint32_t>(s + size - 4)) != 0;
  for (std::size_t i = 0; i < size; ++i) {
    if (static_cast<unsigned char>(s[i]) <= ' ')
      return true;
  }
  return false;
}

// The byte length of the character at p; never 0, so no walk can stall.
std::size_t CharLength(const char* p) {
  const int length = VELDMBmbclen_A(p);
  return length > 1 ? static_cast<std::size_t>(length) : 1;
}

// The number of bytes of the first n whole characters of the size bytes at
// s. A character whose length runs past the end is not taken. Reads only
// inside the bytes.
std::size_t HeadBytes(const char* s, std::size_t size, std::int64_t n) {
  if (size == 0 || n < 0)
    return 0;
  std::size_t p = 0;
  std::int64_t c = 0;
  for (;;) {
    const std::size_t length = CharLength(s + p);
    p += length;
    ++c;
    if (p < size && c <= n)
      continue;
    if (p == size && c <= n)
      return size;
    return p - length;
  }
}

// How Fold measures words and cuts over-long ones, one class per measure so
// that the byte path stays as it always was. Bytes: a word is as wide as it
// is long and a piece holds n characters. Columns: terminal columns.
struct ByteWidths {
  static std::int64_t Of(const char*, std::size_t size) { return static_cast<std::int64_t>(size); }
  static std::size_t Head(const char* s, std::size_t size, std::int64_t n, std::int64_t& width) {
    std::size_t head = HeadBytes(s, size, n);
    if (head == 0)
      head = std::min(CharLength(s), size);
    width = static_cast<std::int64_t>(head);
    return head;
  }
};

struct ColumnWidths {
  static std::int64_t Of(const char* s, std::size_t size) {
    return OmTextMeasure::Columns(s, size);
  }
  static std::size_t Head(const char* s, std::size_t size, std::int64_t n, std::int64_t& width) {
    return OmTextMeasure::ColumnsHead(s, size, n, width);
  }
};

template <typename T>
void ReleaseIfLarge(std::vector<T>& v) {
  if (v.capacity() > kKeepEntries)
    std::vector<T>().swap(v);
}

// Pads a folded line to padTo display positions and closes it with the
// column separator. Blanks are one position in either measure, so what is
// missing in display positions is the number of blanks to add.
void PadAndClose(std::string& line, std::size_t padTo, const std::string& separator,
                 const OmTextMeasure& measure) {
  const std::size_t shown =
      measure.CountsColumns() ? static_cast<std::size_t>(measure.Width(line)) : line.size();
  if (shown < padTo)
    line.append(padTo - shown, ' ');
  line.append(separator);
}

// An empty line of a cell, padded and closed when pad is set.
std::string BlankLine(bool pad, std::size_t padTo, const std::string& separator) {
  std::string line;
  if (pad) {
    line.reserve(padTo + separator.size());
    line.append(padTo, ' ');
    line.append(separator);
  }
  return line;
}

}  // namespace

OmWinStringFolder::Data::Data(const OmStringFolder::Options& options)
    : columnSeparator(options.columnSeparator),
      rowSeparator(options.rowSeparator),
      widthRestriction(options.widthRestriction),
      measure(options.displayWidth),
      separatorWidth(GetStringLength(columnSeparator)) {}

std::int32_t OmWinStringFolder::Data::GetStringLength(const std::string& s) const {
  return static_cast<std::int32_t>(std::min(measure.Width(s), kInt32Max));
}

std::int32_t OmWinStringFolder::Data::GetNumChars(const std::string& s) const {
  const std::size_t size = s.size();
  if (size == 0)
    return 0;
  std::int64_t count = 0;
  std::int64_t blanks = 0;
  for (std::size_t p = 0; p < size; p += CharLength(s.data() + p)) {
    ++count;
    if (s[p] == ' ') {
      ++blanks;
    } else if (p != size - 1) {
      // A character in the very last byte leaves the run of blanks standing.
      blanks = 0;
    }
  }
  if (blanks == 0 || count - blanks <= 0)
    return ClampToInt32(count);
  return ClampToInt32(count - blanks);
}

void OmWinStringFolder::Data::SplitAtLength(std::string s, std::int32_t n, std::string& head,
                                            std::string& tail) const {
  const std::size_t p = HeadBytes(s.data(), s.size(), n);
  if (p == s.size()) {
    head = std::move(s);
    tail.clear();
    return;
  }
  head.assign(s, 0, p);
  tail.assign(s, p, std::string::npos);
}

std::int32_t OmWinStringFolder::Data::AdjustNumberOfStrings(OmFormattedNode& node,
                                                            std::int32_t width,
                                                            std::vector<std::string>& lines,
                                                            std::vector<std::int32_t> breaks) {
  lineLengths.clear();
  for (const std::string& line : lines)
    lineLengths.push_back(measure.Width(line));
  const std::int64_t result =
      joiner.Join(lineLengths, breaks, node.NRows(), widthRestriction, width);
  const std::vector<std::int32_t>& starts = joiner.Starts();
  const std::size_t count = starts.size();
  if (count < lines.size()) {
    // Output line i starts at input line starts[i] >= i, so the lines can be
    // joined in place from the front.
    for (std::size_t i = 0; i < count; ++i) {
      const auto first = static_cast<std::size_t>(starts[i]);
      const std::size_t end =
          i + 1 < count ? static_cast<std::size_t>(starts[i + 1]) : lines.size();
      if (first != i)
        lines[i] = std::move(lines[first]);
      if (end - first < 2)
        continue;
      lines[i].reserve(static_cast<std::size_t>(joiner.Lengths()[i]));
      for (std::size_t j = first + 1; j < end; ++j) {
        lines[i].push_back(' ');
        lines[i].append(lines[j]);
      }
    }
    lines.resize(count);
  }
  const std::int32_t rows = node.NRows();
  if (static_cast<std::int64_t>(lines.size()) < rows)
    lines.resize(static_cast<std::size_t>(rows));
  return ClampToInt32(result);
}

std::int64_t OmWinStringFolder::Data::Fold(OmFormattedNode& node, std::int32_t width) {
  if (measure.CountsColumns())
    return FoldWith<ColumnWidths>(node, width);
  return FoldWith<ByteWidths>(node, width);
}

template <class Widths>
std::int64_t OmWinStringFolder::Data::FoldWith(OmFormattedNode& node, std::int32_t width) {
  const std::string& text = node.String();
  const std::vector<std::int32_t>& folds = node.FoldPoints();
  const std::size_t size = text.size();
  spans.clear();
  lineFirstSpan.clear();
  lineLengths.clear();
  breakLines.clear();
  // A line of one span of bytes, which is shown width positions wide.
  auto newLine = [this](std::size_t offset, std::size_t length, std::int64_t shown) {
    lineFirstSpan.push_back(static_cast<std::int32_t>(spans.size()));
    lineLengths.push_back(shown);
    spans.push_back(Span{offset, length});
  };

  std::int64_t w = width;
  if (size == 0 || (size == 1 && text[0] == ' ')) {
    // The text is its own only line; the width is not restricted.
    newLine(0, size, static_cast<std::int64_t>(size));
  } else {
    if (widthRestriction != -1)
      w = std::min<std::int64_t>(w, widthRestriction);
    std::int64_t avail =
        (std::int64_t{node.NColumns()} - 1) * separatorWidth + node.ExtraWidth() + w;
    const auto end = static_cast<std::int64_t>(size);
    std::int64_t prev = -1;
    std::int64_t lastLength = 0;
    const std::size_t k = folds.size();
    for (std::size_t i = 0; i <= k; ++i) {
      std::int64_t stop = end;
      if (i < k) {
        stop = folds[i];
        if (stop <= prev || stop >= end)
          continue;
      }
      const std::int64_t start = prev + 1;
      const bool afterBreak = prev >= 0 && IsLineBreak(text[static_cast<std::size_t>(prev)]);
      prev = stop;
      if (start == stop) {
        // Runs of blanks collapse; a break right after a break is an empty
        // line, remembered by its index.
        if (afterBreak) {
          breakLines.push_back(static_cast<std::int32_t>(lineLengths.size()));
          newLine(static_cast<std::size_t>(start), 0, 0);
        }
        continue;
      }
      const auto bytes = static_cast<std::size_t>(stop - start);
      const std::int64_t wl = Widths::Of(text.data() + start, bytes);
      if (!afterBreak && lastLength + wl < avail) {
        if (lineLengths.empty()) {
          newLine(static_cast<std::size_t>(start), bytes, wl);
        } else {
          spans.push_back(Span{static_cast<std::size_t>(start), bytes});
          lineLengths.back() += 1 + wl;
        }
      } else if (widthRestriction != -1 && wl > avail) {
        const std::int64_t grow = std::min<std::int64_t>(wl, widthRestriction) - w;
        if (grow > 0) {
          w += grow;
          avail += grow;
        }
        // Cut the word into pieces of at most avail characters (columns,
        // when counting columns). Every piece takes at least one character,
        // so a width below 1 or a truncated character at the end still
        // moves on.
        const std::int64_t n = std::min(avail, kInt32Max);
        auto pos = static_cast<std::size_t>(start);
        const auto wordEnd = static_cast<std::size_t>(stop);
        while (pos < wordEnd) {
          std::int64_t shown = 0;
          const std::size_t head = Widths::Head(text.data() + pos, wordEnd - pos, n, shown);
          newLine(pos, head, shown);
          pos += head;
        }
      } else {
        newLine(static_cast<std::size_t>(start), bytes, wl);
      }
      lastLength = lineLengths.back();
    }
  }
  node.NNewLines(ClampToInt32(static_cast<std::int64_t>(breakLines.size())));
  const std::int64_t result =
      joiner.Join(lineLengths, breakLines, node.NRows(), widthRestriction, w);
  extraLines = std::max<std::int64_t>(
      0, std::int64_t{node.NRows()} - static_cast<std::int64_t>(joiner.Starts().size()));
  return result;
}

void OmWinStringFolder::Data::AppendFoldedLines(const std::string& text, std::int64_t full,
                                                bool pad, std::vector<std::string>& lines) const {
  const std::vector<std::int32_t>& starts = joiner.Starts();
  const std::vector<std::int64_t>& lengths = joiner.Lengths();
  const std::size_t count = starts.size();
  const std::size_t padTo = pad && full > 0 ? static_cast<std::size_t>(full) : 0;
  const std::size_t closing = pad ? columnSeparator.size() : 0;
  lines.reserve(lines.size() + count + static_cast<std::size_t>(extraLines));
  for (std::size_t i = 0; i < count; ++i) {
    const auto firstLine = static_cast<std::size_t>(starts[i]);
    const std::size_t endLine =
        i + 1 < count ? static_cast<std::size_t>(starts[i + 1]) : lineFirstSpan.size();
    const auto firstSpan = static_cast<std::size_t>(lineFirstSpan[firstLine]);
    const std::size_t endSpan = endLine < lineFirstSpan.size()
                                    ? static_cast<std::size_t>(lineFirstSpan[endLine])
                                    : spans.size();
    const auto length = static_cast<std::size_t>(lengths[i]);
    std::string line;
    line.reserve(std::max(length, padTo) + closing);
    for (std::size_t s = firstSpan; s < endSpan; ++s) {
      if (s != firstSpan)
        line.push_back(' ');
      line.append(text, spans[s].offset, spans[s].length);
    }
    if (pad)
      PadAndClose(line, padTo, columnSeparator, measure);
    lines.push_back(std::move(line));
  }
  for (std::int64_t i = 0; i < extraLines; ++i)
    lines.push_back(BlankLine(pad, padTo, columnSeparator));
}

bool OmWinStringFolder::Data::FoldsToItself(OmFormattedNode& node, std::int32_t width,
                                            std::int64_t& w, std::int64_t& shown) const {
  if (node.NColumns() != 1 || node.ExtraWidth() != 0 || node.NRows() < 1 ||
      !node.FoldPoints().empty()) {
    return false;
  }
  const std::string& text = node.String();
  const std::size_t size = text.size();
  if (size == 0)
    return false;
  if (size == 1 && text[0] == ' ') {
    // Fold() keeps a lone blank as it is, at the width unrestricted.
    w = width;
    shown = 1;
  } else {
    w = width;
    if (widthRestriction != -1)
      w = std::min<std::int64_t>(w, widthRestriction);
    shown = measure.CountsColumns() ? ColumnWidths::Of(text.data(), size)
                                    : ByteWidths::Of(text.data(), size);
    // A word wider than the room is cut when the width is restricted.
    if (widthRestriction != -1 && shown > w)
      return false;
  }
  node.NNewLines(0);
  return true;
}

void OmWinStringFolder::Data::TrimStorage() {
  ReleaseIfLarge(spans);
  ReleaseIfLarge(lineFirstSpan);
  ReleaseIfLarge(lineLengths);
  ReleaseIfLarge(breakLines);
  joiner.Trim();
}

OmWinStringFolder::OmWinStringFolder(const OmStringFolder::Options& options)
    : mData(std::make_unique<Data>(options)) {}

OmWinStringFolder::~OmWinStringFolder() = default;

std::unique_ptr<OmFormattedNode> OmWinStringFolder::MakeNode() {
  return std::make_unique<OmFormattedNode>();
}

std::unique_ptr<OmFormattedNode> OmWinStringFolder::MakeNode(std::string text, std::int32_t columns,
                                                             std::int32_t rows,
                                                             std::int32_t extraWidth) {
  const std::int32_t length = mData->GetStringLength(text);
  return std::make_unique<OmWinFormattedNode>(std::move(text), columns, rows, extraWidth, length);
}

std::int32_t OmWinStringFolder::GetStringLength(std::string text) {
  return mData->GetStringLength(text);
}

std::int32_t OmWinStringFolder::GetMinimumColumnWidth(OmFormattedNode& node, std::int32_t width) {
  std::int64_t w = 0;
  std::int64_t shown = 0;
  if (mData->FoldsToItself(node, width, w, shown))
    return ClampToInt32(std::min(shown, kInt32Max));
  mData->Fold(node, width);
  std::int64_t widest = 0;
  for (const std::int64_t length : mData->joiner.Lengths())
    widest = std::max(widest, length);
  const std::int64_t result = std::min(widest, kInt32Max) - node.ExtraWidth() -
                              (std::int64_t{node.NColumns()} - 1) * mData->separatorWidth;
  mData->TrimStorage();
  return ClampToInt32(result);
}

bool OmWinStringFolder::MeasureUnfolded(const std::string& text, std::int32_t rows,
                                        std::int32_t width, std::int32_t& minimum) {
  std::int64_t room = 0;
  std::int64_t shown = 0;
  if (!mData->Unfolded(text, rows, width, room, shown))
    return false;
  minimum = ClampToInt32(std::min(shown, kInt32Max));
  return true;
}

bool OmWinStringFolder::PadUnfolded(const std::string& text, std::int32_t rows, std::int32_t width,
                                    std::string& line, std::size_t& padTo) {
  std::int64_t room = 0;
  std::int64_t shown = 0;
  if (!mData->Unfolded(text, rows, width, room, shown))
    return false;
  // As FoldsToItself() and PadAndClose() make the line of the text's node.
  const std::int64_t full = ClampToInt32(room);
  padTo = full > 0 ? static_cast<std::size_t>(full) : 0;
  const auto padded = static_cast<std::size_t>(shown);
  line.append(text);
  if (padded < padTo)
    line.append(padTo - padded, ' ');
  line.append(mData->columnSeparator);
  return true;
}

bool OmWinStringFolder::Data::Unfolded(const std::string& text, std::int32_t rows,
                                       std::int32_t width, std::int64_t& room,
                                       std::int64_t& shown) const {
  const std::size_t size = text.size();
  if (rows < 1 || size == 0)
    return false;
  // Any blank or line break may be a fold point. Words parted by single
  // blanks, with none at either end, are joined back as they stood when
  // the whole text fits; any other blank or a line break takes the fold.
  bool blanks = false;
  for (std::size_t i = HasBlankOrControl(text.data(), size) ? 0 : size; i < size; ++i) {
    // Blanks and line breaks both sort at or below ' ': one test passes the
    // rest.
    const char c = text[i];
    if (static_cast<unsigned char>(c) > ' ')
      continue;
    if (IsLineBreak(c))
      return false;
    if (c == ' ') {
      if (i == 0 || i + 1 == size || text[i + 1] == ' ')
        return false;
      blanks = true;
    }
  }
  room = width;
  if (widthRestriction != -1)
    room = std::min<std::int64_t>(room, widthRestriction);
  shown = measure.CountsColumns() ? ColumnWidths::Of(text.data(), size)
                                  : ByteWidths::Of(text.data(), size);
  // A single word overflows a column without a restriction; words that do
  // not fit are folded.
  return (widthRestriction == -1 && !blanks) || shown <= room;
}

std::int32_t OmWinStringFolder::SplitString(OmFormattedNode& node, std::int32_t width,
                                            std::vector<std::string>& lines, bool pad) {
  std::int64_t fast = 0;
  std::int64_t fastShown = 0;
  if (mData->FoldsToItself(node, width, fast, fastShown)) {
    // As AppendFoldedLines() would write them: the text padded to the
    // width and closed, then the empty lines up to NRows().
    const std::int64_t full = ClampToInt32(fast);
    const std::size_t padTo = pad && full > 0 ? static_cast<std::size_t>(full) : 0;
    const std::string& separator = mData->columnSeparator;
    const std::string& text = node.String();
    const std::size_t before = lines.size();
    const auto rows = static_cast<std::size_t>(node.NRows());
    lines.reserve(before + rows);
    std::string line;
    line.reserve(std::max(text.size(), padTo) + (pad ? separator.size() : 0));
    line.append(text);
    if (pad)
      PadAndClose(line, padTo, separator, mData->measure);
    lines.push_back(std::move(line));
    for (std::size_t i = 1; i < rows; ++i)
      lines.push_back(BlankLine(pad, padTo, separator));
    return ClampToInt32(static_cast<std::int64_t>(lines.size() - before));
  }
  const std::int32_t w = ClampToInt32(mData->Fold(node, width));
  const std::int64_t full =
      (std::int64_t{node.NColumns()} - 1) * mData->separatorWidth + node.ExtraWidth() + w;
  const std::size_t before = lines.size();
  mData->AppendFoldedLines(node.String(), full, pad, lines);
  mData->TrimStorage();
  return ClampToInt32(static_cast<std::int64_t>(lines.size() - before));
}
