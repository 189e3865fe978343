// The interface through which the pivot-table layout measures cell text and
// word-wraps it into lines: it makes formatted nodes, measures strings, finds
// the narrowest column a cell fits in and splits a cell into padded lines.
// The one implementation is OmWinStringFolder.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "host/platform/OmDisplayWidth.h"

class OmFormattedNode;

class OmStringFolder {
 public:
  // The folder's settings, copied by the folder when it is made.
  struct Options {
    // Printed between two columns. Its display length counts once for each
    // column boundary a spanning cell covers, and a padded line ends with it.
    std::string columnSeparator;
    // The text of the rule between rows; carried, not used by any operation.
    std::string rowSeparator;
    // The most display positions a line may be widened to; -1 for none.
    std::int32_t widthRestriction = -1;
    // How display positions are counted: bytes, or terminal columns of UTF-8
    // text (bytes in the other encodings).
    OmDisplayWidth displayWidth = OmDisplayWidth::Bytes;
  };

  virtual ~OmStringFolder() = default;

  // A new empty node: no text, one column, one row, no extra width.
  virtual std::unique_ptr<OmFormattedNode> MakeNode() = 0;
  // A new node for text spanning the given columns and rows, with its fold
  // points found and trailing blanks trimmed.
  virtual std::unique_ptr<OmFormattedNode> MakeNode(std::string text, std::int32_t columns,
                                                    std::int32_t rows, std::int32_t extraWidth) = 0;
  // The display width of text: its byte length in the host's encoding, or its
  // terminal columns when the folder counts columns.
  virtual std::int32_t GetStringLength(std::string text) = 0;
  // The width one base column needs so that the node, folded at width, fits:
  // the widest folded line less the extra width and the separators of the
  // span. May be zero or negative for a spanning cell. Sets the node's
  // new-lines count.
  virtual std::int32_t GetMinimumColumnWidth(OmFormattedNode& node, std::int32_t width) = 0;
  // For a one-column cell of rows >= 1 lines without extra width: when its
  // text would give a node that folds to itself on one line, sets minimum to
  // what GetMinimumColumnWidth(node, width) would return for that node and
  // returns true, without making the node. Otherwise (and by default)
  // returns false, and the caller makes the node.
  virtual bool MeasureUnfolded(const std::string& text, std::int32_t rows, std::int32_t width,
                               std::int32_t& minimum) {
    (void)text;
    (void)rows;
    (void)width;
    (void)minimum;
    return false;
  }
  // For text that MeasureUnfolded accepts at rows and width: appends to line
  // the first line that SplitString(node, width, lines, true) makes for the
  // text's node (the text padded and closed), sets padTo to how wide the
  // blank lines under it are padded, and returns true. Otherwise (and by
  // default) returns false and appends nothing.
  virtual bool PadUnfolded(const std::string& text, std::int32_t rows, std::int32_t width,
                           std::string& line, std::size_t& padTo) {
    (void)text;
    (void)rows;
    (void)width;
    (void)line;
    (void)padTo;
    return false;
  }
  // Word-wraps the node's text for a first column of width display positions
  // and appends the lines to lines; with pad, each line is filled out with
  // blanks to the cell's width and closed by the column separator. Returns
  // the number of lines appended. Sets the node's new-lines count.
  virtual std::int32_t SplitString(OmFormattedNode& node, std::int32_t width,
                                   std::vector<std::string>& lines, bool pad) = 0;
};
