// Fuzz target of the document loader: arbitrary bytes as a document. A
// document is either loaded or rejected with an OmDocumentError whose
// position lies inside the text and whose message is one line of UTF-8, as
// the command prints it, and reading it in place gives the same verdict as
// reading it as a stream; anything else (a crash, a sanitizer report,
// another exception, a hang) is a finding.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>

#include "host/output/OmOutputTree.h"
#include "loader/OmDocumentLoader.h"

namespace {

// Whether text is well-formed UTF-8 (shortest forms, no surrogates).
bool IsUtf8(const std::string& text) {
  std::size_t i = 0;
  while (i < text.size()) {
    const auto c = static_cast<unsigned char>(text[i]);
    std::size_t length = 1;
    std::uint32_t value = c;
    if (c >= 0xF0 && c <= 0xF4) {
      length = 4;
      value = c & 0x07;
    } else if (c >= 0xE0) {
      length = 3;
      value = c & 0x0F;
    } else if (c >= 0xC2 && c <= 0xDF) {
      length = 2;
      value = c & 0x1F;
    } else if (c >= 0x80) {
      return false;
    }
    if (c > 0xF4 || i + length > text.size())
      return false;
    for (std::size_t k = 1; k < length; ++k) {
      const auto next = static_cast<unsigned char>(text[i + k]);
      if ((next & 0xC0) != 0x80)
        return false;
      value = value << 6 | (next & 0x3F);
    }
    if ((length == 3 && value < 0x800) || (length == 4 && (value < 0x10000 || value > 0x10FFFF)) ||
        (value >= 0xD800 && value <= 0xDFFF)) {
      return false;
    }
    i += length;
  }
  return true;
}

// The verdict on text read in place, which must match the stream's:
// "accepted" or the error as the command prints it.
std::string InPlaceVerdict(const std::string& text) {
  try {
    OmDocumentLoader::LoadString(text);
  } catch (const OmDocumentError& error) {
    return error.what();
  }
  return "accepted";
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  const std::string inPlace = InPlaceVerdict(text);
  std::istringstream in(text);
  try {
    OmOutputTree tree = OmDocumentLoader::Load(in);
    std::int64_t nodes = 0;
    for (auto node = tree.Begin(); node != tree.End(); ++node) {
      if (node.Value() == nullptr || node.Level() < 1)
        std::abort();
      ++nodes;
    }
    (void)nodes;
    if (inPlace != "accepted")
      std::abort();
  } catch (const OmDocumentError& error) {
    if (inPlace != error.what())
      std::abort();
    // Lines and columns count from 1; the error may point one past the
    // last byte (a truncated document) but not further.
    if (error.Line() < 1 || error.Column() < 1)
      std::abort();
    if (error.Line() > 1 + static_cast<std::int64_t>(size))
      std::abort();
    if (error.Column() > 2 + static_cast<std::int64_t>(size))
      std::abort();
    const std::string& message = error.Message();
    if (message.empty() || !IsUtf8(message))
      std::abort();
    for (const char c : message) {
      if (c == '\n' || c == '\r')
        std::abort();
    }
  }
  return 0;
}
