// The text matrix: pieces of every length, shared text that must not leak
// from one piece to another, and positions outside the matrix. Line
// insertions are checked by every rendering, which fills columns through
// them.
#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "pivot/OmTextMatrix.h"

namespace {

using Model = std::vector<std::vector<std::string>>;

std::string Line(const OmTextMatrix& matrix, std::size_t line) {
  std::string out;
  matrix.AppendLine(line, out);
  return out;
}

void ExpectMatches(const OmTextMatrix& matrix, const Model& model) {
  ASSERT_EQ(matrix.NumLines(), model.size());
  for (std::size_t i = 0; i < model.size(); ++i) {
    std::string joined;
    for (std::size_t c = 0; c < model[i].size(); ++c) {
      EXPECT_EQ(matrix.Piece(i, c), model[i][c]) << "line " << i << " column " << c;
      joined += model[i][c];
    }
    EXPECT_EQ(Line(matrix, i), joined) << "line " << i;
  }
}

TEST(OmTextMatrix, IgnoresPositionsOutsideTheMatrix) {
  OmTextMatrix matrix;
  matrix.Resize(2, 3);
  matrix.SetPiece(0, 2, "c|");
  matrix.SetPiece(2, 0, "below");
  for (const std::size_t far : {std::size_t{3}, std::size_t{99}}) {
    matrix.SetPiece(far, 0, "below");
    matrix.SetPiece(0, far, "beside");
    matrix.AppendToPiece(far, far, "far");
    matrix.ClearPiece(far, 1);
  }
  matrix.InsertLines(99, 1);  // past the end: appended
  matrix.InsertLines(1, 0);
  ExpectMatches(matrix, {{"", "", "c|"}, {"", "", ""}, {"", "", ""}});
  EXPECT_EQ(Line(matrix, 7), "");
  matrix.Resize(1, 1);  // drops what was there
  ExpectMatches(matrix, {{""}});
}

TEST(OmTextMatrix, SharedTextStaysAsItWasWhenOnePieceChanges) {
  OmTextMatrix matrix;
  matrix.Resize(4, 1);
  // Equal pieces in a column share their text; changing one must not
  // change the others, and views of stored text stay valid.
  matrix.SetPiece(0, 0, "____|");
  matrix.SetPiece(1, 0, "text|");
  matrix.SetPiece(2, 0, "____|");
  const std::string_view view = matrix.Piece(2, 0);
  matrix.AppendToPiece(2, 0, "more");
  matrix.SetPiece(3, 0, matrix.Piece(1, 0));
  for (int i = 0; i < 5000; ++i)
    matrix.SetPiece(1, 0, std::string(100, static_cast<char>('a' + i % 26)));
  EXPECT_EQ(matrix.Piece(0, 0), "____|");
  EXPECT_EQ(matrix.Piece(2, 0), "____|more");
  EXPECT_EQ(matrix.Piece(3, 0), "text|");
  EXPECT_EQ(view, "____|");
}

TEST(OmTextMatrix, KeepsPiecesOfEveryLength) {
  // Short pieces sit in the reference, longer ones behind a shared entry,
  // the longest on their own; the limits between them are tried.
  const std::vector<std::size_t> lengths = {1,    2,    62,    63,    64,    65,     4095,
                                            4096, 4097, 65535, 65536, 65537, 200000, 1048577};
  const auto text = [&lengths](std::size_t i) {
    return std::string(lengths[i] - 1, static_cast<char>('a' + i)) + "|";
  };
  OmTextMatrix matrix;
  matrix.Resize(lengths.size(), 2);
  for (std::size_t i = 0; i < lengths.size(); ++i) {
    matrix.SetPiece(i, 1, text(i));
    matrix.SetPiece(i, 0, text(i));
  }
  for (std::size_t i = 0; i < lengths.size(); ++i) {
    EXPECT_EQ(matrix.Piece(i, 0), text(i)) << lengths[i];
    EXPECT_EQ(Line(matrix, i), text(i) + text(i)) << lengths[i];
  }
  EXPECT_GT(matrix.MemoryUsage(), 2u * 1048577u);
}

}  // namespace
