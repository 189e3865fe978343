// Where the command's text goes: standard output or a named file, through a
// large buffer. A named file is written beside its final name and renamed
// over it only when the whole export succeeded, so a failed run never leaves
// a half-written or truncated file behind.
#pragma once

#include <memory>
#include <ostream>
#include <string>

namespace omtext::cli {

class OutputFile {
 public:
  // Standard output.
  OutputFile();
  // The file at path, replaced on Commit(). Throws std::system_error when
  // the temporary file cannot be created.
  explicit OutputFile(const std::string& path);
  // Removes the temporary file unless Commit() succeeded.
  ~OutputFile();
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;

  // The stream to write to. It throws std::ios_base::failure on the first
  // failed write; Error() then tells why.
  std::ostream& Stream();
  // Flushes, closes and renames into place. Throws std::system_error on
  // failure.
  void Commit();
  // The system's message for the last failed write ("" if none).
  std::string Error() const;

 private:
  struct Data;
  std::unique_ptr<Data> mData;
};

}  // namespace omtext::cli
