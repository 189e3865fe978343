// Tab-separated printing of a layer's body: one line per column heading row,
// then one line per table row, fields joined by tabs, for spreadsheets. A
// category that spans several positions is printed at its first one only.
// The body is built a block of lines at a time and written at once, its
// plain rows partly on a second thread; the headings hand out their node
// columns by reference, so the export is linear in its size.
#include <algorithm>
#include <cstdint>
#include <future>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "pivot/OmPivotTableTxtExportPrivate.h"

using Data = OmPivotTableTxtExportPrivate::Data;

namespace {

// Rows to a block of the body's text: enough for a second thread to be
// worth its start, few enough that a block's text stays small.
constexpr std::int32_t kTabBlockRows = 8192;
// Lines are written once this many bytes of them are made.
constexpr std::size_t kTabWriteBytes = std::size_t{32} << 10;

}  // namespace

void Data::TabExport() {
  const std::int32_t headingColumns = mRowHeading.NColumns();
  const std::int32_t headingRows = mColumnHeading.NRows();
  std::string line;

  for (std::int32_t r = 0; r < headingRows; ++r) {
    line.clear();
    if (r + 1 < headingRows) {
      line.append(static_cast<std::size_t>(headingColumns < 0 ? 0 : headingColumns), '\t');
    } else {
      // The corner labels stand on the last heading line, right above the
      // row labels they name.
      const std::vector<const OmCellText*>& corner = mRowHeading.CornerText();
      for (std::int32_t c = 0; c < headingColumns; ++c) {
        const auto at = static_cast<std::size_t>(c);
        AppendCellText(line, at < corner.size() ? corner[at] : nullptr);
        line += '\t';
      }
    }
    const OmNodeColumn level = mColumnHeading.Row(r);
    for (std::size_t i = 0; i < level.size(); ++i) {
      const OmDimensionTree::ConstNode* node = level[i];
      if (node != nullptr && (i == 0 || !SkipNodesInColumnHead(r, static_cast<std::int32_t>(i),
                                                               static_cast<std::int32_t>(i) - 1))) {
        AppendCellText(line, node->Label());
      }
      if (i + 1 < level.size())
        line += '\t';
    }
    mPage.WriteUncounted(line);
  }

  const std::int32_t rows = mRowHeading.NRows();
  if (rows == 0) {
    // Without row dimensions the table has one row and no row labels.
    std::vector<std::int32_t> index = mLayerHeading.Table().SizeVector();
    mLayerHeading.Fill(index);
    line.clear();
    AppendCells<false>(index, line);
    mPage.WriteUncounted(line);
    return;
  }
  // Rows are made into text a block at a time and written in order. In a
  // long layer, while this thread makes one block, a second makes the next
  // block's plain rows, whose labels and cells take no footnote marker or
  // markup and so read nothing but the table. It stops at the first other
  // row, which this thread makes in turn: footnotes are numbered in the
  // order of the rows.
  std::string text;
  for (std::int32_t first = 0; first < rows; first += 2 * kTabBlockRows) {
    const std::int32_t middle = first + std::min(rows - first, kTabBlockRows);
    const std::int32_t end = middle + std::min(rows - middle, kTabBlockRows);
    std::future<TabRows> next;
    if (middle < end && rows >= mTabAsideRows)
      next = MakePlainTabRowsAside(middle, end);
    text.clear();
    MakeTabRows<false>(first, middle, text);
    mPage.WriteText(text);
    std::int32_t from = middle;
    if (next.valid()) {
      TabRows made = next.get();
      mPage.WriteText(made.text);
      from = made.stopped;
    }
    text.clear();
    MakeTabRows<false>(from, end, text);
    mPage.WriteText(text);
  }
}

std::future<Data::TabRows> Data::MakePlainTabRowsAside(std::int32_t first, std::int32_t end) {
  try {
    return std::async(std::launch::async, [this, first, end] {
      TabRows made;
      made.stopped = MakeTabRows<true>(first, end, made.text);
      return made;
    });
  } catch (const std::system_error&) {
    // Without a second thread the rows are all made on this one.
    return std::future<TabRows>();
  }
}

template <bool kPlainOnly>
std::int32_t Data::MakeTabRows(std::int32_t first, std::int32_t end, std::string& out) {
  const OmPivotTable& table = mLayerHeading.Table();
  std::vector<std::int32_t> index = table.SizeVector();
  mLayerHeading.Fill(index);
  const std::int32_t headingColumns = mRowHeading.NColumns();
  // The row heading's nodes are read from its grid one at a time rather
  // than as whole columns, which would hold a pointer per row and column.
  const std::vector<std::int32_t>& rowDims = table.AxisDimensions(OmAxis::Row);
  const std::int32_t* rowLeaves =
      mRowHeading.LeafPositions().data() + static_cast<std::size_t>(first) * rowDims.size();
  for (std::int32_t r = first; r < end; ++r) {
    const std::size_t start = out.size();
    // A label is printed where its row differs from the row above in its
    // own heading column or one left of it.
    bool continues = r > 0;
    for (std::int32_t c = 0; c < headingColumns; ++c) {
      const OmDimensionTree::ConstNode* node = mRowHeading.At(r, c);
      if (continues)
        continues = SamePosition(mRowHeading.At(r - 1, c), node);
      if (node != nullptr && !continues) {
        if constexpr (kPlainOnly) {
          if (!AppendPlainText(out, node->Label(), {})) {
            out.resize(start);
            return r;
          }
        } else {
          AppendCellText(out, node->Label());
        }
      }
      // Every label field is closed, empty or not, so the data fields always
      // start after the same number of tabs.
      out += '\t';
    }
    for (const std::int32_t d : rowDims)
      index[static_cast<std::size_t>(d)] = *rowLeaves++;
    if (!AppendCells<kPlainOnly>(index, out)) {
      out.resize(start);
      return r;
    }
    out += '\n';
    // Lines this thread makes go out in pieces that stay in the cache.
    if (!kPlainOnly && out.size() >= kTabWriteBytes) {
      mPage.WriteText(out);
      out.clear();
    }
  }
  return end;
}

template <bool kPlainOnly>
bool Data::AppendCells(std::vector<std::int32_t>& index, std::string& line) {
  const std::int32_t columns = mColumnHeading.NColumns();
  std::string_view stored;
  if (columns > 0) {
    const std::vector<std::int32_t>& dims = mLayerHeading.Table().AxisDimensions(OmAxis::Column);
    const std::int32_t* leaves = mColumnHeading.LeafPositions().data();
    for (std::int32_t c = 0; c < columns; ++c) {
      for (const std::int32_t d : dims)
        index[static_cast<std::size_t>(d)] = *leaves++;
      const OmCellText* cell = mLayerCells.At(index.data(), stored);
      if constexpr (kPlainOnly) {
        if (!AppendPlainText(line, cell, stored))
          return false;
      } else {
        AppendCellText(line, cell, stored);
      }
      if (c + 1 < columns)
        line += '\t';
    }
  } else if (columns == 0) {
    // A table without column dimensions has one data column.
    const OmCellText* cell = mLayerCells.At(index.data(), stored);
    if constexpr (kPlainOnly)
      return AppendPlainText(line, cell, stored);
    AppendCellText(line, cell, stored);
  }
  return true;
}
