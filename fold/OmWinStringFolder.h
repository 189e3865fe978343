// The string folder of the text export: measures text as byte lengths in the
// host's multibyte encoding (or, when its options say so, as terminal columns
// of UTF-8 text) and word-wraps cell text at blanks and line breaks, cutting
// over-long words between characters, never inside one.
// A folder copies its options and keeps working storage that it reuses from
// call to call, so one folder must not be used by two threads at once.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "fold/OmStringFolder.h"

class OmWinStringFolder : public OmStringFolder {
 public:
  explicit OmWinStringFolder(const OmStringFolder::Options& options);
  ~OmWinStringFolder() override;
  OmWinStringFolder(const OmWinStringFolder&) = delete;
  OmWinStringFolder& operator=(const OmWinStringFolder&) = delete;

  // A plain OmFormattedNode: empty, one column, one row, no extra width.
  std::unique_ptr<OmFormattedNode> MakeNode() override;
  // An OmWinFormattedNode whose length is GetStringLength(text).
  std::unique_ptr<OmFormattedNode> MakeNode(std::string text, std::int32_t columns,
                                            std::int32_t rows, std::int32_t extraWidth) override;
  // The display width of text (bytes or columns), at most 2147483647.
  std::int32_t GetStringLength(std::string text) override;
  // See OmStringFolder. Computed in 64 bits and clamped into 32.
  std::int32_t GetMinimumColumnWidth(OmFormattedNode& node, std::int32_t width) override;
  // See OmStringFolder: true for a text of no line feed or carriage return
  // whose blanks, if any, stand singly between words, and that fits the
  // room; a text without blanks is also taken when its width is not
  // restricted, since a single word overflows rather than folds.
  bool MeasureUnfolded(const std::string& text, std::int32_t rows, std::int32_t width,
                       std::int32_t& minimum) override;
  // See OmStringFolder. A word wider than the cell is widened up to the
  // width restriction and then cut into pieces of at most the cell's width in
  // characters, at least one character each, so a width restriction below 1
  // cuts a word into single characters. Counting columns, the pieces are at
  // most the cell's width in columns: a wide character that does not fit a
  // piece's last position starts the next one, zero-width characters stay
  // with the character before them, and a single character wider than the
  // cell is a piece of its own. Lines already in lines are kept and
  // not counted. With NRows() below 1 joining stops at the last line rather
  // than reaching past it. The cell's width, and so the padding, is taken as
  // the arguments give it: a huge width pads to that many bytes. Fold points
  // that are not ascending offsets inside the text are ignored.
  //
  // Wrapping is linear in the text. Joining n lines back into fewer rows
  // costs about n log n, but up to n squared when more than one line in 64
  // is an empty line from a line break (see OmLineJoiner).
  bool PadUnfolded(const std::string& text, std::int32_t rows, std::int32_t width,
                   std::string& line, std::size_t& padTo) override;
  std::int32_t SplitString(OmFormattedNode& node, std::int32_t width,
                           std::vector<std::string>& lines, bool pad) override;

 private:
  // The private record, defined in OmWinStringFolderPrivate.h, which names
  // it for the folder's own files and tests.
  struct Data;
  friend struct OmWinStringFolderPrivate;
  std::unique_ptr<Data> mData;
};
