// The text matrix of a formatted layer.
#include "pivot/OmTextMatrix.h"

void OmTextMatrix::Resize(std::size_t lines, std::size_t columns) {
  mColumns = columns;
  mLines.assign(lines, std::vector<std::string>(columns));
}

void OmTextMatrix::InsertLines(std::size_t at, std::size_t count) {
  mLines.insert(mLines.begin() + static_cast<std::ptrdiff_t>(at), count,
                std::vector<std::string>(mColumns));
}

void OmTextMatrix::AppendLine(std::size_t line, std::string& out) const {
  for (const std::string& piece : mLines[line]) out += piece;
}
