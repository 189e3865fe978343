// A tree of values kept in insertion order: the root is node 0 and every
// later node is appended under an existing one. Each node has a handle
// (ConstNode) whose address stays fixed for the life of the tree, so views
// built over the tree may hand out `const ConstNode*`. Leaves (nodes without
// children) are numbered 0, 1, 2, ... in depth-first, left-to-right order.
// The tree owns its values. Not thread-safe: leaf numbering is computed on
// first use after a change.
#pragma once

#include <cstdint>
#include <deque>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

template <class T>
class OmVectorTree {
  struct Record;

 public:
  // Node numbers: 0 is the root, then the nodes in the order they were added.
  using NodeId = std::int32_t;
  static constexpr NodeId kNoNode = -1;

  // A stable handle of one tree node. Its first field refers to the tree
  // node itself: two handles stand for the same node exactly when those
  // fields are equal (SameNode, operator==). Handles are made by the tree.
  class ConstNode {
   public:
    // The tree node this handle stands for; the identity of the node.
    const void* Node() const { return mRecord; }
    bool SameNode(const ConstNode& other) const { return mRecord == other.mRecord; }
    bool operator==(const ConstNode& other) const { return mRecord == other.mRecord; }
    bool operator!=(const ConstNode& other) const { return mRecord != other.mRecord; }

    NodeId Id() const { return mId; }
    const T& Value() const { return mRecord->value; }
    const T* operator->() const { return &mRecord->value; }
    // The value's label, for value types that have one (OmDimensionNode).
    decltype(auto) Label() const { return mRecord->value.Label(); }
    // The parent's handle; null for the root.
    const ConstNode* Parent() const { return mParent; }
    // Distance from the root: 0 for the root, 1 for its children.
    std::int32_t Depth() const { return mRecord->depth; }
    bool IsRoot() const { return mParent == nullptr; }
    bool IsLeaf() const { return mRecord->firstChild == kNoNode; }

   private:
    friend class OmVectorTree;
    ConstNode(const Record* record, const ConstNode* parent, NodeId id)
        : mRecord(record), mParent(parent), mId(id) {}
    const Record* mRecord;
    const ConstNode* mParent;
    NodeId mId;
  };

  // Makes a tree whose root holds rootValue.
  explicit OmVectorTree(T rootValue) { Emplace(kNoNode, std::move(rootValue)); }
  OmVectorTree(const OmVectorTree&) = delete;
  OmVectorTree& operator=(const OmVectorTree&) = delete;
  ~OmVectorTree() = default;

  static constexpr NodeId Root() { return 0; }

  // Appends a node with value as the last child of parent and returns its
  // number. Throws std::out_of_range when parent is not a node of this tree
  // (value is then dropped) and std::length_error past 2^31 - 1 nodes.
  NodeId AddChild(NodeId parent, T value) {
    if (!Contains(parent))
      throw std::out_of_range("no tree node " + std::to_string(parent));
    if (Size() == INT32_MAX)
      throw std::length_error("too many tree nodes");
    const NodeId id = Emplace(parent, std::move(value));
    Record& up = mRecords[static_cast<std::size_t>(parent)];
    if (up.lastChild == kNoNode) {
      up.firstChild = id;
    } else {
      mRecords[static_cast<std::size_t>(up.lastChild)].nextSibling = id;
    }
    up.lastChild = id;
    mNumbered = false;
    return id;
  }

  std::int32_t Size() const { return static_cast<std::int32_t>(mRecords.size()); }
  bool Contains(NodeId id) const { return id >= 0 && id < Size(); }

  // The node's handle, at a fixed address; null when id is not a node.
  const ConstNode* Handle(NodeId id) const {
    return Contains(id) ? &mHandles[static_cast<std::size_t>(id)] : nullptr;
  }
  // The node's value; id must be a node.
  const T& Value(NodeId id) const { return mRecords[static_cast<std::size_t>(id)].value; }
  T& Value(NodeId id) { return mRecords[static_cast<std::size_t>(id)].value; }

  // Structure, for a node id of this tree; kNoNode where there is none.
  NodeId Parent(NodeId id) const { return mRecords[static_cast<std::size_t>(id)].parent; }
  NodeId FirstChild(NodeId id) const { return mRecords[static_cast<std::size_t>(id)].firstChild; }
  NodeId NextSibling(NodeId id) const { return mRecords[static_cast<std::size_t>(id)].nextSibling; }
  std::int32_t Depth(NodeId id) const { return mRecords[static_cast<std::size_t>(id)].depth; }

  // The number of leaves. A tree of only its root has none: the root is the
  // tree itself, never a category.
  std::int32_t NLeaves() const {
    Number();
    return static_cast<std::int32_t>(mLeaves.size());
  }
  // The node of the leaf at a position; kNoNode when out of range.
  NodeId Leaf(std::int32_t position) const {
    Number();
    return position >= 0 && position < NLeaves() ? mLeaves[static_cast<std::size_t>(position)]
                                                 : kNoNode;
  }
  // The largest depth of a leaf; 0 without leaves.
  std::int32_t MaxDepth() const {
    Number();
    return mMaxDepth;
  }
  // The nodes from the root's child down to node (node last); empty for the
  // root. The result holds Depth(node) entries.
  std::vector<NodeId> Path(NodeId node) const {
    std::vector<NodeId> path(static_cast<std::size_t>(Depth(node)));
    for (std::size_t i = path.size(); i > 0; --i) {
      path[i - 1] = node;
      node = Parent(node);
    }
    return path;
  }

 private:
  struct Record {
    Record(T v, NodeId up, std::int32_t d) : value(std::move(v)), parent(up), depth(d) {}
    T value;
    NodeId parent;
    NodeId firstChild = kNoNode;
    NodeId lastChild = kNoNode;
    NodeId nextSibling = kNoNode;
    std::int32_t depth;
  };

  NodeId Emplace(NodeId parent, T value) {
    const NodeId id = Size();
    const ConstNode* up = parent == kNoNode ? nullptr : Handle(parent);
    const std::int32_t depth = parent == kNoNode ? 0 : Depth(parent) + 1;
    mRecords.emplace_back(std::move(value), parent, depth);
    try {
      mHandles.push_back(ConstNode(&mRecords.back(), up, id));
    } catch (...) {
      mRecords.pop_back();
      throw;
    }
    return id;
  }

  // Numbers the leaves depth first without recursion, so that a very deep
  // tree cannot exhaust the stack.
  void Number() const {
    if (mNumbered)
      return;
    mLeaves.clear();
    mMaxDepth = 0;
    NodeId node = FirstChild(Root());
    while (node != kNoNode) {
      if (FirstChild(node) != kNoNode) {
        node = FirstChild(node);
        continue;
      }
      mLeaves.push_back(node);
      if (Depth(node) > mMaxDepth)
        mMaxDepth = Depth(node);
      while (node != kNoNode && NextSibling(node) == kNoNode)
        node = Parent(node);
      if (node != kNoNode)
        node = NextSibling(node);
    }
    mNumbered = true;
  }

  // Deques keep element addresses when they grow, which the handles rely on.
  std::deque<Record> mRecords;
  std::deque<ConstNode> mHandles;
  mutable std::vector<NodeId> mLeaves;
  mutable std::int32_t mMaxDepth = 0;
  mutable bool mNumbered = false;
};
