// Export of one pivot table of 10 statistics under two nested row dimensions,
// at 10,000 and 100,000 rows: formatted with no line width and narrowed to
// 100 columns (also counting terminal columns), and tab-separated, both for
// one layer's exporter alone and through OmTextExport. Time per row must stay flat as the table
// grows: planning, folding, the text matrix's line insertions and the tab lines are all linear. The
// output goes to a stream that only counts it.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <map>
#include <memory>
#include <ostream>
#include <sstream>
#include <stdexcept>
#include <streambuf>
#include <string>

#include "OmTableGenerator.h"
#include "export/OmTextExport.h"
#include "export/OmTextExportOptions.h"
#include "export/OmTextPage.h"
#include "host/output/OmOutputTree.h"
#include "host/table/OmDisplayLayerHeading.h"
#include "host/table/OmPivotTable.h"
#include "loader/OmDocumentLoader.h"
#include "pivot/OmPivotTableTxtExportPrivate.h"

namespace {

// Counts the bytes written and drops them.
class CountingBuffer : public std::streambuf {
 public:
  std::int64_t bytes = 0;

 protected:
  int_type overflow(int_type c) override {
    if (!traits_type::eq_int_type(c, traits_type::eof()))
      ++bytes;
    return traits_type::not_eof(c);
  }
  std::streamsize xsputn(const char*, std::streamsize n) override {
    bytes += n;
    return n;
  }
};

// The benchmark document for a number of rows, loaded once.
OmOutputTree& Tree(std::int64_t rows) {
  static std::map<std::int64_t, std::unique_ptr<OmOutputTree>> trees;
  std::unique_ptr<OmOutputTree>& tree = trees[rows];
  if (!tree) {
    omtext::bench::TableShape shape;
    shape.rows = rows;
    shape.columns = 10;
    std::stringstream document;
    omtext::bench::WriteDocument(shape, document);
    tree = std::make_unique<OmOutputTree>(OmDocumentLoader::Load(document));
  }
  return *tree;
}

// The table of the document: the procedure's only child.
OmPivotTable& Table(OmOutputTree& tree) {
  for (auto node = tree.Begin(); node != tree.End(); ++node) {
    if (auto* table = dynamic_cast<OmPivotTable*>(node.Value()))
      return *table;
  }
  throw std::logic_error("no pivot table in the benchmark document");
}

// Times the export of the whole tree through OmTextExport, the command's
// path below the loader, and reports rows and bytes per second.
void ExportTree(benchmark::State& state, OmOutputTree& tree, const OmTextExportOptions& options,
                std::int64_t rows) {
  CountingBuffer buffer;
  std::ostream out(&buffer);
  for (auto _ : state) {
    OmTextExport exporter(options, out);
    exporter.Export(tree);
  }
  state.SetItemsProcessed(state.iterations() * rows);
  state.SetBytesProcessed(buffer.bytes);
}

void BM_OmPivotTableTxtExport_Formatted(benchmark::State& state) {
  const std::int64_t rows = state.range(0);
  OmOutputTree& tree = Tree(rows);
  OmTextExportOptions options;
  options.NumLinesPerPage(2147483647);
  options.MaxLineWidth(static_cast<std::int32_t>(state.range(1)));
  ExportTree(state, tree, options, rows);

  // The size of the planned matrix, measured once outside the timing.
  OmDisplayLayerHeading layer(Table(tree), options.HideEmptyRowsAndColumns());
  layer.LastLayer();
  std::ostringstream unused;
  OmTextPage page(unused, options);
  OmPivotTableTxtExportPrivate::Data data(layer, options, page);
  const auto lines = static_cast<double>(data.mMatrix.NumLines());
  state.counters["matrix_lines"] = lines;
  state.counters["matrix_bytes_per_line"] = static_cast<double>(data.mMatrix.MemoryUsage()) / lines;
}
BENCHMARK(BM_OmPivotTableTxtExport_Formatted)
    ->ArgNames({"rows", "width"})
    ->Args({10000, -1})
    ->Args({100000, -1})
    ->Args({10000, 100})
    ->Args({100000, 100})
    ->Unit(benchmark::kMillisecond);

// The formatted export counting terminal columns; the generated table is
// ASCII, so this is the cost of measuring through the fast path.
void BM_OmPivotTableTxtExport_FormattedInColumns(benchmark::State& state) {
  const std::int64_t rows = state.range(0);
  OmOutputTree& tree = Tree(rows);
  OmTextExportOptions options;
  options.NumLinesPerPage(2147483647);
  options.MaxLineWidth(static_cast<std::int32_t>(state.range(1)));
  options.DisplayWidth(OmDisplayWidth::Columns);
  ExportTree(state, tree, options, rows);
}
BENCHMARK(BM_OmPivotTableTxtExport_FormattedInColumns)
    ->ArgNames({"rows", "width"})
    ->Args({10000, -1})
    ->Args({10000, 100})
    ->Unit(benchmark::kMillisecond);

// One layer's exporter (its headings included) and its body, as the visit
// makes and prints them.
void BM_OmPivotTableTxtExport_TabLayer(benchmark::State& state) {
  const std::int64_t rows = state.range(0);
  OmPivotTable& table = Table(Tree(rows));
  OmTextExportOptions options;
  options.TabSeparated(true);
  CountingBuffer buffer;
  std::ostream out(&buffer);
  for (auto _ : state) {
    OmDisplayLayerHeading layer(table, options.HideEmptyRowsAndColumns());
    layer.LastLayer();
    OmPivotTableTxtExport exporter(layer, options, out, 0);
    exporter.PrintLayer();
  }
  state.SetItemsProcessed(state.iterations() * rows);
  state.SetBytesProcessed(buffer.bytes);
}
BENCHMARK(BM_OmPivotTableTxtExport_TabLayer)
    ->Arg(10000)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond);

// The whole command path below the loader: the tree exported tab-separated
// through OmTextExport.
void BM_OmTextExport_TabTable(benchmark::State& state) {
  const std::int64_t rows = state.range(0);
  OmOutputTree& tree = Tree(rows);
  OmTextExportOptions options;
  options.TabSeparated(true);
  options.NumLinesPerPage(2147483647);
  ExportTree(state, tree, options, rows);
}
BENCHMARK(BM_OmTextExport_TabTable)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace
