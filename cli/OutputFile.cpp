// Buffered output to a file descriptor with an optional limit, replacement
// of a named file, and removal of its temporary file on a fatal signal.
#include "cli/OutputFile.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cassert>
#include <cerrno>
#include <cstring>
#include <limits>
#include <streambuf>
#include <system_error>
#include <vector>

namespace omtext::cli {
namespace {

// Writes through a 1 MiB buffer; a failed write makes every later one fail
// too and keeps the errno of the first. The put area never reaches past the
// limit, so that even a single character beyond it comes to overflow().
class FdStreamBuf : public std::streambuf {
 public:
  explicit FdStreamBuf(int fd) : mFd(fd), mBuffer(1 << 20) { ResetPutArea(); }

  int ErrorNumber() const { return mError; }
  bool Flush() { return FlushBuffer(); }
  // Before the first write.
  void SetLimit(std::uint64_t limit) {
    assert(mWritten == 0 && pptr() == pbase());
    mLimit = limit;
    ResetPutArea();
  }

 protected:
  int_type overflow(int_type ch) override {
    if (!FlushBuffer())
      return traits_type::eof();
    if (!traits_type::eq_int_type(ch, traits_type::eof())) {
      if (pptr() == epptr())
        throw OutputLimitExceeded(mLimit);
      *pptr() = traits_type::to_char_type(ch);
      pbump(1);
    }
    return traits_type::not_eof(ch);
  }

  std::streamsize xsputn(const char* text, std::streamsize count) override {
    if (count <= epptr() - pptr()) {
      std::memcpy(pptr(), text, static_cast<std::size_t>(count));
      pbump(static_cast<int>(count));
      return count;
    }
    if (!FlushBuffer())
      return 0;
    // What the limit lets through; the rest makes the write throw.
    const std::size_t taken = static_cast<std::size_t>(
        std::min<std::uint64_t>(static_cast<std::uint64_t>(count), mLimit - mWritten));
    if (taken >= mBuffer.size()) {
      mWritten += taken;
      ResetPutArea();
      if (!WriteAll(text, taken))
        return 0;
    } else {
      std::memcpy(pptr(), text, taken);
      pbump(static_cast<int>(taken));
    }
    if (taken < static_cast<std::size_t>(count))
      throw OutputLimitExceeded(mLimit);
    return count;
  }

  int sync() override { return FlushBuffer() ? 0 : -1; }

 private:
  // Makes the whole buffer, or as much as the limit leaves, the put area.
  // The buffer must be empty.
  void ResetPutArea() {
    const std::uint64_t room = std::min<std::uint64_t>(mBuffer.size(), mLimit - mWritten);
    setp(mBuffer.data(), mBuffer.data() + room);
  }

  bool FlushBuffer() {
    const std::size_t pending = static_cast<std::size_t>(pptr() - pbase());
    mWritten += pending;
    ResetPutArea();
    return WriteAll(mBuffer.data(), pending);
  }

  bool WriteAll(const char* text, std::size_t count) {
    if (mError != 0)
      return false;
    while (count > 0) {
      const ssize_t written = ::write(mFd, text, count);
      if (written < 0) {
        if (errno == EINTR)
          continue;
        mError = errno;
        return false;
      }
      text += written;
      count -= static_cast<std::size_t>(written);
    }
    return true;
  }

  int mFd;
  std::vector<char> mBuffer;
  int mError = 0;
  // Bytes handed to write() so far, and the most the stream may take.
  std::uint64_t mWritten = 0;
  std::uint64_t mLimit = std::numeric_limits<std::uint64_t>::max();
};

[[noreturn]] void ThrowSystem(const std::string& what) {
  throw std::system_error(errno, std::generic_category(), what);
}

// The signals that end a run while its temporary file exists. The file is
// removed first; a signal that was ignored when the command started stays
// ignored.
constexpr int kFatalSignals[] = {SIGTERM, SIGINT, SIGHUP, SIGXFSZ};
constexpr std::size_t kFatalCount = sizeof kFatalSignals / sizeof kFatalSignals[0];

static_assert(std::atomic<const char*>::is_always_lock_free);
// The temporary file's path, set up before any handler may read it.
std::atomic<const char*> gTemporary{nullptr};
struct sigaction gPrevious[kFatalCount];

sigset_t FatalSignals() {
  sigset_t set;
  ::sigemptyset(&set);
  for (int signal : kFatalSignals)
    ::sigaddset(&set, signal);
  return set;
}

// Async-signal-safe: unlink, signal, raise and sigprocmask only.
void RemoveTemporaryAndRaise(int signal) {
  if (const char* path = gTemporary.load())
    ::unlink(path);
  ::signal(signal, SIG_DFL);
  ::raise(signal);
  sigset_t set;
  ::sigemptyset(&set);
  ::sigaddset(&set, signal);
  ::sigprocmask(SIG_UNBLOCK, &set, nullptr);
}

// Holds the fatal signals back while the temporary file and the handlers
// change together; one that arrives meanwhile is delivered afterwards.
class FatalSignalsHeld {
 public:
  FatalSignalsHeld() {
    const sigset_t set = FatalSignals();
    ::sigprocmask(SIG_BLOCK, &set, &mOld);
  }
  ~FatalSignalsHeld() { ::sigprocmask(SIG_SETMASK, &mOld, nullptr); }
  FatalSignalsHeld(const FatalSignalsHeld&) = delete;
  FatalSignalsHeld& operator=(const FatalSignalsHeld&) = delete;

