// A host message composed from a pattern and arguments: "^1" in the pattern
// stands for the first added text, "^2" for the second, and so on. The
// composite owns copies of everything added to it. Reported with BpError.
#pragma once

#include <string>
#include <vector>

#include "host/platform/BpString.h"

class BpComposite {
 public:
  // The flag says that message is the pattern's text itself rather than a
  // catalogue key; this host has only texts, so both values mean the same.
  BpComposite(std::string message, bool isText);

  // Appends the next argument: the first fills "^1", the second "^2".
  void Add(const BpString& argument);

  // Composes the text: every "^" followed by digits n, 1 <= n <= the number
  // of arguments, is replaced by the n-th argument's text, in one pass, so
  // an argument that itself holds "^1" is inserted as it is. A "^" whose
  // digits name no argument (or with no digits) is kept unchanged. Adding
  // after Finish() is allowed; Finish() again recomposes.
  void Finish();

  // The composed text after Finish(); the pattern unchanged before it.
  const std::string& Text() const { return mText; }

 private:
  std::string mMessage;
  std::vector<BpString> mArguments;
  std::string mText;
};
