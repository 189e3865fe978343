// Process-wide host settings.
#include "host/platform/OmPlatform.h"

namespace omtext_detail {
OmEncoding gEncoding = OmEncoding::Utf8;
}

namespace {
int gPageLength = 60;
int gLineWidth = 80;
}  // namespace

void OmSetEncoding(OmEncoding encoding) {
  omtext_detail::gEncoding = encoding;
}
OmEncoding OmGetEncoding() {
  return omtext_detail::gEncoding;
}
int qUTF8mode() {
  return omtext_detail::gEncoding == OmEncoding::Utf8 ? 1 : 0;
}
int getlinemax_() {
  return gPageLength;
}
int getlinwid_() {
  return gLineWidth;
}
void OmSetPageLength(int lines) {
  gPageLength = lines;
}
void OmSetLineWidth(int width) {
  gLineWidth = width;
}
