// The folder's shortcut for the common cell (one column, no extra width, no
// fold points, folding to itself on one line) gives exactly what the full
// fold gives; so does measuring and padding a text without a node, offered
// also for words parted by single blanks that fit. A fold point past the
// end of the text is ignored by the fold but keeps the node off the
// shortcut, so the two paths can be compared on the same text.
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "fold/OmFormattedNode.h"
#include "fold/OmWinStringFolder.h"

namespace {

using Lines = std::vector<std::string>;

struct Result {
  std::vector<std::string> lines;
  std::int32_t count = 0;
  std::int32_t minimum = 0;
  std::int32_t newLines = -1;
};

Result FoldBoth(OmWinStringFolder& folder, const std::string& text, std::int32_t columns,
                std::int32_t rows, std::int32_t extra, std::int32_t width, bool pad, bool full) {
  Result result;
  std::unique_ptr<OmFormattedNode> node = folder.MakeNode(text, columns, rows, extra);
  if (full)
    node->FoldPoints().push_back(static_cast<std::int32_t>(text.size()) + 3);
  result.minimum = folder.GetMinimumColumnWidth(*node, width);
  if (full)
    node->FoldPoints().push_back(static_cast<std::int32_t>(text.size()) + 4);
  result.count = folder.SplitString(*node, width, result.lines, pad);
  result.newLines = node->NNewLines();
  return result;
}

// Compares the shortcut, the full fold and measuring and padding without a
// node for one text in one folder.
void ExpectSameFolds(OmWinStringFolder& folder, const std::string& text, std::int32_t columns,
                     std::int32_t rows, std::int32_t width, bool pad,
                     const std::string& separator) {
  const Result fast = FoldBoth(folder, text, columns, rows, 0, width, pad, false);
  const Result slow = FoldBoth(folder, text, columns, rows, 0, width, pad, true);
  EXPECT_EQ(fast.lines, slow.lines);
  EXPECT_EQ(fast.count, slow.count);
  EXPECT_EQ(fast.minimum, slow.minimum);
  EXPECT_EQ(fast.newLines, slow.newLines);
  // Measuring without a node, where the folder offers it, and padding the
  // same text straight into a line.
  std::int32_t minimum = 0;
  const bool unfolded = columns == 1 && folder.MeasureUnfolded(text, rows, width, minimum);
  if (unfolded) {
    EXPECT_EQ(minimum, slow.minimum);
  }
  std::string line = "<";
  std::size_t padTo = 0;
  if (columns == 1 && pad) {
    ASSERT_EQ(folder.PadUnfolded(text, rows, width, line, padTo), unfolded);
  }
  if (columns == 1 && pad && unfolded) {
    Lines padded = {line.substr(1)};
    padded.resize(slow.lines.size(), std::string(padTo, ' ') + separator);
    EXPECT_EQ(padded, slow.lines);
  } else {
    EXPECT_EQ(line, "<");
  }
}

TEST(OmWinStringFolderFastPath, SameAsTheFullFold) {
  const std::vector<std::string> texts = {"x",        " ",      "12345.67",  "-0.5",
                                          "abcdefgh", "日本語", "e\xCC\x81", "a",
                                          "ab cd",    "a b c",  "Item 37",   "a  b",
                                          " ab",      "ab ",    "日本 語",   "e\xCC\x81 \xCC\x81x"};
  int compared = 0;
  for (const OmDisplayWidth measure : {OmDisplayWidth::Bytes, OmDisplayWidth::Columns}) {
    for (const std::string& separator : {std::string("|"), std::string(" | "), std::string()}) {
      for (const std::int32_t restriction : {-1, 0, 1, 3, 8, 40}) {
        OmStringFolder::Options options;
        options.columnSeparator = separator;
        options.rowSeparator = "_";
        options.widthRestriction = restriction;
        options.displayWidth = measure;
        OmWinStringFolder folder(options);
        for (const std::string& text : texts) {
          for (const std::int32_t width : {-2, 0, 1, 2, 5, 8, 12}) {
            for (const std::int32_t rows : {0, 1, 3}) {
              for (const std::int32_t columns : {1, 2}) {
                for (const bool pad : {false, true}) {
                  SCOPED_TRACE(text + " width " + std::to_string(width) + " rows " +
                               std::to_string(rows) + " restriction " +
                               std::to_string(restriction) + " separator '" + separator + "'");
                  ExpectSameFolds(folder, text, columns, rows, width, pad, separator);
                  ++compared;
                }
              }
            }
          }
        }
      }
    }
  }
  EXPECT_GT(compared, 1000);
}

// Blanks, line breaks and other controls are found a word at a time, with
// the last word overlapping the one before: one such byte at any place of
// a text of any length up to three words, among one-byte and UTF-8 and
// 0x7F bytes, must send the text the same way as the full fold.
TEST(OmWinStringFolderFastPath, FindsABlankOrBreakAnywhere) {
  OmStringFolder::Options options;
  options.columnSeparator = "|";
  options.widthRestriction = 30;
  OmWinStringFolder folder(options);
  const std::string fill =
      "ab\x7F\xC3\xA9"
      "cd\xE6\x97\xA5"
      "xyz0123456789";
  for (std::size_t size = 1; size <= 24; ++size) {
    const std::string plain = fill.substr(0, size);
    ExpectSameFolds(folder, plain, 1, 1, 12, true, "|");
    for (std::size_t at = 0; at < size; ++at) {
      for (const char odd : {' ', '\n', '\r', '\t', '\x01', '!'}) {
        std::string text = plain;
        text[at] = odd;
        SCOPED_TRACE("size " + std::to_string(size) + " at " + std::to_string(at) + " byte " +
                     std::to_string(static_cast<int>(odd)));
        ExpectSameFolds(folder, text, 1, 1, 12, true, "|");
        ExpectSameFolds(folder, text, 1, 1, 40, true, "|");
      }
    }
  }
}

}  // namespace
