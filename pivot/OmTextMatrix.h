// The planned text of a formatted layer: lines of pieces, one piece per
// matrix column. Every piece is finished (padded and closed by its
// separator) before printing, so printing a line only joins its pieces.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

class OmTextMatrix {
 public:
  // Makes lines × columns empty pieces, dropping what was there.
  void Resize(std::size_t lines, std::size_t columns);
  std::size_t NumLines() const { return mLines.size(); }
  std::size_t NumColumns() const { return mColumns; }

  std::string& Piece(std::size_t line, std::size_t column) { return mLines[line][column]; }
  const std::string& Piece(std::size_t line, std::size_t column) const {
    return mLines[line][column];
  }
  // Inserts count lines of empty pieces before line at.
  void InsertLines(std::size_t at, std::size_t count);
  // Appends the pieces of a line, in column order, to out.
  void AppendLine(std::size_t line, std::string& out) const;

 private:
  std::size_t mColumns = 0;
  std::vector<std::vector<std::string>> mLines;
};
