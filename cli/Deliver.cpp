#include "cli/Deliver.h"

#include <string>

#include "destination/TextTreeVisitor.h"
#include "host/output/OmOutputTree.h"
#include "host/output/OmPageTitle.h"

namespace omtext::cli {

void DeliverDocument(OmOutputTree& tree, TextTreeVisitor& destination) {
  while (!tree.Empty()) {
    OmOutputTree part = tree.ExtractFirst();
    if (auto* title = dynamic_cast<OmPageTitle*>(part.Begin().Value())) {
      std::string subtitle = title->Subtitle();
      destination.SetPageTitle(title->Title(), subtitle);
    } else {
      destination.EndProcedure(part);
    }
  }
}

}  // namespace omtext::cli
