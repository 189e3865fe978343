// The mapped text of a document file.
#include "loader/OmMappedText.h"

#include <fcntl.h>
#include <simdjson.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

namespace omtext::loader {
namespace {

std::size_t PageSize() {
  static const auto size = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
  return size;
}

// The check walks the text in windows this large and gives each back after
// it, so that checking a large file does not keep it resident.
constexpr std::size_t kCheckWindow = std::size_t{4} << 20;

// Gives back the whole pages in [begin, end) of a mapping that starts on a
// page boundary.
void Drop(char* map, std::size_t begin, std::size_t end) {
  const std::size_t page = PageSize();
  begin = (begin + page - 1) / page * page;
  end = end / page * page;
  if (end > begin)
    ::madvise(map + begin, end - begin, MADV_DONTNEED);
}

}  // namespace

bool IsPlainUtf8(const char* text, std::size_t size) {
  return std::memchr(text, '\0', size) == nullptr && simdjson::validate_utf8(text, size);
}

OmMappedText::OmMappedText(const std::string& path) {
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0)
    return;
  struct stat info {};
  if (::fstat(fd, &info) == 0 && S_ISREG(info.st_mode) && info.st_size > 0) {
    const auto size = static_cast<std::size_t>(info.st_size);
    // A page more than the file fills, zero-filled: the text is always
    // followed by a NUL byte, even when it ends on a page boundary.
    const std::size_t mapSize = (size / PageSize() + 1) * PageSize();
    void* area = ::mmap(nullptr, mapSize, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (area != MAP_FAILED) {
      if (::mmap(area, size, PROT_READ, MAP_PRIVATE | MAP_FIXED, fd, 0) == MAP_FAILED) {
        ::munmap(area, mapSize);
      } else {
        mMap = static_cast<char*>(area);
        mMapSize = mapSize;
        mData = mMap;
        mSize = size;
        ::madvise(mMap, mapSize, MADV_SEQUENTIAL);
      }
    }
  }
  ::close(fd);
}

OmMappedText::~OmMappedText() {
  if (mMap != nullptr)
    ::munmap(mMap, mMapSize);
}

bool OmMappedText::IsPlainUtf8() {
  std::size_t at = 0;
  while (at < mSize) {
    std::size_t end = std::min(mSize, at + kCheckWindow);
    // A window ends in front of a character's first byte, never inside one.
    while (end < mSize && end > at && (static_cast<unsigned char>(mData[end]) & 0xC0) == 0x80)
      --end;
    if (end == at)
      return false;
    const bool plain = loader::IsPlainUtf8(mData + at, end - at);
    Drop(mMap, at, end);
    if (!plain)
      return false;
    at = end;
  }
  return true;
}

void OmMappedText::Release(std::size_t offset) {
  offset = std::min(offset, mSize);
  if (offset <= mReleased)
    return;
  Drop(mMap, mReleased, offset);
  mReleased = offset / PageSize() * PageSize();
}

}  // namespace omtext::loader
