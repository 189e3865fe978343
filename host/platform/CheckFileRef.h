// A file specification as the user typed it, turned into the name of a file:
// surrounding blanks and one pair of surrounding quotes removed and a leading
// "~/" replaced by the home directory. Nothing is checked on disk.
#pragma once

#include <string>

class CheckFileRef {
 public:
  // Resolves spec at once; never fails. Surrounding blanks are spaces and
  // tabs; the quotes are one matching pair of ' or " around what is left.
  // "~/" (after the quotes are removed) becomes the home directory and a
  // slash: $HOME, or the user's entry in the password database when HOME is
  // unset or empty; when neither gives one, "~/" stays as typed. The two
  // flags are the host's extra checks, which this host does not make; callers
  // pass false.
  CheckFileRef(const std::string& spec, bool mustExist, bool forReading);

  // The resolved name; may be empty (a specification of blanks or "").
  const std::string& String() const { return mName; }

 private:
  std::string mName;
};
