// Finding the parts an export replaced for lack of memory.
#include "cli/ReplacedParts.h"

#include "export/OmTextExport.h"
#include "host/output/OmOutputTree.h"
#include "host/table/OmPivotTable.h"

namespace omtext::cli {

void ReplacedParts::Remember(Node first, Node last) {
  mRemembered.clear();
  for (Node node = first; node != last; ++node)
    mRemembered.emplace_back(node.Value(), dynamic_cast<const OmPivotTable*>(node.Value()));
}

std::vector<std::string> ReplacedParts::Check(Node first, Node last) {
  std::vector<std::string> replaced;
  std::size_t index = 0;
  for (Node node = first; node != last; ++node, ++index) {
    const auto level = static_cast<std::size_t>(node.Level());
    if (mPosition.size() < level) {
      mPosition.resize(level, 0);
    } else {
      mPosition.resize(level);
      ++mPosition.back();
    }
    if (index >= mRemembered.size() || node.Value() == mRemembered[index].first)
      continue;
    std::string where = mRemembered[index].second ? "the pivot table at " : "the part at ";
    for (std::size_t depth = 0; depth < mPosition.size(); ++depth)
      where += (depth == 0 ? "output[" : ".children[") + std::to_string(mPosition[depth]) + "]";
    replaced.push_back(std::move(where));
  }
  return replaced;
}

std::vector<std::string> ExportNotingReplacedParts(OmTextExport& exporter, OmOutputTree& tree,
                                                   bool stopAtFirst) {
  ReplacedParts watch;
  std::vector<std::string> replaced;
  for (auto node = tree.Begin(); node != tree.End();) {
    auto next = node;
    ++next;
    watch.Remember(node, next);
    exporter.Export(node, next);
    for (std::string& where : watch.Check(node, next))
      replaced.push_back(std::move(where));
    if (stopAtFirst && !replaced.empty())
      break;
    node = next;
  }
  return replaced;
}

}  // namespace omtext::cli
