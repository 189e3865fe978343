// A text argument of a composed host message (see BpComposite.h): the text
// that fills one "^n" placeholder. A small value, copied freely.
#pragma once

#include <string>
#include <utility>

class BpString {
 public:
  // The text is used exactly as given. The flag marks text the host would
  // look up in its message catalogue; this host has no catalogue, so it has
  // no effect and callers pass false.
  BpString(std::string text, bool lookUp) : mText(std::move(text)), mLookUp(lookUp) {}

  const std::string& Text() const { return mText; }
  bool LookUp() const { return mLookUp; }

 private:
  std::string mText;
  bool mLookUp;
};
