// Footnote numbering.
#include "host/table/OmFootnoter.h"

#include <algorithm>

struct OmFootnoter::Data {
  Data(const std::vector<std::string>& notes, bool alpha) : footnotes(notes), alphabetic(alpha) {}

  std::vector<std::string> footnotes;
  bool alphabetic;
  // For each footnote number, its place in the listing once asked for; -1
  // before.
  std::vector<std::int32_t> place;
  // The footnote numbers asked for, in order of request.
  std::vector<std::int32_t> requested;
  // The whole listing, made when it is first read after a change.
  mutable std::vector<std::int32_t> listing;
  mutable bool listed = false;
};

OmFootnoter::OmFootnoter(const std::vector<std::string>& footnotes, bool alphabetic)
    : mData(std::make_unique<Data>(footnotes, alphabetic)) {}

OmFootnoter::OmFootnoter(OmFootnoter&&) noexcept = default;
OmFootnoter& OmFootnoter::operator=(OmFootnoter&&) noexcept = default;
OmFootnoter::~OmFootnoter() = default;

void OmFootnoter::Reset() {
  mData->place.clear();
  mData->requested.clear();
  mData->listed = false;
}

std::string OmFootnoter::CellMarker(std::int32_t n, std::int32_t*) {
  if (n < 0 || n >= Size())
    return "";
  Data& data = *mData;
  if (data.place.size() != data.footnotes.size())
    data.place.assign(data.footnotes.size(), -1);
  std::int32_t& place = data.place[static_cast<std::size_t>(n)];
  if (place < 0) {
    place = static_cast<std::int32_t>(data.requested.size());
    data.requested.push_back(n);
    data.listed = false;
  }
  return Marker(place, data.alphabetic);
}

std::int32_t OmFootnoter::Size() const {
  return static_cast<std::int32_t>(std::min<std::size_t>(mData->footnotes.size(), INT32_MAX));
}

std::string OmFootnoter::NoteMarker(std::int32_t i) const {
  if (i < 0 || i >= Size())
    return "";
  return Marker(i, mData->alphabetic);
}

std::string OmFootnoter::Note(std::int32_t i) const {
  if (i < 0 || i >= Size())
    return "";
  const Data& data = *mData;
  if (!data.listed) {
    data.listing = data.requested;
    for (std::int32_t n = 0; n < Size(); ++n) {
      const bool asked = static_cast<std::size_t>(n) < data.place.size() &&
                         data.place[static_cast<std::size_t>(n)] >= 0;
      if (!asked)
        data.listing.push_back(n);
    }
    data.listed = true;
  }
  return data.footnotes[static_cast<std::size_t>(data.listing[static_cast<std::size_t>(i)])];
}

std::string OmFootnoter::Marker(std::int32_t i, bool alphabetic) {
  if (i < 0)
    return "";
  if (!alphabetic)
    return std::to_string(static_cast<std::int64_t>(i) + 1);
  // Bijective base 26: a..z are 0..25, aa follows z.
  std::string marker;
  std::int64_t n = static_cast<std::int64_t>(i) + 1;
  while (n > 0) {
    --n;
    marker.insert(marker.begin(), static_cast<char>('a' + n % 26));
    n /= 26;
  }
  return marker;
}
