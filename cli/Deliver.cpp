#include "cli/Deliver.h"

#include "cli/ReplacedParts.h"
#include "destination/TextTreeVisitor.h"
#include "host/output/OmOutputTree.h"
#include "host/output/OmPageTitle.h"

namespace omtext::cli {

std::vector<std::string> DeliverDocument(OmOutputTree& tree, TextTreeVisitor& destination) {
  ReplacedParts watch;
  std::vector<std::string> replaced;
  while (!tree.Empty()) {
    OmOutputTree part = tree.ExtractFirst();
    watch.Remember(part.Begin(), part.End());
    if (auto* title = dynamic_cast<OmPageTitle*>(part.Begin().Value())) {
      std::string subtitle = title->Subtitle();
      destination.SetPageTitle(title->Title(), subtitle);
    } else {
      destination.EndProcedure(part);
    }
    for (std::string& where : watch.Check(part.Begin(), part.End()))
      replaced.push_back(std::move(where));
  }
  return replaced;
}

}  // namespace omtext::cli
