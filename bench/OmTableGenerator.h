// Generates the benchmark workload: one pivot table with two nested row
// dimensions (an outer label repeating over 100 rows and an inner one) and a
// column dimension of statistics shown with 2 decimals, optionally under a
// layer dimension. The same table comes as an output document (dense "data"
// form) or as TSV with a header line, so tools can be compared on it.
#pragma once

#include <cstdint>
#include <iosfwd>

namespace omtext::bench {

struct TableShape {
  std::int64_t rows = 10000;  // rounded up to a multiple of 100
  int columns = 8;
  int layers = 0;  // 0: no layer dimension
  // Each cell as the JSON string of its text ("1234.56") instead of a number
  // with its decimals: the same table, a third of the bytes.
  bool stringCells = false;
};

// Writes the table as an output document with one pivot-table part.
void WriteDocument(const TableShape& shape, std::ostream& out);
// Writes the table as TSV: a header line, then one line per row (the two
// row labels, then the statistics).
void WriteTsv(const TableShape& shape, std::ostream& out);

}  // namespace omtext::bench
