// The fold-point scan of formatted nodes, with its trimming of trailing
// blanks, in the three encodings.
#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

#include "fold/OmWinFormattedNode.h"
#include "host/platform/OmPlatform.h"

namespace {

class EncodingScope {
 public:
  explicit EncodingScope(OmEncoding encoding) { OmSetEncoding(encoding); }
  ~EncodingScope() { OmSetEncoding(OmEncoding::Utf8); }
};

// The scanned text and its fold points, as "text" [f1,f2,...].
std::string Scanned(const std::string& text) {
  OmWinFormattedNode node(text, 1, 1, 0, static_cast<std::int32_t>(text.size()));
  std::string out = "'" + node.String() + "' [";
  for (const std::int32_t f : node.FoldPoints())
    out += std::to_string(f) + ",";
  return out + "]";
}

TEST(OmWinFormattedNode, FoldsAtBlanksAndBreaksAndTrimsTrailingBlanks) {
  EXPECT_EQ(Scanned(""), "'' []");
  EXPECT_EQ(Scanned("a b"), "'a b' [1,]");
  EXPECT_EQ(Scanned("a  b"), "'a  b' [1,2,]");
  EXPECT_EQ(Scanned(" a"), "' a' [0,]");
  EXPECT_EQ(Scanned("a\r\nb"), "'a\r\nb' [1,2,]");
  EXPECT_EQ(Scanned("a\tb,c"), "'a\tb,c' []");
  EXPECT_EQ(Scanned("a \n"), "'a \n' [1,2,]");  // the break ends the blanks
  EXPECT_EQ(Scanned("a b   "), "'a b' [1,]");
  // Blanks only: the text stays, the fold points go.
  EXPECT_EQ(Scanned("   "), "'   ' []");
  EXPECT_TRUE(OmWinFormattedNode("", 1, 1, 0, 0).IsEmpty());
  EXPECT_FALSE(OmWinFormattedNode("   ", 1, 1, 0, 3).IsEmpty());
}

TEST(OmWinFormattedNode, StepsOverMultibyteCharacters) {
  EXPECT_EQ(Scanned("\xC3\xA9 \xE6\x97\xA5 b"), "'\xC3\xA9 \xE6\x97\xA5 b' [2,6,]");
  // A lead byte at the end claiming more bytes than are left is read and
  // nothing after it (checked by AddressSanitizer builds).
  EXPECT_EQ(Scanned("a \xE3"), "'a \xE3' [1,]");
  // The blanks inside the would-be character are neither fold points nor
  // trailing blanks.
  EXPECT_EQ(Scanned("\xF0  "), "'\xF0  ' []");
  // 0x82 0x20 is one double-byte character whose second byte is a blank.
  EXPECT_EQ(Scanned("\x82\x20 b"), "'\x82\x20 b' [1,2,]");
  EncodingScope scope(OmEncoding::DoubleByte);
  EXPECT_EQ(Scanned("\x82\x20 b"), "'\x82\x20 b' [2,]");
  EXPECT_EQ(Scanned("a\x82\x20"), "'a\x82\x20' []");
  EXPECT_EQ(Scanned("ab \x81"), "'ab \x81' [2,]");
}

}  // namespace
