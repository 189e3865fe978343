// A cell's text with its layout geometry and fold points; stores only.
#include "fold/OmFormattedNode.h"

#include <utility>

OmFormattedNode::OmFormattedNode() = default;

OmFormattedNode::OmFormattedNode(std::string text, std::int32_t columns, std::int32_t rows,
                                 std::int32_t extraWidth, std::int32_t length)
    : mText(std::move(text)),
      mLength(length),
      mColumns(columns),
      mRows(rows),
      mExtraWidth(extraWidth) {}

OmFormattedNode::~OmFormattedNode() = default;

void OmFormattedNode::Assign(std::string_view text, std::int32_t columns, std::int32_t rows,
                             std::int32_t extraWidth, std::int32_t length) {
  mText.assign(text.data(), text.size());
  mLength = length;
  mColumns = columns;
  mRows = rows;
  mNewLines = 0;
  mExtraWidth = extraWidth;
  mFoldPoints.clear();
}

bool OmFormattedNode::IsEmpty() const {
  return mText.empty();
}
std::int32_t OmFormattedNode::NRows() const {
  return mRows;
}
std::int32_t OmFormattedNode::NColumns() const {
  return mColumns;
}
std::int32_t OmFormattedNode::ExtraWidth() const {
  return mExtraWidth;
}
std::int32_t OmFormattedNode::NNewLines() const {
  return mNewLines;
}
void OmFormattedNode::NNewLines(std::int32_t count) {
  mNewLines = count;
}
std::vector<std::int32_t>& OmFormattedNode::FoldPoints() {
  return mFoldPoints;
}
std::string& OmFormattedNode::String() {
  return mText;
}
std::int32_t OmFormattedNode::Length() const {
  return mLength;
}
