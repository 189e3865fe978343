// Headings and procedures: one line of text each. A procedure is a heading
// that opens a procedure's output.
#pragma once

#include <string>

#include "host/output/OmOutputPart.h"
#include "host/output/OmText.h"

class OmHeading : public OmOutputPart {
 public:
  explicit OmHeading(std::string text);
  void Accept(Visitor& visitor) override;

  // The heading's text object.
  const OmText& Text() const { return mText; }

 private:
  OmText mText;
};

class OmProcedure : public OmHeading {
 public:
  explicit OmProcedure(std::string title);
  void Accept(Visitor& visitor) override;
};
