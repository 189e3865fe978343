// The tree exporter: walks a range of the output tree and dispatches each
// printable part to the visitor, recovering from lack of memory per part.
#include "export/OmTextExport.h"

#include <new>
#include <ostream>

#include "export/OmTextExportOptions.h"
#include "export/OmTextExportTreeVisitor.h"
#include "host/output/OmCellText.h"
#include "host/output/OmOutputTree.h"
#include "host/output/OmTextBlock.h"

struct OmTextExport::Data {
  Data(const OmTextExportOptions& exportOptions, std::ostream& out)
      : stream(out), options(exportOptions), visitor(out, exportOptions) {}

  std::ostream& stream;
  const OmTextExportOptions& options;
  OmTextExportTreeVisitor visitor;
};

OmTextExport::OmTextExport(const OmTextExportOptions& options, std::ostream& stream)
    : mData(std::make_unique<Data>(options, stream)) {}

OmTextExport::~OmTextExport() = default;

void OmTextExport::Export(OmOutputTree& tree) {
  if (tree.Empty())
    return;
  const ListTree<OmOutputPart*>::Node first = tree.Begin();
  Export(first, tree.SubtreeEnd(first));
}

void OmTextExport::Export(ListTree<OmOutputPart*>::Node first, ListTree<OmOutputPart*>::Node last) {
  for (ListTree<OmOutputPart*>::Node node = first; node != last; ++node) {
    OmOutputPart* part = node.Value();
    if (part == nullptr || !(part->selected || mData->options.ShowUnselected()))
      continue;
    try {
      part->Accept(mData->visitor);
    } catch (const std::bad_alloc&) {
      // The failed part is replaced in the host's tree by a text block that
      // says so; printing it is not guarded, so a second failure escapes.
      OmStringCell cell("Output Missing");
      node = Amputate(node, &cell, "CP1252");
      if (auto* block = dynamic_cast<OmTextBlock*>(node.Value())) {
        block->Lines().push_back("Out of memory exporting output.");
        block->Accept(mData->visitor);
      }
    }
  }
}
