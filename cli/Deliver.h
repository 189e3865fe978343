// How the command plays an application's output management for the
// destination: the document's parts are handed over one at a time.
#pragma once

#include <string>
#include <vector>

class OmOutputTree;
class TextTreeVisitor;

namespace omtext::cli {

// Empties the tree into the destination: a top-level page title goes to
// SetPageTitle, every other top-level part, with its descendants, to
// EndProcedure as a finished procedure. Returns where each part that the
// destination replaced by "Output Missing" for lack of memory stood (see
// ReplacedParts). Write failures propagate.
std::vector<std::string> DeliverDocument(OmOutputTree& tree, TextTreeVisitor& destination);

}  // namespace omtext::cli
