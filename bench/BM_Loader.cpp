// Loading output documents: a table of 10 statistics under two nested row
// dimensions and a layer dimension, in the dense form; and the same table
// with its keys sorted, as tools that sort keys write it. Each is read as a
// stream and, from a string, in place.
#include <benchmark/benchmark.h>

#include <sstream>
#include <string>

#include "OmTableGenerator.h"
#include "loader/OmDocumentLoader.h"

namespace {

std::string TableDocument(std::int64_t rows) {
  omtext::bench::TableShape shape;
  shape.rows = rows;
  shape.columns = 10;
  shape.layers = 1;
  std::ostringstream document;
  omtext::bench::WriteDocument(shape, document);
  return document.str();
}

// The table part's keys in sorted order: "data" before "dimensions", which
// the loader must hold until it knows the dimensions, and "type" last, so
// that the whole part is held until its type is known.
std::string SortedKeys(const std::string& text) {
  const std::string type = "\"type\": \"pivot-table\", ";
  const std::size_t typeAt = text.find(type);
  const std::size_t dimensionsAt = text.find("\"dimensions\"", typeAt);
  const std::size_t dataAt = text.find(",\n\"data\"", dimensionsAt);
  const std::size_t end = text.rfind("}]}]}");
  return text.substr(0, typeAt) + text.substr(dataAt + 2, end - dataAt - 2) + ",\n" +
         text.substr(dimensionsAt, dataAt - dimensionsAt) + ", \"type\": \"pivot-table\"" +
         text.substr(end);
}

void LoadRepeatedly(benchmark::State& state, const std::string& text, bool inPlace = false) {
  for (auto _ : state) {
    if (inPlace) {
      OmOutputTree tree = OmDocumentLoader::LoadString(text);
      benchmark::DoNotOptimize(tree);
    } else {
      std::istringstream in(text);
      OmOutputTree tree = OmDocumentLoader::Load(in);
      benchmark::DoNotOptimize(tree);
    }
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) *
                          static_cast<std::int64_t>(text.size()));
  state.counters["cells"] = benchmark::Counter(
      static_cast<double>(state.range(0) * 10) * static_cast<double>(state.iterations()),
      benchmark::Counter::kIsRate);
}

void BM_OmDocumentLoader_DenseTable(benchmark::State& state) {
  LoadRepeatedly(state, TableDocument(state.range(0)));
}
BENCHMARK(BM_OmDocumentLoader_DenseTable)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

void BM_OmDocumentLoader_SortedKeys(benchmark::State& state) {
  LoadRepeatedly(state, SortedKeys(TableDocument(state.range(0))));
}
BENCHMARK(BM_OmDocumentLoader_SortedKeys)->Arg(10000)->Arg(100000)->Unit(benchmark::kMillisecond);

}  // namespace

void BM_OmDocumentLoader_DenseTableInPlace(benchmark::State& state) {
  LoadRepeatedly(state, TableDocument(state.range(0)), true);
}
BENCHMARK(BM_OmDocumentLoader_DenseTableInPlace)
    ->Arg(10000)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond);

void BM_OmDocumentLoader_SortedKeysInPlace(benchmark::State& state) {
  LoadRepeatedly(state, SortedKeys(TableDocument(state.range(0))), true);
}
BENCHMARK(BM_OmDocumentLoader_SortedKeysInPlace)
    ->Arg(10000)
    ->Arg(100000)
    ->Unit(benchmark::kMillisecond);
