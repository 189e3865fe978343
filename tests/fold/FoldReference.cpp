// Step-by-step folding on strings, for comparison with the library.
#include "FoldReference.h"

#include <algorithm>

#include "host/OmPlatform.h"

namespace foldref {
namespace {

bool IsBreak(char c) {
  return c == '\n' || c == '\r';
}

// head = the first n characters of s, tail = the rest; at least one
// character (or the truncated rest) when n allows none.
void Cut(const std::string& s, std::int64_t n, std::string& head, std::string& tail) {
  std::int64_t p = 0;
  for (std::int64_t c = 1;; ++c) {
    const int length = VELDMBmbclen_A(s.data() + p);
    p += length;
    if (p < static_cast<std::int64_t>(s.size()) && c <= n)
      continue;
    if (p > static_cast<std::int64_t>(s.size()) || c > n)
      p -= length;
    break;
  }
  if (p == 0)
    p = std::min<std::int64_t>(VELDMBmbclen_A(s.data()), s.size());
  head = s.substr(0, static_cast<std::size_t>(p));
  tail = s.substr(static_cast<std::size_t>(p));
}

}  // namespace

std::string Scan(const std::string& text, std::vector<std::int32_t>& folds) {
  folds.clear();
  std::size_t trailing = 0;
  for (std::size_t p = 0; p < text.size();
       p += static_cast<std::size_t>(VELDMBmbclen_A(&text[p]))) {
    trailing = text[p] == ' ' ? trailing + 1 : 0;
    if (text[p] == ' ' || IsBreak(text[p]))
      folds.push_back(static_cast<std::int32_t>(p));
  }
  folds.resize(folds.size() - trailing);
  return trailing < text.size() ? text.substr(0, text.size() - trailing) : text;
}

std::int32_t Adjust(const Settings& settings, std::int32_t rows, std::int32_t width,
                    std::vector<std::string>& lines, const std::vector<std::int32_t>& breakLines) {
  std::int64_t r = width;
  const std::size_t b = breakLines.size();
  std::int64_t excess = static_cast<std::int64_t>(lines.size()) - static_cast<std::int64_t>(b);
  while (excess > rows) {
    std::int64_t best = 0;
    std::size_t at = 0;
    std::size_t q = 0;
    std::int64_t prevLen = 0;
    for (std::size_t j = 0; j < lines.size(); ++j) {
      if (b > 0 && breakLines[q] == static_cast<std::int64_t>(j)) {
        if (q + 1 < b)
          ++q;
        continue;
      }
      const auto lj = static_cast<std::int64_t>(lines[j].size());
      if (j > 0 && (best == 0 || prevLen + 1 + lj < best)) {
        best = prevLen + 1 + lj;
        at = j - 1;
      }
      prevLen = lj;
    }
    if (at + 1 >= lines.size())
      break;  // no pair left: the chosen behaviour
    if (settings.restriction != -1 && best > settings.restriction)
      break;
    lines[at] += " " + lines[at + 1];
    lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(at) + 1);
    --excess;
    r = best;
  }
  while (static_cast<std::int64_t>(lines.size()) < rows)
    lines.push_back("");
  return static_cast<std::int32_t>(r);
}

std::vector<std::string> Split(const Settings& settings, const Cell& cell,
                               const std::string& original, std::int32_t width, bool pad,
                               std::int32_t& newLines) {
  std::vector<std::int32_t> f;
  const std::string text = Scan(original, f);
  std::vector<std::string> lines;
  std::vector<std::int32_t> breakLines;
  const auto s = static_cast<std::int64_t>(settings.separator.size());
  const std::int32_t maxW = settings.restriction;
  if (text == " " || text.empty()) {
    lines.push_back(text);
  } else {
    if (maxW != -1)
      width = std::min(width, maxW);
    std::int64_t avail = (cell.columns - 1) * s + cell.extraWidth + width;
    std::string last;
    std::int64_t prev = -1;
    for (std::size_t i = 0; i <= f.size(); ++i) {
      const std::int64_t end = i < f.size() ? f[i] : static_cast<std::int64_t>(text.size());
      const bool afterBreak = prev >= 0 && IsBreak(text[static_cast<std::size_t>(prev)]);
      const std::string word =
          text.substr(static_cast<std::size_t>(prev + 1), static_cast<std::size_t>(end - prev - 1));
      prev = end;
      if (word.empty()) {
        if (afterBreak) {
          breakLines.push_back(static_cast<std::int32_t>(lines.size()));
          lines.push_back("");
        }
        continue;
      }
      const auto wl = static_cast<std::int64_t>(word.size());
      if (!afterBreak && static_cast<std::int64_t>(last.size()) + wl < avail) {
        if (lines.empty()) {
          lines.push_back(word);
        } else {
          lines.back() += " " + word;
        }
      } else if (maxW != -1 && wl > avail) {
        const std::int64_t grow = std::min<std::int64_t>(wl, maxW) - width;
        if (grow > 0) {
          width = static_cast<std::int32_t>(width + grow);
          avail += grow;
        }
        for (std::string rest = word, head; !rest.empty(); lines.push_back(head)) {
          Cut(rest, avail, head, rest);
        }
      } else {
        lines.push_back(word);
      }
      last = lines.back();
    }
  }
  newLines = static_cast<std::int32_t>(breakLines.size());
  const std::int32_t w = Adjust(settings, cell.rows, width, lines, breakLines);
  const std::int64_t full = (cell.columns - 1) * s + cell.extraWidth + w;
  for (std::string& line : lines) {
    if (!pad)
      break;
    if (static_cast<std::int64_t>(line.size()) < full)
      line.resize(static_cast<std::size_t>(full), ' ');
    line += settings.separator;
  }
  return lines;
}

}  // namespace foldref
