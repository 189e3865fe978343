// The host's pivot-table model at scale: building a table of a million
// cells (and the heap it takes a cell), looking its cells up, and
// constructing the headings of each layer as an exporter does. Run with
// --benchmark_filter to pick a size; each benchmark reports cells or rows
// per second.
#include <benchmark/benchmark.h>

#if defined(__GLIBC__)
#include <malloc.h>
#endif

#include <memory>
#include <string>
#include <vector>

#include "host/table/OmDisplayColumnHeading.h"
#include "host/table/OmDisplayLayerHeading.h"
#include "host/table/OmDisplayRowHeading.h"
#include "host/table/OmPivotTable.h"

namespace {

constexpr std::int32_t kColumns = 10;
constexpr std::int32_t kInner = 100;

// The bytes the heap holds; 0 where the C library does not say.
double HeapBytes() {
#if defined(__GLIBC__)
  const struct mallinfo2 info = mallinfo2();
  return static_cast<double>(info.uordblks + info.hblkhd);
#else
  return 0;
#endif
}

// rows row combinations (an outer dimension of rows / 100 leaves, an inner
// one of 100 leaves in 10 groups), 10 columns and two layers: the first
// layer full, the second with every tenth row. The cells are numbers with
// one decimal, or short texts such as "5504.5".
std::unique_ptr<OmPivotTable> BuildTable(std::int32_t rows, bool texts = false) {
  auto table = std::make_unique<OmPivotTable>();
  table->SetTitle("Benchmark");
  OmDimension& layer = table->AddDimension(OmAxis::Layer, "Wave");
  layer.AddCategory("First");
  layer.AddCategory("Second");
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
  std::vector<std::int32_t> index(4, 0);
  for (std::int32_t l = 0; l < 2; ++l) {
    for (std::int32_t r = 0; r < rows; ++r) {
      if (l == 1 && r % 10 != 0)
        continue;
      for (std::int32_t c = 0; c < kColumns; ++c) {
        index = {l, r / kInner, r % kInner, c};
        if (texts)
          table->SetText(index, std::to_string((r * 7 + c) % 10000) + ".5");
        else
          table->SetNumber(index, r * 0.5 + c, 1);
      }
    }
  }
  return table;
}

void BM_OmPivotTable_Build(benchmark::State& state) {
  const auto rows = static_cast<std::int32_t>(state.range(0));
  std::int64_t cells = 0;
  double bytes = 0;
  for (auto _ : state) {
    const double before = HeapBytes();
    auto table = BuildTable(rows, state.range(1) != 0);
    bytes = HeapBytes() - before;
    cells = table->NCells();
    benchmark::DoNotOptimize(table.get());
  }
  state.SetItemsProcessed(state.iterations() * cells);
  state.counters["cells"] = static_cast<double>(cells);
  state.counters["heap_bytes_per_cell"] = bytes / static_cast<double>(cells);
}
BENCHMARK(BM_OmPivotTable_Build)
    ->ArgsProduct({{10000, 100000}, {0, 1}})
    ->ArgNames({"rows", "texts"})
    ->Unit(benchmark::kMillisecond);

// Looks up every position of the first layer with find(index), counting
// the cells found.
template <class Find>
void LookUpFirstLayer(benchmark::State& state, std::int32_t rows, Find find) {
  std::vector<std::int32_t> index(4, 0);
  for (auto _ : state) {
    std::int64_t found = 0;
    for (std::int32_t r = 0; r < rows; ++r) {
      index[1] = r / kInner;
      index[2] = r % kInner;
      for (std::int32_t c = 0; c < kColumns; ++c) {
        index[3] = c;
        found += find(index) != nullptr ? 1 : 0;
      }
    }
    benchmark::DoNotOptimize(found);
  }
  state.SetItemsProcessed(state.iterations() * rows * kColumns);
}

void BM_OmPivotTable_Cell(benchmark::State& state) {
  const auto rows = static_cast<std::int32_t>(state.range(0));
  const auto table = BuildTable(rows);
  LookUpFirstLayer(state, rows,
                   [&](const std::vector<std::int32_t>& index) { return table->Cell(index); });
}
BENCHMARK(BM_OmPivotTable_Cell)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

// The same positions through the layer's view, as the exporters look them up.
void BM_OmPivotTable_LayerCells(benchmark::State& state) {
  const auto rows = static_cast<std::int32_t>(state.range(0));
  const auto table = BuildTable(rows);
  const OmPivotTable::LayerCells cells = table->CellsInLayer(table->SizeVector());
  LookUpFirstLayer(state, rows,
                   [&](const std::vector<std::int32_t>& index) { return cells.At(index.data()); });
}
BENCHMARK(BM_OmPivotTable_LayerCells)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

// Every layer's headings, hiding empty rows and columns, with every heading
// column fetched once as the formatted exporter does.
void BM_OmDisplayHeadings_Construct(benchmark::State& state) {
  const auto rows = static_cast<std::int32_t>(state.range(0));
  auto table = BuildTable(rows);
  std::int64_t headingRows = 0;
  for (auto _ : state) {
    headingRows = 0;
    OmDisplayLayerHeading layer(*table, true);
    while (layer.NextLayer()) {
      OmDisplayColumnHeading columns(layer, true);
      OmDisplayRowHeading rowHeading(layer, true, true);
      for (std::int32_t i = 0; i < rowHeading.NColumns(); ++i) {
        benchmark::DoNotOptimize(rowHeading.Column(i).size());
      }
      for (std::int32_t j = 0; j < columns.NColumns(); ++j) {
        benchmark::DoNotOptimize(columns.Column(j).size());
      }
      headingRows += rowHeading.NRows();
    }
  }
  state.SetItemsProcessed(state.iterations() * headingRows);
  state.counters["rows"] = static_cast<double>(headingRows);
}
BENCHMARK(BM_OmDisplayHeadings_Construct)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace
