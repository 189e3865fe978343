// The footnoter: markers by first request, the listing order, and the
// numeric and alphabetic sequences.
#include "host/OmFootnoter.h"

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
  EXPECT_EQ(footnoter.Size(), 4);
  // Requested first, then the rest in number order; markers in sequence.
  EXPECT_EQ(Listing(footnoter), "a two\nb zero\nc one\nd three\n");
  std::int32_t ignored = 7;
  EXPECT_EQ(footnoter.CellMarker(3, &ignored), "c");
  EXPECT_EQ(ignored, 7);
  EXPECT_EQ(Listing(footnoter), "a two\nb zero\nc three\nd one\n");
}

TEST(OmFootnoter, ResetForgetsEveryAssignment) {
  OmFootnoter footnoter({"zero", "one"}, false);
  EXPECT_EQ(footnoter.CellMarker(1, nullptr), "1");
  footnoter.Reset();
  EXPECT_EQ(Listing(footnoter), "1 zero\n2 one\n");
  EXPECT_EQ(footnoter.CellMarker(0, nullptr), "1");
  EXPECT_EQ(footnoter.CellMarker(1, nullptr), "2");
}

TEST(OmFootnoter, OutOfRangeEntriesAreEmpty) {
  OmFootnoter footnoter({"only"}, true);
  EXPECT_EQ(footnoter.NoteMarker(1), "");
  EXPECT_EQ(footnoter.Note(1), "");
  EXPECT_EQ(footnoter.NoteMarker(-1), "");
  EXPECT_EQ(footnoter.Note(-1), "");
  OmFootnoter none({}, true);
  EXPECT_EQ(none.Size(), 0);
  EXPECT_EQ(none.CellMarker(0, nullptr), "");
}

TEST(OmFootnoter, KeepsItsOwnCopyOfTheFootnotes) {
  auto notes = std::make_unique<std::vector<std::string>>(std::vector<std::string>{"kept"});
  OmFootnoter footnoter(*notes, true);
  notes.reset();
  EXPECT_EQ(footnoter.Note(0), "kept");
}

TEST(OmFootnoter, AlphabeticMarkersRunAsSpreadsheetColumns) {
  const std::pair<std::int32_t, const char*> expected[] = {
      {0, "a"},   {1, "b"},   {25, "z"},   {26, "aa"},  {27, "ab"},         {51, "az"},
      {52, "ba"}, {701, "zz"}, {702, "aaa"}, {-1, ""}, {INT32_MAX, "fxshrxx"}};
  for (const auto& [i, marker] : expected) EXPECT_EQ(OmFootnoter::Marker(i, true), marker) << i;
}

TEST(OmFootnoter, NumericMarkersCountFromOne) {
  EXPECT_EQ(OmFootnoter::Marker(0, false), "1");
  EXPECT_EQ(OmFootnoter::Marker(9, false), "10");
  EXPECT_EQ(OmFootnoter::Marker(INT32_MAX, false), "2147483648");
}

TEST(OmFootnoter, TwentySeventhRequestGetsAa) {
  std::vector<std::string> notes;
  for (int i = 0; i < 30; ++i) notes.push_back("note " + std::to_string(i));
  OmFootnoter footnoter(notes, true);
  std::string last;
  for (std::int32_t n = 29; n >= 3; --n) last = footnoter.CellMarker(n, nullptr);
  EXPECT_EQ(last, "aa");
  EXPECT_EQ(footnoter.NoteMarker(26), "aa");
  EXPECT_EQ(footnoter.Note(26), "note 3");
  EXPECT_EQ(footnoter.Note(27), "note 0");
}

}  // namespace