 private:
  sigset_t mOld{};
};

void WatchTemporary(const char* path) {
  gTemporary.store(path);
  struct sigaction action {};
  action.sa_handler = RemoveTemporaryAndRaise;
  action.sa_mask = FatalSignals();
  for (std::size_t i = 0; i < kFatalCount; ++i) {
    ::sigaction(kFatalSignals[i], nullptr, &gPrevious[i]);
    const bool ignored =
        (gPrevious[i].sa_flags & SA_SIGINFO) == 0 && gPrevious[i].sa_handler == SIG_IGN;
    if (!ignored)
      ::sigaction(kFatalSignals[i], &action, nullptr);
  }
}

void UnwatchTemporary() {
  for (std::size_t i = 0; i < kFatalCount; ++i)
    ::sigaction(kFatalSignals[i], &gPrevious[i], nullptr);
  gTemporary.store(nullptr);
}

std::string DirectoryOf(const std::string& path) {
  const std::size_t slash = path.rfind('/');
  return slash == std::string::npos ? std::string() : path.substr(0, slash + 1);
}

// The path that writing to path reaches: symbolic links are followed, even
// a dangling one, so that the file they point to is written and the link
// stays.
std::string FollowLinks(const std::string& path) {
  std::string target = path;
  for (int links = 0;; ++links) {
    struct stat info {};
    if (::lstat(target.c_str(), &info) != 0 || !S_ISLNK(info.st_mode))
      return target;
    if (links == 40) {
      errno = ELOOP;
      ThrowSystem(path);
    }
    std::string link(static_cast<std::size_t>(std::max<off_t>(info.st_size, 0)) + 256, '\0');
    const ssize_t length = ::readlink(target.c_str(), link.data(), link.size());
    if (length < 0)
      ThrowSystem(path);
    link.resize(static_cast<std::size_t>(length));
    target = !link.empty() && link[0] == '/' ? link : DirectoryOf(target) + link;
  }
}

}  // namespace

struct OutputFile::Data {
  Data(int fileDescriptor, std::string displayName)
      : fd(fileDescriptor), buffer(fileDescriptor), stream(&buffer), name(std::move(displayName)) {
    stream.exceptions(std::ios_base::badbit | std::ios_base::failbit);
  }

  int fd;
  FdStreamBuf buffer;
  std::ostream stream;
  std::string name;
  // For a named file: the final path and the temporary one ("" when the
  // file is written in place, as a device or a pipe must be).
  std::string path;
  std::string temporary;
  bool ownsFd = false;
  bool committed = false;
};

OutputFile::OutputFile() : mData(std::make_unique<Data>(STDOUT_FILENO, "standard output")) {}

OutputFile::OutputFile(const std::string& path) {
  const std::string target = FollowLinks(path);
  struct stat info {};
  const bool exists = ::stat(target.c_str(), &info) == 0;
  if (exists && !S_ISREG(info.st_mode)) {
    // Devices, pipes and the like cannot be replaced; write to them.
    const int fd = ::open(target.c_str(), O_WRONLY | O_TRUNC | O_CLOEXEC);
    if (fd < 0)
      ThrowSystem(path);
    mData = std::make_unique<Data>(fd, path);
    mData->ownsFd = true;
    mData->path = target;
    return;
  }
  const std::string directory = DirectoryOf(target);
  std::string temporary = directory + ".omtext-XXXXXX";
  mode_t mode = 0;
  if (exists) {
    mode = info.st_mode & 07777;
  } else {
    const mode_t mask = ::umask(0);
    ::umask(mask);
    mode = 0666 & ~mask;
  }
  const FatalSignalsHeld held;
  const int fd = ::mkstemp(temporary.data());
  if (fd < 0) {
    const std::string where = directory.empty()       ? std::string(".")
                              : directory.size() == 1 ? directory
                                                      : directory.substr(0, directory.size() - 1);
    ThrowSystem(path + ": cannot create a temporary file in " + where + " to write it");
  }
  ::fchmod(fd, mode);
  mData = std::make_unique<Data>(fd, path);
  mData->ownsFd = true;
  mData->path = target;
  mData->temporary = temporary;
  WatchTemporary(mData->temporary.c_str());
}

OutputFile::~OutputFile() {
  if (mData->temporary.empty() && !mData->committed)
    mData->buffer.Flush();
  if (mData->ownsFd && mData->fd >= 0)
    ::close(mData->fd);
  if (!mData->temporary.empty() && !mData->committed) {
    const FatalSignalsHeld held;
    ::unlink(mData->temporary.c_str());
    UnwatchTemporary();
  }
}

void OutputFile::SetLimit(std::uint64_t limit) {
  mData->buffer.SetLimit(limit);
}

std::ostream& OutputFile::Stream() {
  return mData->stream;
}

void OutputFile::Commit() {
  if (!mData->buffer.Flush()) {
    errno = mData->buffer.ErrorNumber();
    ThrowSystem(mData->name + ": write error");
  }
  if (mData->ownsFd) {
    const int fd = mData->fd;
    mData->fd = -1;
    if (::close(fd) != 0)
      ThrowSystem(mData->name + ": write error");
  }
  if (!mData->temporary.empty()) {
    const FatalSignalsHeld held;
    if (::rename(mData->temporary.c_str(), mData->path.c_str()) != 0)
      ThrowSystem(mData->name + ": cannot put the written file in place");
    UnwatchTemporary();
  }
  mData->committed = true;
}

const std::string& OutputFile::Name() const {
  return mData->name;
}

std::string OutputFile::Error() const {
  const int error = mData->buffer.ErrorNumber();
  return error == 0 ? std::string() : std::string(std::strerror(error));
}

}  // namespace omtext::cli
