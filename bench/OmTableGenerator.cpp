// The benchmark workload generator.
#include "OmTableGenerator.h"

#include <cstdio>
#include <ostream>
#include <string>

namespace omtext::bench {
namespace {

constexpr std::int64_t kInnerRows = 100;

std::int64_t OuterRows(const TableShape& shape) {
  return (shape.rows + kInnerRows - 1) / kInnerRows;
}

// A deterministic value for a cell, 0.00 to 9999.99, different per cell.
double Value(std::int64_t row, int column) {
  std::uint64_t x =
      static_cast<std::uint64_t>(row) * 1000003u + static_cast<std::uint64_t>(column) * 7919u;
  x ^= x >> 13;
  x *= 0x9E3779B97F4A7C15ull;
  x ^= x >> 29;
  return static_cast<double>(x % 1000000u) / 100.0;
}

std::string Format(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.2f", value);
  return text;
}

void WriteRows(const TableShape& shape, std::int64_t layerOffset, std::ostream& out) {
  out << '[';
  for (std::int64_t outer = 0; outer < OuterRows(shape); ++outer) {
    out << (outer ? ",\n[" : "\n[");
    for (std::int64_t inner = 0; inner < kInnerRows; ++inner) {
      const std::int64_t row = outer * kInnerRows + inner + layerOffset;
      out << (inner ? ",[" : "[");
      for (int column = 0; column < shape.columns; ++column) {
        out << (column ? "," : "");
        if (shape.stringCells) {
          out << '"' << Format(Value(row, column)) << '"';
        } else {
          out << "{\"value\":" << Format(Value(row, column)) << ",\"decimals\":2}";
        }
      }
      out << ']';
    }
    out << ']';
  }
  out << ']';
}

}  // namespace

void WriteDocument(const TableShape& shape, std::ostream& out) {
  out << "{\"output\": [{\"type\": \"procedure\", \"text\": \"Benchmark\", \"children\": [\n"
         "{\"type\": \"pivot-table\", \"title\": \"Statistics by group and item\",\n"
         "\"dimensions\": [\n";
  if (shape.layers > 0) {
    out << "{\"label\": \"Wave\", \"axis\": \"layer\", \"categories\": [";
    for (int layer = 0; layer < shape.layers; ++layer) {
      out << (layer ? "," : "") << "\"Wave " << layer + 1 << '"';
    }
    out << "]},\n";
  }
  out << "{\"label\": \"Group\", \"axis\": \"row\", \"categories\": [";
  for (std::int64_t outer = 0; outer < OuterRows(shape); ++outer) {
    out << (outer ? "," : "") << "\"Group " << outer + 1 << '"';
  }
  out << "]},\n{\"label\": \"Item\", \"axis\": \"row\", \"categories\": [";
  for (std::int64_t inner = 0; inner < kInnerRows; ++inner) {
    out << (inner ? "," : "") << "\"Item " << inner + 1 << '"';
  }
  out << "]},\n{\"label\": \"Statistics\", \"axis\": \"column\", \"categories\": [";
  for (int column = 0; column < shape.columns; ++column) {
    out << (column ? "," : "") << "\"Statistic " << column + 1 << '"';
  }
  out << "]}],\n\"data\": ";
  if (shape.layers > 0) {
    out << '[';
    for (int layer = 0; layer < shape.layers; ++layer) {
      if (layer)
        out << ",\n";
      WriteRows(shape, layer * shape.rows, out);
    }
    out << ']';
  } else {
    WriteRows(shape, 0, out);
  }
  out << "}]}]}\n";
}

void WriteTsv(const TableShape& shape, std::ostream& out) {
  out << "Group\tItem";
  for (int column = 0; column < shape.columns; ++column)
    out << "\tStatistic " << column + 1;
  out << '\n';
  for (std::int64_t outer = 0; outer < OuterRows(shape); ++outer) {
    for (std::int64_t inner = 0; inner < kInnerRows; ++inner) {
      const std::int64_t row = outer * kInnerRows + inner;
      out << "Group " << outer + 1 << "\tItem " << inner + 1;
      for (int column = 0; column < shape.columns; ++column) {
        out << '\t' << Format(Value(row, column));
      }
      out << '\n';
    }
  }
}

}  // namespace omtext::bench
