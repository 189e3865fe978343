// One cell's text as the string folder sees it: the text, the matrix columns
// and text rows the cell occupies, the extra width a span grants it, and the
// byte offsets where the text may be broken. A node owns its text; whoever
// asked the folder for a node owns the node and deletes it through the base.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

class OmFormattedNode {
 public:
  // Empty text, length 0, one column, one row, no extra width, no fold points.
  OmFormattedNode();
  // Stores the values as given (note the order: columns, rows, extra width,
  // then length). Does not look at the text, so there are no fold points.
  OmFormattedNode(std::string text, std::int32_t columns, std::int32_t rows,
                  std::int32_t extraWidth, std::int32_t length);
  virtual ~OmFormattedNode();
  OmFormattedNode(const OmFormattedNode&) = delete;
  OmFormattedNode& operator=(const OmFormattedNode&) = delete;

  // True when the text has no bytes.
  virtual bool IsEmpty() const;
  // Text lines the cell is to fill.
  virtual std::int32_t NRows() const;
  // Matrix columns the cell spans.
  virtual std::int32_t NColumns() const;
  // Display positions the cell may use beyond its columns and the separators
  // between them.
  virtual std::int32_t ExtraWidth() const;
  // Blank lines that explicit line breaks produced in the last split; 0 until
  // the folder splits the node.
  virtual std::int32_t NNewLines() const;
  virtual void NNewLines(std::int32_t count);
  // Byte offsets of the blanks, line feeds and carriage returns of the text,
  // ascending. Writable: the folder reads it and tolerates any content.
  virtual std::vector<std::int32_t>& FoldPoints();
  // The text in the host's multibyte encoding. Writable, like FoldPoints().
  virtual std::string& String();

  // Stores the values as the constructor does, keeping the node's storage,
  // and clears the fold points and the new-lines count: a caller that makes
  // many short-lived nodes may reuse one.
  void Assign(std::string_view text, std::int32_t columns, std::int32_t rows,
              std::int32_t extraWidth, std::int32_t length);

  // The display length passed to the constructor, which the folder measured
  // on the text before any trimming.
  std::int32_t Length() const;

 private:
  // Held in the node itself: a layer makes a node for every cell, and one
  // allocation per node is cheaper than two.
  std::string mText;
  std::int32_t mLength = 0;
  std::int32_t mColumns = 1;
  std::int32_t mRows = 1;
  std::int32_t mNewLines = 0;
  std::int32_t mExtraWidth = 0;
  std::vector<std::int32_t> mFoldPoints;
};
