// Loading output documents: a table of 10 statistics under two nested row
// dimensions and a layer dimension, in the dense form.
#include <benchmark/benchmark.h>

#include <sstream>

#include "OmTableGenerator.h"
#include "loader/OmDocumentLoader.h"

namespace {

void BM_OmDocumentLoader_DenseTable(benchmark::State& state) {
  omtext::bench::TableShape shape;
  shape.rows = state.range(0);
  shape.columns = 10;
  shape.layers = 1;
  std::ostringstream document;
  omtext::bench::WriteDocument(shape, document);
  const std::string text = document.str();
  for (auto _ : state) {
    std::istringstream in(text);
    OmOutputTree tree = OmDocumentLoader::Load(in);
    benchmark::DoNotOptimize(tree);
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                          static_cast<std::int64_t>(text.size()));
  state.counters["cells"] = benchmark::Counter(
      static_cast<double>(shape.rows * shape.columns) * static_cast<double>(state.iterations()),
      benchmark::Counter::kIsRate);
}
BENCHMARK(BM_OmDocumentLoader_DenseTable)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace
