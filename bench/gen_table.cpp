// Writes the benchmark table to standard output.
// Usage: gen_table ROWS json|json-strings|tsv [COLUMNS [LAYERS]]
// json-strings writes each cell as the string of its text rather than as a
// number with decimals.
#include <cstdlib>
#include <cstring>
#include <iostream>

#include "OmTableGenerator.h"

int main(int argc, char** argv) {
  const bool json = argc >= 3 && std::strcmp(argv[2], "json") == 0;
  const bool strings = argc >= 3 && std::strcmp(argv[2], "json-strings") == 0;
  if (argc < 3 || (!json && !strings && std::strcmp(argv[2], "tsv") != 0)) {
    std::cerr << "usage: gen_table ROWS json|json-strings|tsv [COLUMNS [LAYERS]]\n";
    return 2;
  }
  omtext::bench::TableShape shape;
  shape.rows = std::atoll(argv[1]);
  if (argc > 3)
    shape.columns = std::atoi(argv[3]);
  if (argc > 4)
    shape.layers = std::atoi(argv[4]);
  shape.stringCells = strings;
  std::ios::sync_with_stdio(false);
  if (json || strings) {
    omtext::bench::WriteDocument(shape, std::cout);
  } else {
    omtext::bench::WriteTsv(shape, std::cout);
  }
  return std::cout.flush() ? 0 : 1;
}
