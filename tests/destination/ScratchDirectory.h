// A fresh directory under /tmp for one test, removed with everything in it
// when the test ends, and small file helpers over it.
#pragma once

#include <string>

namespace omtext::testing {

class ScratchDirectory {
 public:
  ScratchDirectory();
  ~ScratchDirectory();
  ScratchDirectory(const ScratchDirectory&) = delete;
  ScratchDirectory& operator=(const ScratchDirectory&) = delete;

  const std::string& Path() const { return mPath; }
  // The path of name inside the directory.
  std::string operator/(const std::string& name) const { return mPath + "/" + name; }

 private:
  std::string mPath;
};

// The whole file as bytes; "<missing>" when it cannot be opened.
std::string ReadBytes(const std::string& path);
void WriteBytes(const std::string& path, const std::string& bytes);
bool PathExists(const std::string& path);

// An open file description holding a write lock over the whole file (an
// open file description lock), released when destroyed.
class HeldLock {
 public:
  explicit HeldLock(const std::string& path);
  ~HeldLock();
  HeldLock(const HeldLock&) = delete;
  HeldLock& operator=(const HeldLock&) = delete;

 private:
  int mFd;
};

}  // namespace omtext::testing
