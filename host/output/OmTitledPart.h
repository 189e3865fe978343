// Charts, models, answer trees and interactive objects: parts that carry only
// a title and have no text form.
#pragma once

#include <string>

#include "host/output/OmOutputPart.h"

class OmTitledPart : public OmOutputPart {
 public:
  const std::string& Title() const { return mTitle; }

 protected:
  explicit OmTitledPart(std::string title) : mTitle(std::move(title)) {}

 private:
  std::string mTitle;
};

class OmChart : public OmTitledPart {
 public:
  explicit OmChart(std::string title = "") : OmTitledPart(std::move(title)) {}
  void Accept(Visitor& visitor) override;
};

class OmModel : public OmTitledPart {
 public:
  explicit OmModel(std::string title = "") : OmTitledPart(std::move(title)) {}
  void Accept(Visitor& visitor) override;
};

class OmAnswerTree : public OmTitledPart {
 public:
  explicit OmAnswerTree(std::string title = "") : OmTitledPart(std::move(title)) {}
  void Accept(Visitor& visitor) override;
};

class OmInteractive : public OmTitledPart {
 public:
  explicit OmInteractive(std::string title = "") : OmTitledPart(std::move(title)) {}
  void Accept(Visitor& visitor) override;
};
