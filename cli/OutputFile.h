// Where the command's text goes: standard output or a named file, through a
// large buffer. A named file is written beside its final name and renamed
// over it only when the whole export succeeded, so a failed or killed run
// never leaves a half-written or truncated file, nor a temporary one, behind.
#pragma once

#include <cstdint>
#include <memory>
#include <ostream>
#include <stdexcept>
#include <string>

namespace omtext::cli {

// Thrown through the stream by the write that would take it past its limit.
class OutputLimitExceeded : public std::runtime_error {
 public:
  explicit OutputLimitExceeded(std::uint64_t limit)
      : std::runtime_error("output limit exceeded"), mLimit(limit) {}
  std::uint64_t Limit() const { return mLimit; }

 private:
  std::uint64_t mLimit;
};

class OutputFile {
 public:
  // Standard output.
  OutputFile();
  // The file at path, or the file a symbolic link there points to, replaced
  // on Commit(). Devices and pipes are written in place. Throws
  // std::system_error, whose what() names the file and the problem, when
  // the temporary file cannot be created or the device cannot be opened.
  // While the temporary file exists, SIGTERM, SIGINT, SIGHUP and SIGXFSZ
  // remove it before they end the process as they otherwise would; only one
  // such file may exist at a time.
  explicit OutputFile(const std::string& path);
  // Removes the temporary file unless Commit() succeeded. Text meant for
  // standard output or a device is written out as far as it goes.
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // Lets the stream take at most limit bytes in all: the write that would
  // pass it hands on the bytes within the limit and throws
  // OutputLimitExceeded (through the stream, which then is bad). Call it
  // before the first write.
  void SetLimit(std::uint64_t limit);
  // The stream to write to. It throws std::ios_base::failure on the first
  // failed write; Error() then tells why.
  std::ostream& Stream();
  // Flushes, closes and renames into place. Throws std::system_error, whose
  // what() names the file, on failure.
  void Commit();
  // "standard output", or the path as given: the name for messages.
  const std::string& Name() const;
  // The system's message for the last failed write ("" if none).
  std::string Error() const;

 private:
  struct Data;
  std::unique_ptr<Data> mData;
};

}  // namespace omtext::cli
