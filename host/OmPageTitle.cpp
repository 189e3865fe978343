// Page titles.
#include "host/OmPageTitle.h"

void OmPageTitle::Accept(Visitor& visitor) { visitor.Visit(*this); }
