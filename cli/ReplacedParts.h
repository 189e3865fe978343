// Finds the parts that an export replaced by "Output Missing" for lack of
// memory. The library recovers from that and goes on, as a host expects;
// the command must still say so and fail. A replaced part is a new part
// object at its node, so the parts are remembered before the export and
// looked at again after it.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "host/output/ListTree.h"
#include "host/output/OmOutputPart.h"

class OmOutputTree;
class OmTextExport;

namespace omtext::cli {

class ReplacedParts {
 public:
  using Node = ListTree<OmOutputPart*>::Node;

  // Remembers the parts of the nodes from first up to last, which are about
  // to be exported.
  void Remember(Node first, Node last);
  // Looks at the same nodes after their export and returns where each
  // replaced part stood, as "the pivot table at output[1].children[0]".
  // Ranges must be checked in document order, each exactly once: every
  // node counts towards the positions of the nodes after it.
  std::vector<std::string> Check(Node first, Node last);

  // Exports the whole tree one node at a time, which prints the same as one
  // export of the whole range, and returns where each part that was
  // replaced stood. With stopAtFirst the export ends after the first such
  // part. Whatever the export throws passes on.
  static std::vector<std::string> ExportTree(OmTextExport& exporter, OmOutputTree& tree,
                                             bool stopAtFirst);

 private:
  // Counts node towards the positions: the next sibling, or a first child.
  void Step(Node node);
  // The description of the part at the current position.
  std::string Where(bool table) const;

  // Each remembered part and whether it is a pivot table.
  std::vector<std::pair<const OmOutputPart*, bool>> mRemembered;
  // The index of the current node among its siblings, level by level.
  std::vector<std::int64_t> mPosition;
};

}  // namespace omtext::cli
