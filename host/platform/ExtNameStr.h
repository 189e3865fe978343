// The host's holder of a file name that streams are opened on.
#pragma once

#include <fstream>
#include <ios>
#include <string>
#include <utility>

class ExtNameStr {
 public:
  // Stores the name as given (already resolved, e.g. by CheckFileRef).
  void SetGeneric(std::string name) { mName = std::move(name); }
  const std::string& Name() const { return mName; }

  // Opens stream on the name with mode and returns whether it is open. On
  // failure the stream's fail state is set, which raises
  // std::ios_base::failure when the stream's exception mask asks for it. A
  // name holding a NUL byte cannot name a file and always fails, rather
  // than opening the file its first part names.
  bool Open(std::ofstream& stream, std::ios_base::openmode mode) const;

 private:
  std::string mName;
};
