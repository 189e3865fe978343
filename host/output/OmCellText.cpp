// Cell texts.
#include "host/output/OmCellText.h"

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <cstring>

struct OmCellText::Extras {
  std::vector<std::int16_t> footnotes;
  std::vector<std::string> markers;
};

namespace {
const std::vector<std::int16_t> kNoFootnotes;
const std::vector<std::string> kNoMarkers;

// Writes value with up to 3 decimals so that it ends at end, rounded to
// nearest with ties to even as std::to_chars does, and returns where it
// starts; null when the value is out of this path's reach (at least 2^52,
// or not finite). Tables are mostly such numbers, and the general
// conversion costs several times as much. The value is m * 2^-s exactly, so
// m * 10^decimals (below 2^63) shifted right by s is the scaled value, and
// the bits shifted out decide the rounding.
char* FormatFixedShort(double value, int decimals, char* end) {
  static constexpr std::uint64_t kScale[] = {1, 10, 100, 1000};
  if (decimals < 0 || decimals > 3)
    return nullptr;
  std::uint64_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  const auto biased = static_cast<int>((bits >> 52) & 0x7FF);
  std::uint64_t mantissa = bits & ((std::uint64_t{1} << 52) - 1);
  int shift = 1074;  // subnormal numbers
  if (biased != 0) {
    mantissa |= std::uint64_t{1} << 52;
    shift = 1075 - biased;
  }
  if (shift <= 0)
    return nullptr;  // 2^52 and beyond, infinities, NaN
  const std::uint64_t scaled = mantissa * kScale[decimals];
  std::uint64_t whole = 0;
  if (shift < 64) {
    whole = scaled >> shift;
    const std::uint64_t rest = scaled & ((std::uint64_t{1} << shift) - 1);
    const std::uint64_t half = std::uint64_t{1} << (shift - 1);
    if (rest > half || (rest == half && (whole & 1U) != 0))
      ++whole;
  }  // else the scaled value is below 2^63 / 2^64, which rounds to 0
  // From the last byte: the fraction's digits, zeros first included, the
  // point, then the integer's digits two at a time and the sign.
  static constexpr char kPairs[] =
      "00010203040506070809101112131415161718192021222324252627282930313233343536373839"
      "40414243444546474849505152535455565758596061626364656667686970717273747576777879"
      "8081828384858687888990919293949596979899";
  char* first = end;
  if (decimals > 0) {
    std::uint64_t fraction = whole % kScale[decimals];
    whole /= kScale[decimals];
    for (int d = 0; d < decimals; ++d) {
      *--first = static_cast<char>('0' + fraction % 10);
      fraction /= 10;
    }
    *--first = '.';
  }
  while (whole >= 100) {
    const std::uint64_t pair = whole % 100;
    whole /= 100;
    first -= 2;
    std::memcpy(first, kPairs + 2 * pair, 2);
  }
  if (whole >= 10) {
    first -= 2;
    std::memcpy(first, kPairs + 2 * whole, 2);
  } else {
    *--first = static_cast<char>('0' + whole);
  }
  if ((bits >> 63) != 0)
    *--first = '-';
  return first;
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
  if (!mExtras)
    mExtras = std::make_unique<Extras>();
  mExtras->footnotes.push_back(number);
}

void OmCellText::AddMarker(std::string marker) {
  if (!mExtras)
    mExtras = std::make_unique<Extras>();
  mExtras->markers.push_back(std::move(marker));
}

OmStringCell::OmStringCell(std::string text) : mText(std::move(text)) {}

std::string OmStringCell::GetText() const {
  return mText;
}

OmNumberCell::OmNumberCell(double value) : mValue(value), mDecimals(-1) {}

OmNumberCell::OmNumberCell(double value, int decimals)
    : mValue(value), mDecimals(static_cast<std::int8_t>(std::clamp(decimals, 0, 20))) {}

std::string OmNumberCell::GetText() const {
  // std::to_chars formats as printf does in the C locale, so a program that
  // sets a locale with a decimal comma still gets a point. 1e308 with 20
  // decimals needs 330 bytes.
  char buffer[400];
  if (char* first = FormatFixedShort(mValue, mDecimals, buffer + sizeof buffer))
    return std::string(first, buffer + sizeof buffer);
  const std::to_chars_result result =
      mDecimals >= 0
          ? std::to_chars(buffer, buffer + sizeof buffer, mValue, std::chars_format::fixed,
                          mDecimals)
          : std::to_chars(buffer, buffer + sizeof buffer, mValue, std::chars_format::general, 15);
  return std::string(buffer, result.ptr);
}
