// A deliberately plain model of cell folding for the tests, written step by
// step on strings, quadratic and slow, sharing nothing with the library but
// the host's character length. The library must give exactly what it gives.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace foldref {

struct Cell {
  std::int32_t rows = 1;
  std::int32_t columns = 1;
  std::int32_t extraWidth = 0;
};

struct Settings {
  std::string separator = "|";
  std::int32_t restriction = -1;
};

// The node's text after trimming, and its fold points.
std::string Scan(const std::string& text, std::vector<std::int32_t>& folds);

// Joins lines down to rows; returns the width to pad to.
std::int32_t Adjust(const Settings& settings, std::int32_t rows, std::int32_t width,
                    std::vector<std::string>& lines, const std::vector<std::int32_t>& breakLines);

// Folds text at width; sets newLines to the number of break lines.
std::vector<std::string> Split(const Settings& settings, const Cell& cell, const std::string& text,
                               std::int32_t width, bool pad, std::int32_t& newLines);

}  // namespace foldref
