// Cell texts.
#include "host/OmCellText.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>

struct OmCellText::Extras {
  std::vector<std::int16_t> footnotes;
  std::vector<std::string> markers;
};

namespace {
const std::vector<std::int16_t> kNoFootnotes;
const std::vector<std::string> kNoMarkers;

// Writes value with up to 4 decimals into out, rounded to nearest with ties
// to even as std::to_chars does, and returns the end; null when the value is
// out of this path's reach. Tables are mostly such numbers, and the general
// conversion costs several times as much. With 4 decimals the scaled value
// needs at most 53 + 10 significant bits, so the long double product and the
// fraction split are exact.
char* FormatFixedShort(double value, int decimals, char* out) {
  if constexpr (std::numeric_limits<long double>::digits < 64) {
    return nullptr;
  } else {
    static constexpr long double kScale[] = {1.0L, 10.0L, 100.0L, 1000.0L, 10000.0L};
    if (decimals < 0 || decimals > 4 || !std::isfinite(value)) return nullptr;
    const long double scaled = std::fabs(static_cast<long double>(value)) * kScale[decimals];
    if (!(scaled < 9.0e18L)) return nullptr;
    auto whole = static_cast<std::uint64_t>(scaled);
    const long double fraction = scaled - static_cast<long double>(whole);
    if (fraction > 0.5L || (fraction == 0.5L && (whole & 1U) != 0)) ++whole;
    char digits[24];
    int count = 0;
    do {
      digits[count++] = static_cast<char>('0' + whole % 10);
      whole /= 10;
    } while (whole != 0 || count <= decimals);
    if (std::signbit(value)) *out++ = '-';
    while (count > decimals) *out++ = digits[--count];
    if (decimals > 0) {
      *out++ = '.';
      while (count > 0) *out++ = digits[--count];
    }
    return out;
  }
}
}  // namespace

OmCellText::OmCellText() = default;
OmCellText::~OmCellText() = default;

const std::vector<std::int16_t>& OmCellText::Footnotes() const {
  return mExtras ? mExtras->footnotes : kNoFootnotes;
}

const std::vector<std::string>& OmCellText::getMarkers() const {
  return mExtras ? mExtras->markers : kNoMarkers;
}

void OmCellText::AddFootnote(std::int16_t number) {
  if (!mExtras) mExtras = std::make_unique<Extras>();
  mExtras->footnotes.push_back(number);
}

void OmCellText::AddMarker(std::string marker) {
  if (!mExtras) mExtras = std::make_unique<Extras>();
  mExtras->markers.push_back(std::move(marker));
}

OmStringCell::OmStringCell(std::string text) : mText(std::move(text)) {}

std::string OmStringCell::GetText() const { return mText; }

OmNumberCell::OmNumberCell(double value) : mValue(value), mDecimals(-1) {}

OmNumberCell::OmNumberCell(double value, int decimals)
    : mValue(value), mDecimals(static_cast<std::int8_t>(std::clamp(decimals, 0, 20))) {}

std::string OmNumberCell::GetText() const {
  // std::to_chars formats as printf does in the C locale, so a program that
  // sets a locale with a decimal comma still gets a point. 1e308 with 20
  // decimals needs 330 bytes.
  char buffer[400];
  if (char* end = FormatFixedShort(mValue, mDecimals, buffer)) return std::string(buffer, end);
  const std::to_chars_result result =
      mDecimals >= 0
          ? std::to_chars(buffer, buffer + sizeof buffer, mValue, std::chars_format::fixed, mDecimals)
          : std::to_chars(buffer, buffer + sizeof buffer, mValue, std::chars_format::general, 15);
  return std::string(buffer, result.ptr);
}
