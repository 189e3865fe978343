// Step-by-step folding on strings, for comparison with the library.
#include "FoldReference.h"

#include <algorithm>

#include "host/OmPlatform.h"

namespace foldref {

namespace {

bool IsBreak(char c) {
  return c == '\n' || c == '\r';
}

}  // namespace

Node Scan(const std::string& text) {
  Node node;
  node.text = text;
  const auto size = static_cast<std::int32_t>(text.size());
  if (size == 0)
    return node;
  std::int32_t trailing = 0;
  for (std::int32_t p = 0; p < size;) {
    const int n = VELDMBmbclen_A(text.data() + p);
    const char c = text[static_cast<std::size_t>(p)];
    if (c == ' ') {
      node.folds.push_back(p);
      ++trailing;
    } else {
      trailing = 0;
      if (IsBreak(c))
        node.folds.push_back(p);
    }
    p += n;
  }
  if (trailing > 0) {
    if (size - trailing > 0)
      node.text = text.substr(0, static_cast<std::size_t>(size - trailing));
    node.folds.resize(node.folds.size() - static_cast<std::size_t>(trailing));
  }
  return node;
}

void SplitAtLength(const std::string& s, std::int32_t n, std::string& head, std::string& tail) {
  const std::string copy = s;  // s may be tail itself
  head = "";
  tail = "";
  const auto size = static_cast<std::int64_t>(copy.size());
  if (size <= 0 || n < 0) {
    if (size == 0 && n >= 0) {
      head = copy;
    } else {
      tail = copy;
    }
    return;
  }
  std::int64_t p = 0;
  std::int64_t c = 0;
  for (;;) {
    const int length = VELDMBmbclen_A(copy.data() + p);
    p += length;
    ++c;
    if (p < size && c <= n)
      continue;
    if (p == size && c <= n) {
      head = copy;
      return;
    }
    p -= length;
    break;
  }
  if (p > 0)
    head = copy.substr(0, static_cast<std::size_t>(p));
  if (p < size)
    tail = copy.substr(static_cast<std::size_t>(p));
}

std::int32_t Adjust(const Folder& folder, std::int32_t rows, std::int32_t width,
                    std::vector<std::string>& lines, const std::vector<std::int32_t>& breakLines) {
  std::int64_t r = width;
  std::int64_t merges = 0;
  const auto total = static_cast<std::int64_t>(lines.size());
  const auto b = static_cast<std::int64_t>(breakLines.size());
  std::int64_t excess = total - b;
  std::int64_t cur = total;
  for (;;) {
    cur = total - merges;
    if (excess <= rows)
      break;
    std::int64_t best = 0;
    std::int64_t at = 0;
    if (b == 0) {
      for (std::int64_t j = 0; j < cur; ++j) {
        if (j == 0)
          continue;
        const auto candidate =
            static_cast<std::int64_t>(lines[static_cast<std::size_t>(j - 1)].size() + 1 +
                                      lines[static_cast<std::size_t>(j)].size());
        if (best == 0 || candidate < best) {
          best = candidate;
          at = j - 1;
        }
      }
    } else {
      std::int64_t q = 0;
      std::int64_t prevLen = 0;
      for (std::int64_t j = 0; j < cur; ++j) {
        if (breakLines[static_cast<std::size_t>(q)] == j) {
          if (!(q + 1 >= b))
            ++q;
          continue;
        }
        const auto lj = static_cast<std::int64_t>(lines[static_cast<std::size_t>(j)].size());
        if (j > 0) {
          const std::int64_t candidate = prevLen + 1 + lj;
          if (best == 0 || candidate < best) {
            best = candidate;
            at = j - 1;
          }
        }
        prevLen = lj;
      }
    }
    // Chosen behaviour where the description leaves it open: no pair left.
    if (at + 1 >= cur)
      break;
    if (folder.widthRestriction != -1 && best > folder.widthRestriction)
      break;
    const auto a = static_cast<std::size_t>(at);
    lines[a] = lines[a] + " " + lines[a + 1];
    lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(a + 1));
    ++merges;
    --excess;
    r = best;
  }
  while (cur < rows) {
    lines.push_back("");
    ++cur;
  }
  return static_cast<std::int32_t>(r);
}

