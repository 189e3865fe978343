// A page title: a title and a subtitle, which the output-management
// destination writes as two lines. The stream exporter prints nothing for it.
#pragma once

#include <string>

#include "host/output/OmOutputPart.h"

class OmPageTitle : public OmOutputPart {
 public:
  OmPageTitle(std::string title, std::string subtitle)
      : mTitle(std::move(title)), mSubtitle(std::move(subtitle)) {}
  void Accept(Visitor& visitor) override;

  const std::string& Title() const { return mTitle; }
  const std::string& Subtitle() const { return mSubtitle; }

 private:
  std::string mTitle;
  std::string mSubtitle;
};
