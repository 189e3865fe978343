// Scratch directories, file helpers and held locks for the tests.
#include "ScratchDirectory.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace omtext::testing {

ScratchDirectory::ScratchDirectory() {
  char pattern[] = "/tmp/omtext-dest-XXXXXX";
  if (::mkdtemp(pattern) == nullptr)
    throw std::runtime_error("cannot make a scratch directory");
  mPath = pattern;
}

ScratchDirectory::~ScratchDirectory() {
  std::error_code ignored;
  // Tests may take the write permission away; give it back so removal works.
  std::filesystem::permissions(mPath, std::filesystem::perms::owner_all,
                               std::filesystem::perm_options::add, ignored);
  std::filesystem::remove_all(mPath, ignored);
}

std::string ReadBytes(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in)
    return "<missing>";
  std::ostringstream bytes;
  bytes << in.rdbuf();
  return bytes.str();
}

void WriteBytes(const std::string& path, const std::string& bytes) {
  std::ofstream(path, std::ios::binary) << bytes;
}

bool PathExists(const std::string& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0;
}

HeldLock::HeldLock(const std::string& path) : mFd(::open(path.c_str(), O_RDWR | O_CLOEXEC)) {
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  if (mFd < 0 || ::fcntl(mFd, F_OFD_SETLK, &lock) != 0) {
    throw std::runtime_error("cannot lock " + path);
  }
}

HeldLock::~HeldLock() {
  ::close(mFd);
}

}  // namespace omtext::testing
