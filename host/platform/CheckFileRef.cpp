// Resolving typed file specifications.
#include "host/platform/CheckFileRef.h"

#include <pwd.h>
#include <unistd.h>

#include <cstdlib>
#include <vector>

namespace {

bool IsBlank(char c) {
  return c == ' ' || c == '\t';
}

// The home directory without trailing slashes ("" for the root directory),
// or false when none is known.
bool HomeDirectory(std::string& home) {
  const char* variable = std::getenv("HOME");
  if (variable != nullptr && *variable != '\0') {
    home = variable;
  } else {
    long size = ::sysconf(_SC_GETPW_R_SIZE_MAX);
    std::vector<char> buffer(size > 0 ? static_cast<std::size_t>(size) : 16384);
    passwd entry{};
    passwd* found = nullptr;
    if (::getpwuid_r(::geteuid(), &entry, buffer.data(), buffer.size(), &found) != 0 ||
        found == nullptr || found->pw_dir == nullptr || *found->pw_dir == '\0') {
      return false;
    }
    home = found->pw_dir;
  }
  while (!home.empty() && home.back() == '/')
    home.pop_back();
  return true;
}

}  // namespace

CheckFileRef::CheckFileRef(const std::string& spec, bool /*mustExist*/, bool /*forReading*/) {
  std::size_t first = 0;
  std::size_t last = spec.size();
  while (first < last && IsBlank(spec[first]))
    ++first;
  while (last > first && IsBlank(spec[last - 1]))
    --last;
  if (last - first >= 2 && (spec[first] == '"' || spec[first] == '\'') &&
      spec[last - 1] == spec[first]) {
    ++first;
    --last;
  }
  mName = spec.substr(first, last - first);
  std::string home;
  if (mName.compare(0, 2, "~/") == 0 && HomeDirectory(home)) {
    mName.replace(0, 1, home);
  }
}
