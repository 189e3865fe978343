// The footnoter: markers by first request, the listing order, and the
// numeric and alphabetic sequences.
#include "host/table/OmFootnoter.h"

#include <gtest/gtest.h>

namespace {

std::string Listing(const OmFootnoter& footnoter) {
  std::string text;
  for (std::int32_t i = 0; i < footnoter.Size(); ++i) {
    text += footnoter.NoteMarker(i) + " " + footnoter.Note(i) + "\n";
  }
  return text;
}

TEST(OmFootnoter, AssignsMarkersInOrderOfFirstRequest) {
  OmFootnoter footnoter({"zero", "one", "two", "three"}, true);
  EXPECT_EQ(footnoter.CellMarker(2, nullptr), "a");
  EXPECT_EQ(footnoter.CellMarker(0, nullptr), "b");
  EXPECT_EQ(footnoter.CellMarker(2, nullptr), "a");
  EXPECT_EQ(footnoter.CellMarker(4, nullptr), "");
  EXPECT_EQ(footnoter.CellMarker(-1, nullptr), "");
  // Requested first, then the rest in number order; markers in sequence.
  EXPECT_EQ(Listing(footnoter), "a two\nb zero\nc one\nd three\n");
  EXPECT_EQ(footnoter.CellMarker(3, nullptr), "c");
  EXPECT_EQ(Listing(footnoter), "a two\nb zero\nc three\nd one\n");
  EXPECT_EQ(footnoter.NoteMarker(4) + footnoter.Note(4) + footnoter.Note(-1), "");
  footnoter.Reset();
  EXPECT_EQ(Listing(footnoter), "a zero\nb one\nc two\nd three\n");
  EXPECT_EQ(footnoter.CellMarker(1, nullptr), "a");
}

TEST(OmFootnoter, MarkersRunAsNumbersOrAsSpreadsheetColumns) {
  const std::pair<std::int32_t, const char*> alphabetic[] = {
      {0, "a"},   {25, "z"},   {26, "aa"},   {27, "ab"}, {51, "az"},
      {52, "ba"}, {701, "zz"}, {702, "aaa"}, {-1, ""},   {INT32_MAX, "fxshrxx"}};
  for (const auto& [i, marker] : alphabetic)
    EXPECT_EQ(OmFootnoter::Marker(i, true), marker) << i;
  EXPECT_EQ(OmFootnoter::Marker(0, false), "1");
  EXPECT_EQ(OmFootnoter::Marker(9, false), "10");
  EXPECT_EQ(OmFootnoter::Marker(INT32_MAX, false), "2147483648");
}

TEST(OmFootnoter, TwentySeventhRequestGetsAaAndKeepsItsOwnCopy) {
  auto notes = std::make_unique<std::vector<std::string>>();
  for (int i = 0; i < 30; ++i)
    notes->push_back("note " + std::to_string(i));
  OmFootnoter footnoter(*notes, true);
  notes.reset();
  std::string last;
  for (std::int32_t n = 29; n >= 3; --n)
    last = footnoter.CellMarker(n, nullptr);
  EXPECT_EQ(last, "aa");
  EXPECT_EQ(footnoter.NoteMarker(26) + " " + footnoter.Note(26), "aa note 3");
  EXPECT_EQ(footnoter.Note(27), "note 0");
}

}  // namespace
