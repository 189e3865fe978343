// A deliberately plain model of cell folding for the tests: the node scan,
// the character split and the fold-and-join of a cell, written step by step
// on strings and lists, quadratic and slow, with nothing shared with the
// library's code but the host's character length. The fast code must give
// exactly what this gives.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace foldref {

struct Node {
  std::string text;
  std::vector<std::int32_t> folds;
  std::int32_t columns = 1;
  std::int32_t rows = 1;
  std::int32_t extraWidth = 0;
};

struct Folder {
  std::string columnSeparator;
  std::int32_t widthRestriction = -1;
};

struct Split {
  std::vector<std::string> lines;
  std::int32_t count = 0;
  std::int32_t newLines = 0;
  std::int32_t padWidth = 0;  // what the join step returned
};

// The node's text after trimming and its fold points.
Node Scan(const std::string& text);

// head and tail of s at n characters.
void SplitAtLength(const std::string& s, std::int32_t n, std::string& head, std::string& tail);

// Joins lines down to rows; returns the width to pad to.
std::int32_t Adjust(const Folder& folder, std::int32_t rows, std::int32_t width,
                    std::vector<std::string>& lines, const std::vector<std::int32_t>& breakLines);

// Folds a scanned node at width.
Split SplitString(const Folder& folder, const Node& node, std::int32_t width, bool pad);

}  // namespace foldref
