// Checking a file before it is written.
#include "host/platform/ValidateFileSpecification.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

// The directory part of path: "." for a bare name, "/" at the root.
// Trailing slashes do not count as a separator.
std::string ParentDirectory(const std::string& path) {
  std::size_t end = path.size();
  while (end > 1 && path[end - 1] == '/')
    --end;
  const std::size_t slash = path.rfind('/', end - 1);
  if (slash == std::string::npos)
    return ".";
  std::size_t stop = slash;
  while (stop > 0 && path[stop - 1] == '/')
    --stop;
  return stop == 0 ? "/" : path.substr(0, stop);
}

bool MayWrite(const std::string& path, int mode) {
  return ::faccessat(AT_FDCWD, path.c_str(), mode, AT_EACCESS) == 0;
}

// Whether a lock held through another open file description would stop a
// write lock over the whole file. The file is opened without blocking and
// without becoming a controlling terminal, for reading if allowed, else for
// writing (neither truncates).
bool HasConflictingLock(const std::string& path) {
  const int flags = O_NONBLOCK | O_NOCTTY | O_CLOEXEC;
  int fd = ::open(path.c_str(), O_RDONLY | flags);
  if (fd < 0)
    fd = ::open(path.c_str(), O_WRONLY | flags);
  if (fd < 0)
    return false;
  struct flock lock {};
  lock.l_type = F_WRLCK;
  lock.l_whence = SEEK_SET;
  int result = ::fcntl(fd, F_OFD_GETLK, &lock);
  if (result != 0) {
    // Kernels without open file description locks know only the older kind.
    lock = {};
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    result = ::fcntl(fd, F_GETLK, &lock);
  }
  ::close(fd);
  return result == 0 && lock.l_type != F_UNLCK;
}

void Set(std::int32_t* output, std::int32_t value) {
  if (output != nullptr)
    *output = value;
}

}  // namespace

void ValidateFileSpecification(const char* name, std::int32_t length, std::int32_t /*purpose*/,
                               std::string* scratch, std::int32_t* exists, std::int32_t* creatable,
                               std::int32_t* readOnly, std::int32_t* busy) {
  Set(exists, 0);
  Set(creatable, 0);
  Set(readOnly, 0);
  Set(busy, 0);
  if (scratch != nullptr)
    scratch->clear();
  if (name == nullptr || length <= 0)
    return;
  const std::string path(name, static_cast<std::size_t>(length));
  if (path.find('\0') != std::string::npos)
    return;

  const std::string parent = ParentDirectory(path);
  if (scratch != nullptr)
    *scratch = parent;
  struct stat info {};
  if (::stat(path.c_str(), &info) == 0) {
    Set(exists, 1);
    if (S_ISDIR(info.st_mode) || !MayWrite(path, W_OK))
      Set(readOnly, 1);
    if (S_ISREG(info.st_mode) && HasConflictingLock(path))
      Set(busy, 1);
    return;
  }
  if (::stat(parent.c_str(), &info) == 0 && S_ISDIR(info.st_mode) &&
      MayWrite(parent, W_OK | X_OK)) {
    Set(creatable, 1);
  }
}
