// The private record of OmWinStringFolder: the copied options, the string
// operations the folder is built from, and the working storage it reuses.
// Not installed; included by the folder and its tests.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "fold/OmLineJoiner.h"
#include "fold/OmTextMeasure.h"
#include "fold/OmWinStringFolder.h"

class OmFormattedNode;

// Names the private record for the folder's own files and tests.
struct OmWinStringFolderPrivate {
  using Data = OmWinStringFolder::Data;
};

struct OmWinStringFolder::Data {
  explicit Data(const OmStringFolder::Options& options);

  // The display width of s (bytes or columns), at most 2147483647.
  std::int32_t GetStringLength(const std::string& s) const;
  // The number of characters of s without its trailing blanks, or all of
  // them when s is blanks only. A last character in the last byte does not
  // end a run of blanks ('ab  c' counts 3).
  std::int32_t GetNumChars(const std::string& s) const;
  // head = the first n whole characters of s, tail = the rest. A character
  // whose declared length runs past the end of s goes to the tail. With
  // n < 0 head is empty and tail is s.
  void SplitAtLength(std::string s, std::int32_t n, std::string& head, std::string& tail) const;
  // Fits lines to node.NRows(): joins the shortest neighbouring pair (see
  // OmLineJoiner for the break-line rules) while more than NRows() lines
  // are not break lines and the join stays within the width restriction,
  // then adds empty lines up to NRows(). Returns the width to pad to: width
  // when nothing was joined, else the last join's length.
  std::int32_t AdjustNumberOfStrings(OmFormattedNode& node, std::int32_t width,
                                     std::vector<std::string>& lines,
                                     std::vector<std::int32_t> breakLines);

  // A run of bytes of the node's text.
  struct Span {
    std::size_t offset;
    std::size_t length;
  };

  // Folds the node at width into this record's working storage: the spans of
  // every folded line, joined as the joiner reports, then extraLines empty
  // lines. Line lengths are display widths. Sets the node's new-lines count.
  // Returns the width to pad to.
  std::int64_t Fold(OmFormattedNode& node, std::int32_t width);
  // Fold() with the words measured by Widths (bytes or columns), so that
  // the measure is chosen once per cell rather than per word.
  template <class Widths>
  std::int64_t FoldWith(OmFormattedNode& node, std::int32_t width);
  // Appends the folded lines to lines, padded to full display positions and
  // closed by the column separator when pad is set.
  void AppendFoldedLines(const std::string& text, std::int64_t full, bool pad,
                         std::vector<std::string>& lines) const;
  // The common cell: one column, no extra width, at least one row, text
  // without fold points (no blanks or line breaks inside it) that folds to
  // itself on one line. Then sets the node's new-lines count to 0, stores in
  // w the width Fold() would return and in shown the text's display width,
  // and returns true; else returns false and changes nothing. Fold() would
  // give the same lines, one of the text and NRows() - 1 empty ones, without
  // the working storage.
  bool FoldsToItself(OmFormattedNode& node, std::int32_t width, std::int64_t& w,
                     std::int64_t& shown) const;
  // Whether text, in a one-column cell of rows lines, would make a node that
  // FoldsToItself() at width; then stores that width in room and the text's
  // display width in shown.
  bool Unfolded(const std::string& text, std::int32_t rows, std::int32_t width, std::int64_t& room,
                std::int64_t& shown) const;
  // Releases working storage that a huge cell made grow.
  void TrimStorage();

  std::string columnSeparator;
  std::string rowSeparator;
  std::int32_t widthRestriction = -1;
  // How widths are counted, and the column separator's width so counted.
  OmTextMeasure measure;
  std::int64_t separatorWidth = 0;

  // Working storage of Fold(): the word spans in text order, the first span
  // and the length of each folded line, the indices of break lines.
  std::vector<Span> spans;
  std::vector<std::int32_t> lineFirstSpan;
  std::vector<std::int64_t> lineLengths;
  std::vector<std::int32_t> breakLines;
  OmLineJoiner joiner;
  std::int64_t extraLines = 0;
};
