// A tree kept as a flat list in tree order: every node is followed by all of
// its descendants, and each node carries its level (top level 1). Positions
// (Node, ConstNode) hold the tree, the level and the list node; two positions
// are equal when their list nodes are. The tree does not own its values.
#pragma once

#include <cstdint>
#include <iterator>
#include <list>

template <class T>
class ListTree {
  struct Entry {
    T value;
    std::int32_t level;
  };
  using List = std::list<Entry>;

 public:
  class ConstNode;

  // A position in a modifiable tree; the end position holds no value.
  class Node {
   public:
    Node() = default;
    T& Value() const { return mIt->value; }
    std::int32_t Level() const { return mLevel; }
    ListTree* Tree() const { return mTree; }
    Node& operator++() {
      ++mIt;
      mLevel = mIt == mTree->mList.end() ? 0 : mIt->level;
      return *this;
    }
    bool operator==(const Node& other) const { return mIt == other.mIt; }
    bool operator!=(const Node& other) const { return mIt != other.mIt; }

   private:
    friend class ListTree;
    friend class ConstNode;
    Node(ListTree* tree, typename List::iterator it)
        : mTree(tree), mLevel(it == tree->mList.end() ? 0 : it->level), mIt(it) {}
    ListTree* mTree = nullptr;
    std::int32_t mLevel = 0;
    typename List::iterator mIt{};
  };

  // A position in a tree that is only read.
  class ConstNode {
   public:
    ConstNode() = default;
    ConstNode(const Node& node) : mTree(node.mTree), mLevel(node.mLevel), mIt(node.mIt) {}
    const T& Value() const { return mIt->value; }
    std::int32_t Level() const { return mLevel; }
    const ListTree* Tree() const { return mTree; }
    ConstNode& operator++() {
      ++mIt;
      mLevel = mIt == mTree->mList.end() ? 0 : mIt->level;
      return *this;
    }
    bool operator==(const ConstNode& other) const { return mIt == other.mIt; }
    bool operator!=(const ConstNode& other) const { return mIt != other.mIt; }

   private:
    friend class ListTree;
    ConstNode(const ListTree* tree, typename List::const_iterator it)
        : mTree(tree), mLevel(it == tree->mList.end() ? 0 : it->level), mIt(it) {}
    const ListTree* mTree = nullptr;
    std::int32_t mLevel = 0;
    typename List::const_iterator mIt{};
  };

  ListTree() = default;
  ListTree(const ListTree&) = delete;
  ListTree& operator=(const ListTree&) = delete;
  ListTree(ListTree&&) noexcept = default;
  ListTree& operator=(ListTree&&) noexcept = default;
  virtual ~ListTree() = default;

  bool Empty() const { return mList.empty(); }
  std::size_t Size() const { return mList.size(); }

  Node Begin() { return Node(this, mList.begin()); }
  Node End() { return Node(this, mList.end()); }
  ConstNode Begin() const { return ConstNode(this, mList.begin()); }
  ConstNode End() const { return ConstNode(this, mList.end()); }

  // The position after the subtree of first: the first following node whose
  // level is not greater than first's, or the end. End() for the end.
  Node SubtreeEnd(Node first) {
    if (first == End())
      return first;
    const std::int32_t level = first.Level();
    Node node = first;
    for (++node; node != End() && node.Level() > level; ++node) {
    }
    return node;
  }

  // Replaces the value at a position (not the end) and returns the old one.
  T Replace(Node node, T value) {
    T old = std::move(node.mIt->value);
    node.mIt->value = std::move(value);
    return old;
  }

 protected:
  // Appends a node at the end of the list; the caller keeps the tree order.
  Node AppendNode(T value, std::int32_t level) {
    mList.push_back(Entry{std::move(value), level});
    return Node(this, std::prev(mList.end()));
  }
  // Moves [first, last) of this tree to the end of other.
  void MoveRange(Node first, Node last, ListTree& other) {
    other.mList.splice(other.mList.end(), mList, first.mIt, last.mIt);
  }
  // Moves every node of other to the end of this tree, adding shift to each
  // node's level.
  void MoveAllShifted(ListTree& other, std::int32_t shift) {
    for (Entry& entry : other.mList)
      entry.level += shift;
    mList.splice(mList.end(), other.mList);
  }

 private:
  List mList;
};
