// Page titles.
#include "host/output/OmPageTitle.h"

void OmPageTitle::Accept(Visitor& visitor) {
  visitor.Visit(*this);
}
