// A cell's text with its layout geometry and fold points; stores only.
#include "fold/OmFormattedNode.h"

#include <utility>

struct OmFormattedNode::Data {
  std::string text;
  std::int32_t length = 0;
  std::int32_t columns = 1;
  std::int32_t rows = 1;
  std::int32_t newLines = 0;
  std::int32_t extraWidth = 0;
  std::vector<std::int32_t> foldPoints;
};

OmFormattedNode::OmFormattedNode() : mData(std::make_unique<Data>()) {}

OmFormattedNode::OmFormattedNode(std::string text, std::int32_t columns, std::int32_t rows,
                                 std::int32_t extraWidth, std::int32_t length)
    : mData(std::make_unique<Data>()) {
  mData->text = std::move(text);
  mData->length = length;
  mData->columns = columns;
  mData->rows = rows;
  mData->extraWidth = extraWidth;
}

OmFormattedNode::~OmFormattedNode() = default;

bool OmFormattedNode::IsEmpty() const {
  return mData->text.empty();
}
std::int32_t OmFormattedNode::NRows() const {
  return mData->rows;
}
std::int32_t OmFormattedNode::NColumns() const {
  return mData->columns;
}
std::int32_t OmFormattedNode::ExtraWidth() const {
  return mData->extraWidth;
}
std::int32_t OmFormattedNode::NNewLines() const {
  return mData->newLines;
}
void OmFormattedNode::NNewLines(std::int32_t count) {
  mData->newLines = count;
}
std::vector<std::int32_t>& OmFormattedNode::FoldPoints() {
  return mData->foldPoints;
}
std::string& OmFormattedNode::String() {
  return mData->text;
}
std::int32_t OmFormattedNode::Length() const {
  return mData->length;
}
