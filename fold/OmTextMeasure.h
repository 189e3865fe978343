// The measure of display width that one export uses, chosen once from the
// options and the host's encoding: bytes, or terminal columns of UTF-8 text.
// Column widths come from utf8proc's character widths, with spacing
// combining marks one column as terminals show them; ASCII text takes a path
// that never decodes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "host/platform/OmDisplayWidth.h"

class OmTextMeasure {
 public:
  // Counts columns when width is Columns and the host's encoding is UTF-8 at
  // construction, bytes otherwise.
  explicit OmTextMeasure(OmDisplayWidth width = OmDisplayWidth::Bytes);

  bool CountsColumns() const { return mColumns; }
  // The display width of text: its byte length, or its terminal columns.
  std::int64_t Width(std::string_view text) const {
    return mColumns ? Columns(text.data(), text.size()) : static_cast<std::int64_t>(text.size());
  }

  // The terminal columns of the size bytes at s, read as UTF-8. Characters
  // are stepped over as the host steps over them (VELDMBmbclen_A, never past
  // the end); one that is not valid UTF-8 counts 1 column, and every ASCII
  // byte, control characters included, counts 1.
  static std::int64_t Columns(const char* s, std::size_t size);
  // The byte length of the longest head of whole characters of the size
  // bytes at s that is at most n columns wide; zero-width characters stay
  // with the character before them. Takes at least one character (with its
  // zero-width followers) when size is not 0, even one wider than n, so a
  // caller cutting text into pieces always moves on. Sets width to the
  // head's columns.
  static std::size_t ColumnsHead(const char* s, std::size_t size, std::int64_t n,
                                 std::int64_t& width);
  // The columns of the widest character of text (0 for an empty text).
  static std::int64_t WidestCharacter(std::string_view text);

 private:
  bool mColumns;
};
