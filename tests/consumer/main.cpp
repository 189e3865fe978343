// Uses the installed headers and libraries the way a host application would.
#include <iostream>
#include <memory>

#include "export/OmTextExport.h"
#include "export/OmTextExportOptions.h"
#include "host/output/OmHeading.h"
#include "host/output/OmOutputTree.h"
#include "host/output/OmTextBlock.h"

int main() {
  OmOutputTree tree;
  tree.Append(std::make_unique<OmProcedure>("Consumer"), 1);
  tree.Append(std::make_unique<OmTextBlock>(std::vector<std::string>{"\x10\x0E\x18"}), 2);
  OmTextExportOptions options;
  options.NumLinesPerPage(100);
  OmTextExport exporter(options, std::cout);
  exporter.Export(tree);
  return 0;
}
