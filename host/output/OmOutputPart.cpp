// Output part base and visitor.
#include "host/output/OmOutputPart.h"

OmOutputPart::~OmOutputPart() = default;
OmOutputPart::Visitor::~Visitor() = default;
void OmOutputPart::Visitor::Visit(OmPageTitle&) {}
