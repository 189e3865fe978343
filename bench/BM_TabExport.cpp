// Tab-separated export of one pivot-table layer at 10,000 and 100,000 rows by
// 10 columns, with an outer row label repeated over 100 inner rows in groups.
// The time per row must stay flat from one size to the next: the export reads
// the headings in place and builds each line once. Reports rows and bytes
// per second; the output goes to a stream that only counts it.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <memory>
#include <ostream>
#include <streambuf>
#include <string>
#include <vector>

#include "export/OmTextExport.h"
#include "export/OmTextExportOptions.h"
#include "host/OmDisplayLayerHeading.h"
#include "host/OmOutputTree.h"
#include "host/OmPivotTable.h"
#include "pivot/OmPivotTableTxtExport.h"

namespace {

constexpr std::int32_t kColumns = 10;
constexpr std::int32_t kInner = 100;

// A stream buffer that discards what it is given and counts the bytes.
class CountingBuf : public std::streambuf {
 public:
  std::int64_t bytes = 0;

 protected:
  std::streamsize xsputn(const char*, std::streamsize n) override {
    bytes += n;
    return n;
  }
  int_type overflow(int_type c) override {
    if (!traits_type::eq_int_type(c, traits_type::eof()))
      ++bytes;
    return traits_type::not_eof(c);
  }
};

// rows row combinations (an outer dimension of rows / 100 leaves, an inner
// one of 100 leaves in 10 groups) by 10 statistic columns, every cell a
// number with one decimal.
std::unique_ptr<OmPivotTable> BuildTable(std::int32_t rows) {
  auto table = std::make_unique<OmPivotTable>();
  table->SetTitle("Benchmark");
  OmDimension& outer = table->AddDimension(OmAxis::Row, "Outer");
  for (std::int32_t i = 0; i < rows / kInner; ++i)
    outer.AddCategory("Outer " + std::to_string(i));
  OmDimension& inner = table->AddDimension(OmAxis::Row, "Inner");
  for (std::int32_t g = 0; g < 10; ++g) {
    const auto group = inner.AddCategory("Group " + std::to_string(g));
    for (std::int32_t i = 0; i < kInner / 10; ++i) {
      inner.AddCategory(group, "Inner " + std::to_string(g * 10 + i));
    }
  }
  OmDimension& column = table->AddDimension(OmAxis::Column, "Statistic");
  for (std::int32_t c = 0; c < kColumns; ++c)
    column.AddCategory("Statistic " + std::to_string(c));
  std::vector<std::int32_t> index(3, 0);
  for (std::int32_t r = 0; r < rows; ++r) {
    for (std::int32_t c = 0; c < kColumns; ++c) {
      index = {r / kInner, r % kInner, c};
      table->SetNumber(index, r * 0.5 + c, 1);
    }
  }
  return table;
}

// One layer's exporter (its headings included) and its body, as the visit
// makes and prints them.
void BM_OmPivotTableTxtExport_TabLayer(benchmark::State& state) {
  const auto rows = static_cast<std::int32_t>(state.range(0));
  auto table = BuildTable(rows);
  OmTextExportOptions options;
  options.TabSeparated(true);
  CountingBuf buffer;
  std::ostream out(&buffer);
  for (auto _ : state) {
    OmDisplayLayerHeading layer(*table, options.HideEmptyRowsAndColumns());
    layer.LastLayer();
    OmPivotTableTxtExport exporter(layer, options, out, 0);
    exporter.PrintLayer();
  }
  state.SetItemsProcessed(state.iterations() * rows);
  state.SetBytesProcessed(buffer.bytes);
  state.counters["bytes_per_export"] =
      static_cast<double>(buffer.bytes) / static_cast<double>(state.iterations());
}
BENCHMARK(BM_OmPivotTableTxtExport_TabLayer)
    ->Arg(10000)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond);

// The whole command path below the loader: a tree holding the table, exported
// through OmTextExport.
void BM_OmTextExport_TabTable(benchmark::State& state) {
  const auto rows = static_cast<std::int32_t>(state.range(0));
  OmOutputTree tree;
  tree.Append(BuildTable(rows), 1);
  OmTextExportOptions options;
  options.TabSeparated(true);
  options.NumLinesPerPage(2147483647);
  CountingBuf buffer;
  std::ostream out(&buffer);
  for (auto _ : state) {
    OmTextExport exporter(options, out);
    exporter.Export(tree);
  }
  state.SetItemsProcessed(state.iterations() * rows);
  state.SetBytesProcessed(buffer.bytes);
}
BENCHMARK(BM_OmTextExport_TabTable)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace
