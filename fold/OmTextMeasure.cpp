// Display widths in terminal columns, from utf8proc's character widths.
#include "fold/OmTextMeasure.h"

#include <utf8proc.h>

#include <algorithm>
#include <cstring>

#include "host/platform/OmPlatform.h"

namespace {

struct Character {
  std::size_t bytes;
  std::int64_t columns;
};

// The non-ASCII character at s, of at most size bytes (size > 0). Its length
// is the host's, so a character is the same unit here as where fold points
// are found; what does not decode as one code point shows as one column.
Character NonAsciiAt(const char* s, std::size_t size) {
  const int declared = VELDMBmbclen_A(s);
  const std::size_t bytes = std::min(declared > 1 ? static_cast<std::size_t>(declared) : 1, size);
  utf8proc_int32_t codepoint = -1;
  const utf8proc_ssize_t read = utf8proc_iterate(reinterpret_cast<const utf8proc_uint8_t*>(s),
                                                 static_cast<utf8proc_ssize_t>(bytes), &codepoint);
  if (read != static_cast<utf8proc_ssize_t>(bytes) || codepoint < 0)
    return {bytes, 1};
  const int columns = utf8proc_charwidth(codepoint);
  // A spacing combining mark (the vowel signs of Devanagari, for one) moves
  // the cursor on in terminals, as the C library's wcwidth has it, though
  // utf8proc gives it no width.
  if (columns == 0 && utf8proc_category(codepoint) == UTF8PROC_CATEGORY_MC)
    return {bytes, 1};
  return {bytes, columns};
}

bool IsAscii(char c) {
  return static_cast<unsigned char>(c) < 0x80;
}

}  // namespace

OmTextMeasure::OmTextMeasure(OmDisplayWidth width)
    : mColumns(width == OmDisplayWidth::Columns && qUTF8mode() != 0) {}

std::int64_t OmTextMeasure::Columns(const char* s, std::size_t size) {
  std::int64_t columns = 0;
  std::size_t p = 0;
  while (p < size) {
    // ASCII eight bytes at a time, one column each.
    std::uint64_t eight = 0;
    while (size - p >= sizeof eight) {
      std::memcpy(&eight, s + p, sizeof eight);
      if ((eight & 0x8080808080808080u) != 0)
        break;
      p += sizeof eight;
      columns += static_cast<std::int64_t>(sizeof eight);
    }
    if (p == size)
      break;
    if (IsAscii(s[p])) {
      ++columns;
      ++p;
      continue;
    }
    const Character c = NonAsciiAt(s + p, size - p);
    columns += c.columns;
    p += c.bytes;
  }
  return columns;
}

std::size_t OmTextMeasure::ColumnsHead(const char* s, std::size_t size, std::int64_t n,
                                       std::int64_t& width) {
  width = 0;
  std::size_t p = 0;
  while (p < size) {
    const Character c = IsAscii(s[p]) ? Character{1, 1} : NonAsciiAt(s + p, size - p);
    // A character that does not fit starts the next piece, unless the head
    // would otherwise be empty.
    if (c.columns > 0 && width + c.columns > n && p > 0)
      break;
    width += c.columns;
    p += c.bytes;
  }
  return p;
}

std::int64_t OmTextMeasure::WidestCharacter(std::string_view text) {
  std::int64_t widest = 0;
  std::size_t p = 0;
  while (p < text.size()) {
    if (IsAscii(text[p])) {
      widest = std::max<std::int64_t>(widest, 1);
      ++p;
      continue;
    }
    const Character c = NonAsciiAt(text.data() + p, text.size() - p);
    widest = std::max(widest, c.columns);
    p += c.bytes;
  }
  return widest;
}
