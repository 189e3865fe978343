// Cell texts.
#include "host/OmCellText.h"

#include <algorithm>
#include <charconv>

struct OmCellText::Extras {
  std::vector<std::int16_t> footnotes;
  std::vector<std::string> markers;
};

namespace {
const std::vector<std::int16_t> kNoFootnotes;
const std::vector<std::string> kNoMarkers;
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
  const std::to_chars_result result =
      mDecimals >= 0
          ? std::to_chars(buffer, buffer + sizeof buffer, mValue, std::chars_format::fixed, mDecimals)
          : std::to_chars(buffer, buffer + sizeof buffer, mValue, std::chars_format::general, 15);
  return std::string(buffer, result.ptr);
}
