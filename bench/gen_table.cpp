// Writes the benchmark table to standard output.
// Usage: gen_table ROWS json|tsv [COLUMNS [LAYERS]]
#include <cstdlib>
#include <cstring>
#include <iostream>

#include "OmTableGenerator.h"

int main(int argc, char** argv) {
  if (argc < 3 || (std::strcmp(argv[2], "json") != 0 && std::strcmp(argv[2], "tsv") != 0)) {
    std::cerr << "usage: gen_table ROWS json|tsv [COLUMNS [LAYERS]]\n";
    return 2;
  }
  omtext::bench::TableShape shape;
  shape.rows = std::atoll(argv[1]);
  if (argc > 3)
    shape.columns = std::atoi(argv[3]);
  if (argc > 4)
    shape.layers = std::atoi(argv[4]);
  std::ios::sync_with_stdio(false);
  if (std::strcmp(argv[2], "json") == 0) {
    omtext::bench::WriteDocument(shape, std::cout);
  } else {
    omtext::bench::WriteTsv(shape, std::cout);
  }
  return std::cout.flush() ? 0 : 1;
}
