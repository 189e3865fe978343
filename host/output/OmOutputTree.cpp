// The output tree.
#include "host/output/OmOutputTree.h"

#include <stdexcept>
#include <string>
#include <utility>

#include "host/output/OmCellText.h"
#include "host/output/OmTextBlock.h"

OmOutputTree::OmOutputTree(OmOutputTree&& other) noexcept
    : ListTree<OmOutputPart*>(std::move(other)), mLastLevel(std::exchange(other.mLastLevel, 0)) {}

OmOutputTree& OmOutputTree::operator=(OmOutputTree&& other) noexcept {
  if (this != &other) {
    DeleteParts();
    ListTree<OmOutputPart*>::operator=(std::move(other));
    mLastLevel = std::exchange(other.mLastLevel, 0);
  }
  return *this;
}

OmOutputTree::~OmOutputTree() {
  DeleteParts();
}

void OmOutputTree::DeleteParts() {
  for (Node node = Begin(); node != End(); ++node) {
    delete node.Value();
    node.Value() = nullptr;
  }
}

OmOutputTree::Node OmOutputTree::Append(std::unique_ptr<OmOutputPart> part, std::int32_t level) {
  if (level < 1 || level > mLastLevel + 1) {
    throw std::invalid_argument("output part level " + std::to_string(level) +
                                " does not follow the tree order");
  }
  Node node = AppendNode(part.get(), level);
  part.release();
  mLastLevel = level;
  return node;
}

void OmOutputTree::AppendTree(OmOutputTree&& other, std::int32_t shift) {
  if (other.Empty())
    return;
  const std::int64_t firstLevel = static_cast<std::int64_t>(other.Begin().Level()) + shift;
  if (firstLevel < 1 || firstLevel > static_cast<std::int64_t>(mLastLevel) + 1) {
    throw std::invalid_argument("output tree level " + std::to_string(firstLevel) +
                                " does not follow the tree order");
  }
  mLastLevel = other.mLastLevel + shift;
  other.mLastLevel = 0;
  MoveAllShifted(other, shift);
}

OmOutputTree OmOutputTree::ExtractFirst() {
  OmOutputTree first;
  if (Empty())
    return first;
  MoveRange(Begin(), SubtreeEnd(Begin()), first);
  for (Node node = first.Begin(); node != first.End(); ++node)
    first.mLastLevel = node.Level();
  if (Empty())
    mLastLevel = 0;
  return first;
}

ListTree<OmOutputPart*>::Node Amputate(ListTree<OmOutputPart*>::Node node, OmCellText* cell,
                                       const char* charset) {
  auto block = std::make_unique<OmTextBlock>();
  block->Lines().push_back(cell != nullptr ? cell->GetText() : std::string());
  block->SetCharset(charset != nullptr ? charset : "");
  OmOutputPart* old = node.Tree()->Replace(node, block.release());
  delete old;
  return node;
}
