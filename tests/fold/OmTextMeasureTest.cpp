// Display widths in terminal columns: the width of each kind of character,
// heads that never split a character or part a mark from its base, text that
// is not valid UTF-8, and the fall-back to bytes outside UTF-8.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "fold/OmTextMeasure.h"
#include "host/platform/OmPlatform.h"

namespace {

std::int64_t Columns(const std::string& text) {
  return OmTextMeasure::Columns(text.data(), text.size());
}

// The head of text at most n columns wide, as "head|width".
std::string Head(const std::string& text, std::int64_t n) {
  std::int64_t width = -1;
  const std::size_t bytes = OmTextMeasure::ColumnsHead(text.data(), text.size(), n, width);
  return text.substr(0, bytes) + "|" + std::to_string(width);
}

TEST(OmTextMeasure, CountsEachKindOfCharacter) {
  EXPECT_EQ(Columns(""), 0);
  EXPECT_EQ(Columns("Zurich"), 6);
  EXPECT_EQ(Columns("Z\xC3\xBCrich"), 6);             // precomposed u with diaeresis
  EXPECT_EQ(Columns("Zu\xCC\x88rich"), 6);            // u + combining diaeresis
  EXPECT_EQ(Columns("\xE6\x9D\xB1\xE4\xBA\xAC"), 4);  // two CJK ideographs
  EXPECT_EQ(Columns("\xEF\xBC\xA1"), 2);              // fullwidth A
  EXPECT_EQ(Columns("\xEA\xB0\x80"), 2);              // a Hangul syllable
  EXPECT_EQ(Columns("\xF0\x9F\x98\x80"), 2);          // an emoji
  EXPECT_EQ(Columns("a\xE2\x80\x8B"
                    "b"),
            2);                               // zero width space
  EXPECT_EQ(Columns("\xE2\x94\x82"), 1);      // box drawing, ambiguous: narrow
  EXPECT_EQ(Columns("\xD0\x9C\xD0\xBE"), 2);  // Cyrillic
}

TEST(OmTextMeasure, CountsSpacingMarksButNotNonspacingOnes) {
  // Devanagari "hi": HA, then the vowel sign I, which takes a column of its
  // own; "ne": NA with the vowel sign E above it, which takes none.
  EXPECT_EQ(Columns("\xE0\xA4\xB9\xE0\xA4\xBF"), 2);
  EXPECT_EQ(Columns("\xE0\xA4\xA8\xE0\xA5\x87"), 1);
  // Thai: a consonant with a vowel mark above it.
  EXPECT_EQ(Columns("\xE0\xB8\x94\xE0\xB8\xB5"), 1);
}

TEST(OmTextMeasure, CountsEveryAsciiByteOnce) {
  // Control characters too, so that ASCII text measures as in bytes.
  EXPECT_EQ(Columns("a\tb\x01\x7F"), 5);
  // Long runs of ASCII, ending at, before and after eight-byte boundaries.
  EXPECT_EQ(Columns("abcdefgh"), 8);
  EXPECT_EQ(Columns("abcdefgh\xE6\x9D\xB1"), 10);
  EXPECT_EQ(Columns("abcdefg\xE6\x9D\xB1"
                    "abcdefghijklmnopq"),
            26);
  EXPECT_EQ(Columns(std::string(1000, 'x') + "\xC3\xBC"), 1001);
}

TEST(OmTextMeasure, CountsBytesThatAreNotUtf8AsOneColumnEach) {
  // A lone continuation byte and a lead byte with no continuation.
  EXPECT_EQ(Columns("\x80"), 1);
  EXPECT_EQ(Columns("\xFF"
                    "a"),
            2);
  // A lead byte followed by ASCII: the host steps over three bytes, and the
  // undecodable character shows as one column.
  EXPECT_EQ(Columns("\xE6"
                    "ab"),
            1);
  // Truncated at the end of the text: nothing is read beyond it.
  EXPECT_EQ(Columns("a\xE6\x9D"), 2);
  EXPECT_EQ(Columns("\xF0"), 1);
}

TEST(OmTextMeasure, HeadTakesWholeCharactersUpToTheWidth) {
  const std::string tokyo = "\xE6\x9D\xB1\xE4\xBA\xAC";  // 2 + 2 columns
  EXPECT_EQ(Head(tokyo, 4), tokyo + "|4");
  // The second character would take the last position and one more.
  EXPECT_EQ(Head(tokyo, 3), "\xE6\x9D\xB1|2");
  EXPECT_EQ(Head("abc", 2), "ab|2");
  EXPECT_EQ(Head("", 3), "|0");
}

TEST(OmTextMeasure, HeadKeepsCombiningMarksWithTheirBase) {
  const std::string e = "e\xCC\x81";  // e + combining acute: 1 column
  EXPECT_EQ(Head(e + e + e, 2), e + e + "|2");
  EXPECT_EQ(Head(e + "x", 1), e + "|1");
}

TEST(OmTextMeasure, HeadAlwaysTakesAFirstCharacter) {
  // Wider than the width, or a width below 1: the first character (with its
  // marks) is taken anyway, so that cutting moves on.
  EXPECT_EQ(Head("\xE6\x9D\xB1x", 1), "\xE6\x9D\xB1|2");
  EXPECT_EQ(Head("a\xCC\x81"
                 "b",
                 0),
            "a\xCC\x81|1");
  EXPECT_EQ(Head("ab", -5), "a|1");
}

TEST(OmTextMeasure, WidestCharacter) {
  EXPECT_EQ(OmTextMeasure::WidestCharacter(""), 0);
  EXPECT_EQ(OmTextMeasure::WidestCharacter("\xCC\x81"), 0);
  EXPECT_EQ(OmTextMeasure::WidestCharacter("abc"), 1);
  EXPECT_EQ(OmTextMeasure::WidestCharacter("ab\xE6\x9D\xB1"), 2);
}

TEST(OmTextMeasure, CountsColumnsOnlyWhenAskedAndInUtf8) {
  const std::string zurich = "Z\xC3\xBCrich";
  EXPECT_FALSE(OmTextMeasure().CountsColumns());
  EXPECT_EQ(OmTextMeasure().Width(zurich), 7);
  EXPECT_EQ(OmTextMeasure(OmDisplayWidth::Columns).Width(zurich), 6);
  for (const OmEncoding encoding : {OmEncoding::SingleByte, OmEncoding::DoubleByte}) {
    OmSetEncoding(encoding);
    const OmTextMeasure measure(OmDisplayWidth::Columns);
    OmSetEncoding(OmEncoding::Utf8);
    EXPECT_FALSE(measure.CountsColumns());
    EXPECT_EQ(measure.Width(zurich), 7);
  }
}

}  // namespace
