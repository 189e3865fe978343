// A regular file's bytes mapped read-only into memory, for the loader's fast
// path. The text is followed by at least one NUL byte, so a reader may look
// one byte past its end. Pages the reader has left behind can be given back,
// so that reading a large file does not keep it all resident.
#pragma once

#include <cstddef>
#include <string>

namespace omtext::loader {

// Whether size bytes of text are valid UTF-8 without NUL bytes, the text a
// document must be to be read in place.
bool IsPlainUtf8(const char* text, std::size_t size);

class OmMappedText {
 public:
  // Maps the file at path. Returns an empty mapping (Data() null) when the
  // file is not a regular non-empty file or cannot be mapped; the caller
  // then reads it as a stream, which reports any error the usual way.
  explicit OmMappedText(const std::string& path);
  OmMappedText(const OmMappedText&) = delete;
  OmMappedText& operator=(const OmMappedText&) = delete;
  ~OmMappedText();

  const char* Data() const { return mData; }
  std::size_t Size() const { return mSize; }

  // Whether the text is valid UTF-8 without NUL bytes. Pages are given back
  // as they are checked.
  bool IsPlainUtf8();

  // Gives back the pages wholly before offset; they must not be read again.
  void Release(std::size_t offset);

 private:
  char* mMap = nullptr;
  std::size_t mMapSize = 0;
  const char* mData = nullptr;
  std::size_t mSize = 0;
  std::size_t mReleased = 0;
};

}  // namespace omtext::loader
