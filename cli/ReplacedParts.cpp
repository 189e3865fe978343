// Finding the parts an export replaced for lack of memory.
#include "cli/ReplacedParts.h"

#include <typeinfo>

#include "export/OmTextExport.h"
#include "host/output/OmOutputTree.h"
#include "host/table/OmPivotTable.h"

namespace omtext::cli {
namespace {

// The exact type suffices for the documents the command loads, and costs a
// fraction of a dynamic_cast on every heading and text line.
bool IsTable(const OmOutputPart* part) {
  return part != nullptr && typeid(*part) == typeid(OmPivotTable);
}

}  // namespace

void ReplacedParts::Remember(Node first, Node last) {
  mRemembered.clear();
  for (Node node = first; node != last; ++node)
    mRemembered.emplace_back(node.Value(), IsTable(node.Value()));
}

std::vector<std::string> ReplacedParts::Check(Node first, Node last) {
  std::vector<std::string> replaced;
  std::size_t index = 0;
  for (Node node = first; node != last; ++node, ++index) {
    Step(node);
    if (index < mRemembered.size() && node.Value() != mRemembered[index].first)
      replaced.push_back(Where(mRemembered[index].second));
  }
  return replaced;
}

void ReplacedParts::Step(Node node) {
  const auto level = static_cast<std::size_t>(node.Level());
  if (mPosition.size() < level) {
    mPosition.resize(level, 0);
  } else {
    if (mPosition.size() > level)
      mPosition.resize(level);
    ++mPosition.back();
  }
}

std::string ReplacedParts::Where(bool table) const {
  std::string where = table ? "the pivot table at " : "the part at ";
  for (std::size_t depth = 0; depth < mPosition.size(); ++depth)
    where += (depth == 0 ? "output[" : ".children[") + std::to_string(mPosition[depth]) + "]";
  return where;
}

std::vector<std::string> ReplacedParts::ExportTree(OmTextExport& exporter, OmOutputTree& tree,
                                                   bool stopAtFirst) {
  // One node at a time, with no list to remember: this runs for every line
  // of the document.
  ReplacedParts watch;
  std::vector<std::string> replaced;
  for (auto node = tree.Begin(); node != tree.End();) {
    auto next = node;
    ++next;
    const OmOutputPart* before = node.Value();
    const bool table = IsTable(before);
    exporter.Export(node, next);
    watch.Step(node);
    if (node.Value() != before) {
      replaced.push_back(watch.Where(table));
      if (stopAtFirst)
        break;
    }
    node = next;
  }
  return replaced;
}

}  // namespace omtext::cli
