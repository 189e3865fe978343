// Text blocks.
#include "host/OmTextBlock.h"

void OmTextBlock::Accept(Visitor& visitor) { visitor.Visit(*this); }
