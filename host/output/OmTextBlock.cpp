// Text blocks.
#include "host/output/OmTextBlock.h"

void OmTextBlock::Accept(Visitor& visitor) {
  visitor.Visit(*this);
}
