// Headings and procedures.
#include "host/output/OmHeading.h"

OmHeading::OmHeading(std::string text) : mText(std::move(text)) {}
void OmHeading::Accept(Visitor& visitor) {
  visitor.Visit(*this);
}

OmProcedure::OmProcedure(std::string title) : OmHeading(std::move(title)) {}
void OmProcedure::Accept(Visitor& visitor) {
  visitor.Visit(*this);
}
