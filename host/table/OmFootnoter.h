// Numbers a table's footnotes in the order they are first asked for and
// lists them in that order. Markers run 1, 2, 3, ... or, alphabetic,
// a ... z, aa, ab, ... az, ba, ... (lowercase, as spreadsheet columns are
// lettered). The footnoter keeps its own copy of the footnote texts.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class OmFootnoter {
 public:
  // footnotes: the table's footnote texts; a footnote number n is entry n.
  OmFootnoter(const std::vector<std::string>& footnotes, bool alphabetic);
  OmFootnoter(OmFootnoter&&) noexcept;
  OmFootnoter& operator=(OmFootnoter&&) noexcept;
  OmFootnoter(const OmFootnoter&) = delete;
  OmFootnoter& operator=(const OmFootnoter&) = delete;
  ~OmFootnoter();

  // Forgets every marker handed out.
  void Reset();
  // The marker of footnote n, which gets the next marker of the sequence
  // when it is asked for the first time; "" (and nothing assigned) for an n
  // that is not a footnote number. The second argument is ignored.
  std::string CellMarker(std::int32_t n, std::int32_t* unused);
  // The number of footnotes in the table's list.
  std::int32_t Size() const;
  // Entry i of the listing, which holds the footnotes asked for, in the
  // order they were first asked for, then the others in number order:
  // its marker (always the i-th of the sequence) and its text. "" for an
  // i out of range.
  std::string NoteMarker(std::int32_t i) const;
  std::string Note(std::int32_t i) const;

  // The i-th marker of a sequence (i from 0); "" for a negative i.
  static std::string Marker(std::int32_t i, bool alphabetic);

 private:
  struct Data;
  std::unique_ptr<Data> mData;
};
