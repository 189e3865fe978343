// Escaping of control characters for one-line messages.
#include "host/platform/OmMessageText.h"

std::string OmOneLine(std::string_view text) {
  std::string line;
  line.reserve(text.size());
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte >= 0x20) {
      line.push_back(c);
    } else if (c == '\n') {
      line.append("\\n");
    } else if (c == '\r') {
      line.append("\\r");
    } else if (c == '\t') {
      line.append("\\t");
    } else {
      static constexpr char kHex[] = "0123456789abcdef";
      line.append("\\u00");
      line.push_back(kHex[byte >> 4]);
      line.push_back(kHex[byte & 15]);
    }
  }
  return line;
}
