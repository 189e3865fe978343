// Parts without a text form.
#include "host/output/OmTitledPart.h"

void OmChart::Accept(Visitor& visitor) {
  visitor.Visit(*this);
}
void OmModel::Accept(Visitor& visitor) {
  visitor.Visit(*this);
}
void OmAnswerTree::Accept(Visitor& visitor) {
  visitor.Visit(*this);
}
void OmInteractive::Accept(Visitor& visitor) {
  visitor.Visit(*this);
}
