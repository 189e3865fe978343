// A text object: the host's holder of a heading's or a caption's text.
#pragma once

#include <string>

class OmText {
 public:
  explicit OmText(std::string text) : mText(std::move(text)) {}
  virtual ~OmText() = default;

  // The whole text as one string.
  virtual std::string GetText() const { return mText; }

 private:
  std::string mText;
};
