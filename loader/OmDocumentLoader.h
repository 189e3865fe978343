// Loads an output document (JSON, see the project's document format) into
// an output tree. The whole document is read and checked before anything is
// returned: a document that breaks any rule gives no tree at all. The input
// is parsed as a stream, so memory stays proportional to the tree built, not
// to the size of the text.
#pragma once

#include <cstdint>
#include <iosfwd>
#include <stdexcept>
#include <string>

#include "host/output/OmOutputTree.h"

// A document that is not valid JSON or breaks a rule of the format. Line and
// column (in bytes) are counted from 1 and point at the offending value.
class OmDocumentError : public std::runtime_error {
 public:
  OmDocumentError(std::int64_t line, std::int64_t column, const std::string& message);

  std::int64_t Line() const { return mLine; }
  std::int64_t Column() const { return mColumn; }
  // The message without its position.
  const std::string& Message() const { return mMessage; }

 private:
  std::int64_t mLine;
  std::int64_t mColumn;
  std::string mMessage;
};

class OmDocumentLoader {
 public:
  // Reads a document from the stream to its end and returns its tree.
  // Throws OmDocumentError for an invalid document and std::runtime_error
  // when the stream cannot be read.
  static OmOutputTree Load(std::istream& in);
  // Reads the document in the file at path, as Load would read it from a
  // stream, and faster: a regular file is read in place. Throws as Load
  // does, and std::system_error when the file cannot be opened or is a
  // directory.
  static OmOutputTree LoadFile(const std::string& path);
  // Reads the document held in text, as Load would read it from a stream,
  // and faster: the text is read in place. Throws as Load does.
  static OmOutputTree LoadString(const std::string& text);
};
