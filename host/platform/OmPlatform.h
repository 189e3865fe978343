// Process-wide host settings: the multibyte encoding of cell text, the page
// length and the line width. Programs and tests set them; the export library
// only reads them. Not thread-safe: set them before exporting.
#pragma once

// The host's multibyte encodings. Display width is always the byte length;
// the encoding only decides how many bytes one character takes.
enum class OmEncoding { Utf8, SingleByte, DoubleByte };

// Sets and returns the current encoding (default OmEncoding::Utf8).
void OmSetEncoding(OmEncoding encoding);
OmEncoding OmGetEncoding();

namespace omtext_detail {
extern OmEncoding gEncoding;
}

// The byte length of the character whose first byte is at p, in the current
// encoding: UTF-8 gives 2, 3 or 4 for lead bytes 0xC0-0xDF, 0xE0-0xEF and
// 0xF0-0xF7 and 1 for every other byte; single-byte always 1; double-byte 2
// for a lead byte 0x81-0xFE, else 1. Never less than 1. Reads only *p, so the
// caller must not trust the result to stay inside its string.
inline int VELDMBmbclen_A(const char* p) {
  const unsigned char c = static_cast<unsigned char>(*p);
  switch (omtext_detail::gEncoding) {
    case OmEncoding::Utf8:
      if (c >= 0xC0 && c <= 0xDF)
        return 2;
      if (c >= 0xE0 && c <= 0xEF)
        return 3;
      if (c >= 0xF0 && c <= 0xF7)
        return 4;
      return 1;
    case OmEncoding::DoubleByte:
      return (c >= 0x81 && c <= 0xFE) ? 2 : 1;
    case OmEncoding::SingleByte:
      break;
  }
  return 1;
}

// Non-zero exactly when the current encoding is UTF-8.
int qUTF8mode();

// The host's page length in lines (default 60) and line width in display
// positions (default 80). The setters store any value unchecked.
int getlinemax_();
int getlinwid_();
void OmSetPageLength(int lines);
void OmSetLineWidth(int width);