Split SplitString(const Folder& folder, const Node& node, std::int32_t width, bool pad) {
  Split out;
  std::vector<std::string>& lines = out.lines;
  const std::vector<std::int32_t>& f = node.folds;
  const std::string text = node.text;
  std::int64_t lineCount = 0;
  std::vector<std::int32_t> breakLines;
  std::string last;
  const std::int64_t s = static_cast<std::int64_t>(folder.columnSeparator.size());
  const std::int32_t maxW = folder.widthRestriction;
  if (!(text == " " || text.empty())) {
    if (maxW != -1)
      width = std::min(width, maxW);
    std::int64_t avail = (node.columns - 1) * s + node.extraWidth + width;
    std::int64_t prev = -1;
    const auto k = f.size();
    for (std::size_t i = 0; i <= k; ++i) {
      const std::int64_t end = i < k ? f[i] : static_cast<std::int64_t>(text.size());
      const std::int64_t start = prev + 1;
      const bool afterBreak = prev >= 0 && IsBreak(text[static_cast<std::size_t>(prev)]);
      if (start == end) {
        if (afterBreak) {
          lines.push_back("");
          breakLines.push_back(static_cast<std::int32_t>(lineCount));
          ++lineCount;
        }
      } else {
        const std::string word =
            text.substr(static_cast<std::size_t>(start), static_cast<std::size_t>(end - start));
        const auto wl = static_cast<std::int64_t>(word.size());
        const auto ll = static_cast<std::int64_t>(last.size());
        bool placed = false;
        if (!afterBreak && ll + wl < avail) {
          if (lines.empty()) {
            lines.push_back(word);
            ++lineCount;
          } else {
            lines[static_cast<std::size_t>(lineCount - 1)] += " " + word;
          }
          placed = true;
        }
        if (!placed) {
          if (maxW != -1 && wl > avail) {
            const std::int64_t grow = std::min<std::int64_t>(wl, maxW) - width;
            if (grow > 0) {
              width = static_cast<std::int32_t>(width + grow);
              avail += grow;
            }
            std::string rest = word;
            while (!rest.empty()) {
              std::string head;
              SplitAtLength(rest,
                            static_cast<std::int32_t>(std::min<std::int64_t>(avail, INT32_MAX)),
                            head, rest);
              // Chosen behaviour where the description leaves it open: at
              // least one character, or the truncated rest, per piece.
              if (head.empty()) {
                const auto n = std::min<std::size_t>(
                    static_cast<std::size_t>(VELDMBmbclen_A(rest.data())), rest.size());
                head = rest.substr(0, n);
                rest = rest.substr(n);
              }
              lines.push_back(head);
              ++lineCount;
            }
          } else {
            lines.push_back(word);
            ++lineCount;
          }
        }
        last = lines[static_cast<std::size_t>(lineCount - 1)];
      }
      prev = end;
    }
  } else {
    lines.push_back(text);
  }
  out.newLines = static_cast<std::int32_t>(breakLines.size());
  const std::int32_t w = Adjust(folder, node.rows, width, lines, breakLines);
  out.padWidth = w;
  const auto n = static_cast<std::int32_t>(lines.size());
  const std::int64_t full = (node.columns - 1) * s + node.extraWidth + w;
  if (pad && n > 0) {
    for (std::string& line : lines) {
      if (static_cast<std::int64_t>(line.size()) < full) {
        line += std::string(static_cast<std::size_t>(full) - line.size(), ' ');
      }
      line += folder.columnSeparator;
    }
  }
  out.count = n;
  return out;
}

}  // namespace foldref
