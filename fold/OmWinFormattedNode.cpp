// Fold-point scan and trailing-blank trimming of a node's text.
#include "fold/OmWinFormattedNode.h"

#include <cstddef>
#include <limits>
#include <utility>
#include <vector>

#include "host/platform/OmPlatform.h"

OmWinFormattedNode::OmWinFormattedNode(std::string text, std::int32_t columns, std::int32_t rows,
                                       std::int32_t extraWidth, std::int32_t length)
    : OmFormattedNode(std::move(text), columns, rows, extraWidth, length) {
  std::string& s = String();
  const std::size_t size = s.size();
  if (size == 0)
    return;
  std::vector<std::int32_t>& folds = FoldPoints();
  // Offsets are 32-bit; in a text longer than that the bytes beyond simply
  // offer no fold points.
  constexpr std::size_t kMaxOffset = std::numeric_limits<std::int32_t>::max();
  // A run of blanks is recorded only once a character follows it: trailing
  // blanks lose their fold points, and a text of blanks (the text of every
  // empty position) then costs no allocation.
  std::size_t runStart = 0;
  std::size_t trailing = 0;
  const char* const bytes = s.data();
  for (std::size_t p = 0; p < size;) {
    const auto c = static_cast<unsigned char>(bytes[p]);
    if (c == ' ') {
      if (trailing == 0)
        runStart = p;
      ++trailing;
      ++p;
      continue;
    }
    if (trailing != 0) {
      for (std::size_t q = runStart; q < runStart + trailing && q <= kMaxOffset; ++q)
        folds.push_back(static_cast<std::int32_t>(q));
      trailing = 0;
    }
    if (c == '\n' || c == '\r') {
      if (p <= kMaxOffset)
        folds.push_back(static_cast<std::int32_t>(p));
      ++p;
    } else if (c < 0x80) {
      // Every encoding of the host keeps the ASCII bytes as one-byte
      // characters, which spares the common text the encoding lookup.
      ++p;
    } else {
      const int charLength = VELDMBmbclen_A(bytes + p);
      p += charLength > 1 ? static_cast<std::size_t>(charLength) : 1;
    }
  }
  // A text of blanks only keeps its blanks (and so is not empty).
  if (trailing != 0 && size > trailing)
    s.resize(size - trailing);
}

OmWinFormattedNode::~OmWinFormattedNode() = default;
