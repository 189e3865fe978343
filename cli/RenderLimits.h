// Limits on what one render may ask for, checked before anything is written
// so that a table too large to lay out is refused with a clear message
// instead of exhausting memory halfway through the output.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

class OmOutputTree;
class OmTextExportOptions;

namespace omtext::cli {

// Layers one table may print.
constexpr std::int64_t kMaxLayers = 1000000;
// Grid positions one table may print, all its printed layers together, in
// either mode: for each layer (heading rows + table rows) times (heading
// columns + data columns), as OmLayerGrid counts them. This bounds the work
// and the output of a table as well as the memory of its largest layer.
// 100 million positions is ten times the largest table this project
// benchmarks, and about what fits in a few GB.
constexpr std::int64_t kMaxGridPositions = 100000000;

// Returns why the tree cannot be rendered with these options, or nothing.
// Cheap bounds from the tables' dimensions decide most tables; only a table
// whose bound is too large gets its headings built layer by layer.
std::optional<std::string> CheckRenderLimits(OmOutputTree& tree,
                                             const OmTextExportOptions& options);

}  // namespace omtext::cli
