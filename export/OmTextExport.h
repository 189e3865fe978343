// The library's entry point: exports an output tree, or a range of its
// nodes, as plain text to a stream. The options and the stream are held by
// reference, must outlive the exporter, and are never copied, flushed or
// closed by it. Consecutive exports through one exporter share one count of
// lines on the page.
#pragma once

#include <iosfwd>
#include <memory>

#include "host/output/ListTree.h"
#include "host/output/OmOutputPart.h"

class OmOutputTree;
class OmTextExportOptions;

class OmTextExport {
 public:
  OmTextExport(const OmTextExportOptions& options, std::ostream& stream);
  ~OmTextExport();
  OmTextExport(const OmTextExport&) = delete;
  OmTextExport& operator=(const OmTextExport&) = delete;

  // Exports the tree's first node and its descendants; later nodes at the
  // first node's level or above are not exported. An empty tree writes
  // nothing.
  void Export(OmOutputTree& tree);
  // Exports the nodes from first up to, not including, last, in list order.
  // A part runs out of memory while printing is replaced in its tree by a
  // text block saying so, which is printed; the walk goes on. Any other
  // exception, and a second lack of memory while printing that replacement,
  // passes to the caller with what was written so far left in the stream.
  void Export(ListTree<OmOutputPart*>::Node first, ListTree<OmOutputPart*>::Node last);

 private:
  struct Data;
  std::unique_ptr<Data> mData;
};
