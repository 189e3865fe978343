// Markup replacement: superscript and subscript tags, exactly matched.
#include "host/platform/BpMarkup.h"

#include <gtest/gtest.h>

namespace {

std::string Replace(std::string text, BpMarkup::BpMarkupType type, const std::string& open = "[",
                    const std::string& close = "]") {
  BpMarkup::replaceMarkupText(text, open, close, type);
  return text;
}

TEST(BpMarkup, ReplacesOnlyTheTagsOfItsTypeExactlyMatched) {
  EXPECT_EQ(Replace("m<sup>2</sup> and x<sup>3</sup>", BpMarkup::Superscript), "m[2] and x[3]");
  EXPECT_EQ(Replace("H<sub>2</sub>O", BpMarkup::Superscript), "H<sub>2</sub>O");
  EXPECT_EQ(Replace("H<sub>2</sub>O", BpMarkup::Subscript), "H[2]O");
  EXPECT_EQ(Replace("<sup>R</sup>", BpMarkup::Subscript), "<sup>R</sup>");
  EXPECT_EQ(Replace("<SUP>x</SUP><sup >x< /sup>", BpMarkup::Superscript),
            "<SUP>x</SUP><sup >x< /sup>");
  EXPECT_EQ(Replace("a < b <sup", BpMarkup::Superscript), "a < b <sup");
  // Unbalanced tags are replaced alone.
  EXPECT_EQ(Replace("</sup><sup>", BpMarkup::Superscript), "][");
  EXPECT_EQ(Replace("<<sup>>", BpMarkup::Superscript), "<[>");
}

TEST(BpMarkup, ReplacementTextIsNotSearchedAgain) {
  EXPECT_EQ(Replace("<sup>x</sup>", BpMarkup::Superscript, "<sup><sup>", ""), "<sup><sup>x");
  EXPECT_EQ(Replace("<su<sup>p>", BpMarkup::Superscript, "", ""), "<sup>");
}

}  // namespace
