// How the command plays an application's output management for the
// destination: the document's parts are handed over one at a time.
#pragma once

class OmOutputTree;
class TextTreeVisitor;

namespace omtext::cli {

// Empties the tree into the destination: a top-level page title goes to
// SetPageTitle, every other top-level part, with its descendants, to
// EndProcedure as a finished procedure. Write failures propagate.
void DeliverDocument(OmOutputTree& tree, TextTreeVisitor& destination);

}  // namespace omtext::cli
